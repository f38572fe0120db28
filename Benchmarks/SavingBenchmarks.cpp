#include <memory>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Fixture.h"

namespace benchmarks {

using coredatastack::CDCheckin;
using foundation::Date;
using foundation::make;

namespace {

constexpr double kMicroseconds = 1e6;
constexpr double kMilliseconds = 1e3;
/// The columns of a check-in that a raised count changes, as a set of bits.
constexpr std::int64_t kCountAndModifiedDate = 0b100010;
constexpr int kDaysBeforeCheckins = 100;

/// Checks the first activity in, day after day.
class DailyCheckins {
 public:
  DailyCheckins(const Workload& workload, Durability durability)
      : fixture_(workload.activities, kDaysBeforeCheckins, durability),
        saves_(workload.savesInARound) {}

  Run ours() {
    EngineStore& store = fixture_.ours();
    const auto& activity = fixture_.activity(1);
    return medianOfSaves(ourDay_, [&](std::int64_t time) {
      store.inBlock([&] {
        auto checkin = make<CDCheckin>(store.context(), Date::from1970(static_cast<double>(time)),
                                       domain::CheckinType(domain::CheckinType::standard));
        activity->addCheckinsObject(checkin);
        store.context().save();
      });
    });
  }

  Run byHand() {
    HandWrittenStore& store = fixture_.byHand();
    return medianOfSaves(handWrittenDay_, [&](std::int64_t time) {
      CheckinRecord record;
      record.activity = 1;
      record.count = 1;
      record.date = dayOf(time);
      record.createdDate = secondsNow();
      record.modifiedDate = secondsNow();
      store.begin();
      const std::int64_t key = store.insertCheckin(record);
      store.recordTransaction(secondsNow());
      store.recordChange(key, HandWrittenStore::Change::insert, 0);
      store.commit();
    });
  }

 private:
  template <typename F>
  Run medianOfSaves(int& day, F&& save) const {
    std::vector<Cost> costs;
    for (int number = 0; number < saves_; ++number, ++day) {
      costs.push_back(costOf([&] { save(noonOf(day)); }) * kMicroseconds);
    }
    return {medianOf(costs), day};
  }

  TemporaryFixture fixture_;
  int saves_;
  int ourDay_ = kDaysBeforeCheckins;
  int handWrittenDay_ = kDaysBeforeCheckins;
};

Sides checkins(const Workload& workload, Durability durability) {
  auto checkins = std::make_shared<DailyCheckins>(workload, durability);
  return {[checkins] { return checkins->ours(); }, [checkins] { return checkins->byHand(); }};
}

std::vector<CheckinRecord> importedRecords(const Workload& workload) {
  std::vector<CheckinRecord> records;
  for (int activity = 1; activity <= workload.activities; ++activity) {
    for (int day = 0; day < workload.days; ++day) records.push_back(checkinOn(activity, day));
  }
  return records;
}

Run importOurs(const Workload& workload, const std::vector<CheckinRecord>& records) {
  TemporaryFixture fixture(workload.activities, 0);
  EngineStore& store = fixture.ours();
  const Cost cost = costOf([&] {
    store.inBlock([&] {
      for (const CheckinRecord& record : records) {
        insertCheckin(store.context(), fixture.activity(record.activity), record);
      }
      store.context().save();
    });
  });
  return {cost * kMilliseconds,
          store.inBlock([&] { return store.context().count(CDCheckin::fetchRequest()); })};
}

Run importByHand(const Workload& workload, const std::vector<CheckinRecord>& records) {
  TemporaryFixture fixture(workload.activities, 0);
  HandWrittenStore& store = fixture.byHand();
  const Cost cost = costOf([&] {
    store.begin();
    store.recordTransaction(secondsNow());
    for (const CheckinRecord& record : records) {
      store.recordChange(store.insertCheckin(record), HandWrittenStore::Change::insert, 0);
    }
    store.commit();
  });
  return {cost * kMilliseconds, store.countOfCheckins()};
}

/// The same check-ins raised once more in every round: objects at hand here, keys at hand there.
class Raising {
 public:
  explicit Raising(const Workload& workload)
      : fixture_(workload.activities, workload.days), count_(workload.raisedCounts) {
    fixture_.ours().inBlock([&] {
      auto request = CDCheckin::fetchRequest();
      request.setFetchLimit(static_cast<std::size_t>(count_));
      for (const auto& checkin : fixture_.ours().context().fetch(request)) {
        checkins_.push_back(checkin);
      }
    });
  }

  Run ours() {
    const Cost cost = costOf([&] {
      fixture_.ours().inBlock([&] {
        for (const auto& checkin : checkins_) checkin->increaseCount();
        fixture_.ours().context().save();
      });
    });
    return {cost * kMilliseconds, count_};
  }

  Run byHand() {
    HandWrittenStore& store = fixture_.byHand();
    const Cost cost = costOf([&] {
      store.begin();
      store.recordTransaction(secondsNow());
      for (std::int64_t key = 1; key <= count_; ++key) {
        store.raiseCount(key, secondsNow());
        store.recordChange(key, HandWrittenStore::Change::update, kCountAndModifiedDate);
      }
      store.commit();
    });
    return {cost * kMilliseconds, count_};
  }

 private:
  TemporaryFixture fixture_;
  int count_;
  std::vector<foundation::Ref<CDCheckin>> checkins_;
};

}  // namespace

Comparison checkinAtFullDurability() {
  return {"check-in, full", "us", 1.05, 101, Clock::elapsed, [](const Workload& workload) {
            return checkins(workload, Durability::full);
          }};
}

Comparison checkinAtNormalDurability() {
  return {"check-in, normal", "us", 1.15, 101, Clock::elapsed, [](const Workload& workload) {
            return checkins(workload, Durability::normal);
          }};
}

Comparison importInOneSave() {
  return {"import in one save", "ms", 1.0, 9, Clock::processor, [](const Workload& workload) {
            const auto records =
                std::make_shared<const std::vector<CheckinRecord>>(importedRecords(workload));
            return Sides{[=] { return importOurs(workload, *records); },
                         [=] { return importByHand(workload, *records); }};
          }};
}

Comparison raisedCounts() {
  return {"raised counts", "ms", 1.65, 15, Clock::processor, [](const Workload& workload) {
            const auto raising = std::make_shared<Raising>(workload);
            return Sides{[=] { return raising->ours(); }, [=] { return raising->byHand(); }};
          }};
}

}  // namespace benchmarks
