#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CoreDataStack/Model/CDGoal.h"
#include "Tools/habits/Answer.h"
#include "Tools/habits/Session.h"

namespace habits {

// One function a command. Each runs inside a block of the session's context and throws `Refusal`,
// `UsageError` or the store's `foundation::Error`; what it writes is saved when it returns.

struct NewHabit {
  std::string title;
  std::string color;
  /// How many check-ins make a day complete; the model's own number when absent.
  std::optional<double> target;
  coredatastack::CDGoal::Interval interval = coredatastack::CDGoal::Interval::none;
  std::int16_t times = 0;
};
[[nodiscard]] Answer add(const Session& session, const NewHabit& habit);

/// A habit's day, as a command line names it: today when none is given.
struct HabitDay {
  std::string name;
  std::optional<std::string> on;
};
[[nodiscard]] Answer check(const Session& session, const HabitDay& day, bool alternate);
[[nodiscard]] Answer more(const Session& session, const HabitDay& day);
[[nodiscard]] Answer uncheck(const Session& session, const HabitDay& day);
/// An empty text takes the note away.
[[nodiscard]] Answer note(const Session& session, const HabitDay& day, const std::string& text);

[[nodiscard]] Answer list(const Session& session);
[[nodiscard]] Answer last(const Session& session);
/// The year's check-ins as a calendar; this year's when none is given.
[[nodiscard]] Answer year(const Session& session, const std::string& name, std::optional<int> which,
                          bool inColor);
[[nodiscard]] Answer achieve(const Session& session, const std::string& name);

}  // namespace habits
