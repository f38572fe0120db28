#include "Benchmarks/Fixture.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace benchmarks {

using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using foundation::Date;
using foundation::make;
using foundation::Ref;

namespace {

constexpr int kDaysInASave = 10;

std::optional<Date> dateOf(const std::optional<double>& seconds) {
  if (!seconds) return std::nullopt;
  return Date::fromReference(*seconds);
}

}  // namespace

Fixture::Fixture(const StoreDirectory& directory, int activities, int days, Durability durability)
    : ours_(directory.ourPath(), durability), byHand_(directory.handWrittenPath(), durability) {
  addActivities(activities);
  for (int day = 0; day < days; day += kDaysInASave) {
    addCheckins(day, std::min(day + kDaysInASave, days));
  }
}

void Fixture::addActivities(int count) {
  ours_.inBlock([&] {
    for (int number = 1; number <= count; ++number) {
      activities_.push_back(CDActivity::create(ours_.context(), "green"));
      activities_.back()->setTitle("Habit " + std::to_string(number));
      ours_.context().save();
    }
    for (int number = 1; number <= count; ++number) {
      if (activity(number)->objectID()->key() == number) continue;
      throw std::runtime_error("activities have other keys than their numbers");
    }
  });
  byHand_.begin();
  for (int number = 1; number <= count; ++number) {
    byHand_.insertActivity("Habit " + std::to_string(number));
  }
  byHand_.commit();
}

void Fixture::addCheckins(int firstDay, int endDay) {
  const auto forEach = [&](auto&& insert) {
    for (int day = firstDay; day < endDay; ++day) {
      for (std::size_t number = 1; number <= activities_.size(); ++number) {
        insert(checkinOn(static_cast<int>(number), day));
      }
    }
  };
  ours_.inBlock([&] {
    forEach([&](const CheckinRecord& record) {
      insertCheckin(ours_.context(), activity(record.activity), record);
    });
    ours_.context().save();
    for (const auto& activity : activities_) ours_.context().refresh(activity, false);
  });
  byHand_.begin();
  byHand_.recordTransaction(secondsNow());
  forEach([&](const CheckinRecord& record) {
    byHand_.recordChange(byHand_.insertCheckin(record), HandWrittenStore::Change::insert, 0);
  });
  byHand_.commit();
}

void insertCheckin(coredata::NSManagedObjectContext& context, const Ref<CDActivity>& activity,
                   const CheckinRecord& record) {
  auto checkin = make<CDCheckin>(context);
  checkin->setCount(record.count);
  checkin->setCreatedDate(dateOf(record.createdDate));
  checkin->setDate(record.date);
  checkin->setMemo(record.memo);
  checkin->setModifiedDate(dateOf(record.modifiedDate));
  checkin->setType(record.type);
  checkin->setActivity(activity);
}

}  // namespace benchmarks
