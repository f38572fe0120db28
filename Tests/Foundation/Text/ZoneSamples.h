#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Text/Internal/ZoneRules.h"

namespace foundation {

/// An instant between 1890, before most zones' first rules, and 2250, behind all tables. Half of
/// them lie within two seconds of a quarter of an hour, where days begin and clocks are changed.
inline std::int64_t sampleInstant(std::mt19937_64& random) {
  std::uniform_int_distribution<std::int64_t> anywhen(-2'524'521'600, 8'836'000'000);
  const std::int64_t instant = anywhen(random);
  if (random() % 2 == 0) return instant;
  constexpr std::int64_t kQuarterHour = 900;
  return instant / kQuarterHour * kQuarterHour + static_cast<std::int64_t>(random() % 5) - 2;
}

/// Ends the process with status 0 if the zone's offsets are libc's at so many instants. Libc must
/// be told the zone through the environment: call it in a process of its own.
[[noreturn]] void exitAfterComparingWithLibc(const std::string& zone, int instants);

/// Whether local times turn into the instants that the library behind the rules gives, around each
/// of the zone's changes of the clock; a text that says where not, or empty.
[[nodiscard]] std::string differenceInLocalTimes(const std::string& zone);

}  // namespace foundation
