#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "CoreDataStack/Queries/LocalAPI.h"
#include "Tests/Support/RecordingLogger.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {

/// Check-ins of every kind, and of none.
inline const API::CheckinTypes kAllTypes = std::nullopt;
inline const API::CheckinTypes kNoTypes{std::vector<domain::CheckinType>{}};

/// A person's store and the queries over it. What is written into it is not saved before `save()`.
class Diary {
 public:
  [[nodiscard]] const LocalAPI& api() const noexcept { return api_; }
  [[nodiscard]] LocalAPI& api() noexcept { return api_; }
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  [[nodiscard]] const support::TemporaryStore& store() const noexcept { return store_; }
  /// The errors that were handed to the logger.
  [[nodiscard]] std::vector<std::string> logged() const { return logger_->descriptions(); }
  void save() const { context().save(); }

  struct Habit {
    domain::ActivityStatus status = domain::ActivityStatus::active;
    foundation::Ref<CDGroup> group = nullptr;
    std::int16_t priority = 0;
    double createdAt = 0;
  };
  foundation::Ref<CDActivity> activity(const std::string& title, const Habit& habit) const {
    auto activity = CDActivity::create(context(), "red");
    activity->setTitle(title);
    activity->setStatus(habit.status.value());
    activity->setGroup(habit.group);
    activity->order()->setPriority(habit.priority);
    activity->setCreatedDate(foundation::Date::fromReference(habit.createdAt));
    return activity;
  }
  foundation::Ref<CDActivity> activity(const std::string& title = "Run") const {
    return activity(title, Habit{});
  }
  foundation::Ref<CDGroup> group(std::int16_t priority) const {
    auto group = CDGroup::create(context());
    group->setPriority(priority);
    return group;
  }
  foundation::Ref<CDCheckin> checkIn(const foundation::Ref<CDActivity>& activity,
                                     std::optional<std::string> day,
                                     domain::CheckinType type = domain::CheckinType::standard,
                                     double count = 1) const {
    auto checkin = foundation::make<CDCheckin>(context());
    checkin->setDate(std::move(day));
    checkin->setType(type.value());
    checkin->setCount(count);
    checkin->setActivity(activity);
    return checkin;
  }

 private:
  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  support::TemporaryStore store_;
  foundation::Ref<support::RecordingLogger> logger_ = foundation::make<support::RecordingLogger>();
  LocalAPI api_{store_.contextHandle(), logger_};
};

/// Whether the objects that a query is to find are in the store or only in the context.
enum class Kept : std::uint8_t { inTheStore, inTheContext };

/// Queries whose answers are the same either way.
class QueriesOfBoth : public testing::TestWithParam<Kept> {
 protected:
  /// Leaves what was made so far where the test wants it.
  void keep() const {
    if (GetParam() == Kept::inTheStore) diary_.save();
  }
  [[nodiscard]] const LocalAPI& api() const { return diary_.api(); }

  Diary diary_;
};

inline const auto kBoth = testing::Values(Kept::inTheStore, Kept::inTheContext);

[[nodiscard]] inline std::string nameOfKept(const testing::TestParamInfo<Kept>& kept) {
  return kept.param == Kept::inTheStore ? "InTheStore" : "InTheContext";
}

/// The days of check-ins, in the order of the list.
[[nodiscard]] inline std::vector<std::string> days(const coredata::NSArray<CDCheckin>& checkins) {
  std::vector<std::string> result;
  for (const foundation::Ref<CDCheckin> checkin : checkins) {
    result.push_back(checkin->date().value_or("-"));
  }
  return result;
}

/// The titles of activities, in the order of the list.
[[nodiscard]] inline std::vector<std::string> titles(
    const coredata::NSArray<CDActivity>& activities) {
  std::vector<std::string> result;
  for (const foundation::Ref<CDActivity> activity : activities) {
    result.push_back(activity->title().value_or("-"));
  }
  return result;
}

}  // namespace coredatastack
