#pragma once

#include <time.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Tests/Support/ScopedVariable.h"

namespace support {

/// Local time in one zone as the C library reckons it, to compare ours with.
///
/// Threading: it sets the process's zone while it lives; nothing else may ask for local time.
class LibraryZone {
 public:
  explicit LibraryZone(const std::string& name);
  LibraryZone(const LibraryZone&) = delete;
  LibraryZone& operator=(const LibraryZone&) = delete;

  [[nodiscard]] tm localTime(std::int64_t instant) const;
  /// Local time by a pattern of `strftime`.
  [[nodiscard]] std::string written(const char* pattern, std::int64_t instant) const;

  /// The instants between the two at which the clock is changed: the first after each change.
  /// Finds those that are at least an hour apart.
  [[nodiscard]] std::vector<std::int64_t> changes(std::int64_t from, std::int64_t to) const;

  /// A day as its clocks show it, by its first instant and the one after its last.
  struct Day {
    std::string key;
    std::int64_t begin;
    std::int64_t end;
    /// 0 for Sunday.
    int weekday;
  };
  /// The days that lie wholly between the two instants, for zones that change their clocks at whole
  /// quarters of an hour and show no day twice.
  [[nodiscard]] std::vector<Day> days(std::int64_t from, std::int64_t to) const;

 private:
  ScopedVariable setting_;
};

/// The zones of the tests: with changes at midnight and in the night, of half an hour, by a whole
/// day, at both ends of the earth's offsets and in between, and without any. Two of them unless
/// `TEST_EFFORT` asks for more.
[[nodiscard]] std::vector<std::string> testedZones();

/// 2007-01-01 and 2038-01-01, midnight UTC.
inline constexpr std::int64_t kFirstInstant = 1'167'609'600;
inline constexpr std::int64_t kLastInstant = 2'145'916'800;

}  // namespace support
