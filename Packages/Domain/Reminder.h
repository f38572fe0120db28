#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Domain/DayOfWeek.h"

namespace domain {

/// When a user wants to be reminded: on which days of the week, and at what time of day.
class Reminder {
 public:
  /// The days as a set of bits.
  [[nodiscard]] virtual std::int16_t days() const = 0;
  /// The days in the order of `DayOfWeek::allCases()`.
  [[nodiscard]] virtual std::vector<DayOfWeek> daysOfWeek() const = 0;
  /// "HH:mm".
  [[nodiscard]] virtual std::optional<std::string> time() const = 0;

  virtual void addDay(DayOfWeek day) = 0;
  virtual void removeDay(DayOfWeek day) = 0;
  [[nodiscard]] virtual bool hasDay(DayOfWeek day) const = 0;

 protected:
  Reminder() = default;
  Reminder(const Reminder&) = default;
  Reminder& operator=(const Reminder&) = default;
  ~Reminder() = default;
};

}  // namespace domain
