#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Text/DateComponents.h"
#include "Foundation/Values/Date.h"

namespace foundation {

struct Environment;

/// The current calendar in the current zone, as they were when it was asked for.
///
/// Threading: a value; use it on any thread.
class Calendar {
 public:
  /// The calendar in force: the one set last, else the locale's own.
  [[nodiscard]] static Calendar current();
  /// Chooses a calendar by Unicode's name for it ("gregorian", "buddhist", "persian") whatever the
  /// locale; an empty name goes back to the locale's own. False, and nothing changes, when there is
  /// no such calendar.
  static bool setCurrent(std::string_view identifier);

  [[nodiscard]] const std::string& identifier() const noexcept;

  /// All fields of a date.
  [[nodiscard]] DateComponents dateComponents(const Date& date) const;

  /// The date of the fields. Those that are missing are 1 for year, month and day and 0 for the
  /// time; those beyond their range roll over (month 13 is the next January). A local time that
  /// occurs twice is the earlier one, one that a change of the clock skips the first instant after
  /// it. None when a field is so large that no calendar reaches it: past five million years, or a
  /// thousand million of anything else.
  [[nodiscard]] std::optional<Date> date(const DateComponents& components) const;

  /// The first instant of the local day that a date falls on; midnight, where the day has one.
  [[nodiscard]] Date startOfDay(const Date& date) const noexcept;

 private:
  friend class DateFormatter;

  explicit Calendar(const Environment& environment) noexcept : environment_(&environment) {}

  const Environment* environment_;
};

}  // namespace foundation
