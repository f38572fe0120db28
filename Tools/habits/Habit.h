#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "CoreDataStack/Model/CDActivity.h"

namespace habits {

/// A habit and the name that no other bears: its title, followed by "#" and a number where several
/// share it. The oldest of them is number 1.
struct Habit {
  foundation::Ref<coredatastack::CDActivity> activity;
  std::string name;
};

/// Every habit, the oldest first.
[[nodiscard]] std::vector<Habit> allHabits(coredata::NSManagedObjectContext& context);

/// The habit of that name, or of that title where one alone bears it. Throws `Refusal` when there
/// is none and when there are several.
[[nodiscard]] Habit habitNamed(std::string_view name, coredata::NSManagedObjectContext& context);

/// The title as text; a habit need not have one.
[[nodiscard]] std::string titleOf(const coredatastack::CDActivity& activity);

}  // namespace habits
