#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Values/Date.h"

namespace foundation {

class ZoneRules;

/// A time zone by the rules of the system's zone files.
///
/// Threading: the current zone may be read and set on any thread; a change takes effect as a whole.
class TimeZone {
 public:
  /// A zone by its name ("Asia/Seoul"), none when the system has no such zone.
  [[nodiscard]] static std::optional<TimeZone> named(std::string_view identifier);
  [[nodiscard]] static TimeZone utc();

  /// The zone in force: what was set last, else what `TZ` or /etc/localtime said when it was first
  /// asked for.
  [[nodiscard]] static TimeZone current();
  static void setCurrent(const TimeZone& zone);
  /// For programs that run for long: reads the zone files anew, and where no zone was set, which
  /// one the system is in.
  static void reload();

  [[nodiscard]] const std::string& identifier() const noexcept;
  /// How far local time is ahead of UTC at an instant.
  [[nodiscard]] std::int64_t secondsFromGMT(const Date& date) const noexcept;

  /// Equal while they stand for the same rules: a zone that was read anew differs from the one
  /// before.
  friend bool operator==(const TimeZone&, const TimeZone&) = default;

 private:
  explicit TimeZone(const ZoneRules& rules) noexcept : rules_(&rules) {}

  const ZoneRules* rules_;
};

}  // namespace foundation
