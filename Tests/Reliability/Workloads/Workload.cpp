#include "Tests/Reliability/Workloads/Workload.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDActivityWidgetGroup.h"
#include "CoreDataStack/Model/CDActivityWidgetItem.h"
#include "CoreDataStack/Model/CDPhoto.h"
#include "CoreDataStack/UseCases/CoreDataActivityUseCase.h"
#include "CoreDataStack/UseCases/CoreDataActivityWidgetGroupUseCase.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Foundation/Text/DayKey.h"
#include "Tests/Support/LocalDate.h"

namespace reliability {

namespace {

using coredatastack::CDActivity;
using coredatastack::CDActivityWidgetGroup;
using coredatastack::CDActivityWidgetItem;
using coredatastack::CDCheckin;
using coredatastack::CDPhoto;
using coredatastack::CoreDataActivityUseCase;
using coredatastack::CoreDataActivityWidgetGroupUseCase;
using coredatastack::CoreDataCheckinUseCase;
using domain::CheckinType;
using foundation::make;
using foundation::Ref;

using Context = Ref<coredata::NSManagedObjectContext>;

constexpr std::size_t kPhotoBytes = 200'000;
constexpr std::size_t kLargePhotoBytes = 2'000'000;
constexpr int kWidgetItems = 20;
constexpr int kErasedCheckins = 1000;

foundation::Date day(int number) { return support::localDate(2024, 3, number); }

/// The activity that was added as the number-th, counted from 0.
Ref<CDActivity> activity(const Context& context, int number = 0) {
  return context->fetch(CDActivity::fetchRequest())[static_cast<std::size_t>(number)];
}

/// The check-in of that day of the only habit.
Ref<CDCheckin> checkin(const Context& context, int number) {
  return context->fetch(CDCheckin::fetchRequest())[static_cast<std::size_t>(number - 1)];
}

void addHabit(const Context& context) { static_cast<void>(CDActivity::create(*context, "green")); }

void addHabitWithDays(const Context& context) {
  const auto habit = CDActivity::create(*context, "green");
  for (int number = 1; number <= kSaves; ++number) {
    habit->addCheckinsObject(make<CDCheckin>(*context, day(number), CheckinType::standard));
  }
}

/// A habit for each save, each with more days than one page of the store holds.
void addHabitsToErase(const Context& context) {
  for (int number = 0; number < kSaves; ++number) {
    const auto habit = CDActivity::create(*context, "green");
    for (int i = 1; i <= kErasedCheckins; ++i) {
      habit->addCheckinsObject(make<CDCheckin>(*context, day(i), CheckinType::standard));
    }
  }
}

void addCheckin(const Context& context, int number) {
  CoreDataCheckinUseCase(activity(context), context).addCheckin(day(number), CheckinType::standard);
}

// The next two not by the use case: to its look-up, a failure to read and a day without a check-in
// are one.

void countUp(const Context& context, int number) {
  checkin(context, number)->increaseCount();
  context->save();
}

void deleteCheckin(const Context& context, int number) {
  const std::string date = foundation::DayKey(day(number)).string();
  const auto checkins = context->fetch(CDCheckin::fetchRequest());
  const auto deleted =
      *std::ranges::find(checkins, date, [](const auto& one) { return one->date(); });
  activity(context)->removeCheckinsObject(deleted);
  context->delete_(deleted);
  context->save();
}

template <std::size_t kBytes>
void addPhoto(const Context& context, int number) {
  std::vector<std::uint8_t> bytes(kBytes, static_cast<std::uint8_t>(number));
  const auto photo = make<CDPhoto>(*context);
  photo->setData(foundation::Data(std::move(bytes)));
  photo->setCheckin(checkin(context, number));
  context->save();
}

void addWidgetGroup(const Context& context, int number) {
  const auto group = make<CDActivityWidgetGroup>(*context);
  group->setName("Group " + std::to_string(number));
  const auto habit = activity(context);
  for (int i = 0; i < kWidgetItems; ++i) {
    const auto item = make<CDActivityWidgetItem>(*context);
    item->setOrder(static_cast<std::int16_t>(i));
    item->setActivity(habit);
    group->addItemsObject(item);
  }
  CoreDataActivityWidgetGroupUseCase(context).add(group);
}

void erase(const Context& context, int number) {
  CoreDataActivityUseCase(activity(context, number - 1), context).eraseAllData();
}

}  // namespace

std::span<const Workload> workloads() {
  static const std::array<Workload, 6> all{{
      {"AddCheckin", addHabit, addCheckin},
      {"CountUp", addHabitWithDays, countUp},
      {"DeleteCheckin", addHabitWithDays, deleteCheckin},
      {"AddPhoto", addHabitWithDays, addPhoto<kPhotoBytes>},
      {"AddWidgetGroup", addHabit, addWidgetGroup},
      {"Erase", addHabitsToErase, erase},
  }};
  return all;
}

const Workload& largePhotos() {
  static const Workload workload{"AddLargePhoto", addHabitWithDays, addPhoto<kLargePhotoBytes>};
  return workload;
}

}  // namespace reliability
