#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CoreDataStack/Model/CDGoal.h"
#include "Domain/ActivityStatus.h"
#include "Tools/habits/Answer.h"
#include "Tools/habits/Session.h"

namespace habits {

/// Of habits for which no colour is chosen.
inline constexpr const char* kDefaultColor = "blue";

// One function a command. Each runs inside a block of the session's context and throws `Refusal`,
// `UsageError` or the store's `foundation::Error`; what it writes is saved when it returns.

struct NewHabit {
  std::string title;
  std::string color = kDefaultColor;
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

/// Which habits to list: all, or at most one of these.
struct ListFilter {
  /// The active ones of the group of that title.
  std::optional<std::string> group;
  /// The active ones in no group.
  bool inNoGroup = false;
  std::optional<domain::ActivityStatus> status;
};
[[nodiscard]] Answer list(const Session& session, const ListFilter& filter);
[[nodiscard]] Answer last(const Session& session);
/// The year's check-ins as a calendar; this year's when none is given.
[[nodiscard]] Answer year(const Session& session, const std::string& name, std::optional<int> which,
                          bool inColor);

/// The names of the types of check-in.
inline constexpr const char* kStandardType = "standard";
inline constexpr const char* kAlternateType = "alternate";
/// What to count of a habit; a period is open where an end is absent.
struct StatsQuestion {
  std::string name;
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::vector<std::string> types{kStandardType};
};
[[nodiscard]] Answer stats(const Session& session, const StatsQuestion& question);

[[nodiscard]] Answer achieve(const Session& session, const std::string& name);

/// A file of another program.
struct ImportFile {
  std::string path;
  /// Whether rows that cannot be read are left out; with one of them nothing is imported otherwise.
  bool skipsBadRows = false;
};
/// Adds the check-ins of days that have none, and the habits that are missing, in one save.
[[nodiscard]] Answer importFile(const Session& session, const ImportFile& file);

}  // namespace habits
