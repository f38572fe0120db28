#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/Date.h"

namespace habits {

/// A check-in as a file of another program has it.
struct ImportedCheckin {
  std::string title;
  /// Noon of the day.
  foundation::Date date;
  double count = 1;
  /// Empty for none, as the group.
  std::string memo;
  std::string group;
};

/// Where a row is bad, and why.
struct BadRow {
  std::size_t line = 0;
  std::size_t column = 0;
  std::string what;
};

struct CheckinTable {
  std::vector<ImportedCheckin> checkins;
  /// Nothing of these is among the check-ins.
  std::vector<BadRow> badRows;
};

/// Reads the two forms in which habit trackers export check-ins as comma-separated text, told apart
/// by their first row:
///
/// - a list: one row a check-in, the columns in any order and others among them. "activity" or
///   "HabitName" and "date" or "CalendarDate" must be there; "count" or "Value", "memo" or
///   "CommentText", "group" or "HabitCategory" may be. Capitals do not matter.
/// - a matrix: the days in the first column, "Date", and a column for each habit.
///
/// Days are written YYYY-MM-DD, or MM/DD/YY in the whole column. A count is a number above 0;
/// YES_MANUAL is 1. Nothing, -1, 0, YES_AUTO, NO, SKIP and UNKNOWN stand for no check-in, but a row
/// of a list without a count counts once.
///
/// Throws `Refusal` when the first row is of neither form.
[[nodiscard]] CheckinTable readCheckinTable(std::string_view csv);

}  // namespace habits
