#pragma once

#include <cstdint>
#include <optional>

namespace foundation {

/// The fields of a date in some calendar, each present or not.
struct DateComponents {
  /// As the calendar counts its eras; absent means the one it is in.
  std::optional<std::int64_t> era = {};
  std::optional<std::int64_t> year = {};
  /// From 1.
  std::optional<std::int64_t> month = {};
  std::optional<std::int64_t> day = {};
  std::optional<std::int64_t> hour = {};
  std::optional<std::int64_t> minute = {};
  std::optional<std::int64_t> second = {};
  /// 1 for Sunday to 7; read from a date, ignored when one is made.
  std::optional<std::int64_t> weekday = {};
  /// Whether the month is one that the calendar inserted after another of the same number.
  bool isLeapMonth = false;

  friend bool operator==(const DateComponents&, const DateComponents&) = default;
};

}  // namespace foundation
