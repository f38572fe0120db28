#include "Tests/Foundation/Text/ZoneSamples.h"

#include <absl/time/time.h>
#include <stdlib.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>

namespace foundation {

void exitAfterComparingWithLibc(const std::string& zone, int instants) {
  ::setenv("TZ", zone.c_str(), 1);
  ::tzset();
  const ZoneRules* rules = ZoneRules::named(zone);
  if (rules == nullptr) std::_Exit(2);
  std::mt19937_64 random(1);
  for (int i = 0; i < instants; ++i) {
    const std::int64_t instant = sampleInstant(random);
    const time_t time = instant;
    tm local{};
    ::localtime_r(&time, &local);
    if (rules->offsetAt(instant) != local.tm_gmtoff) {
      std::fprintf(stderr, "%s at %lld", zone.c_str(), static_cast<long long>(instant));
      std::_Exit(1);
    }
  }
  std::_Exit(0);
}

std::string differenceInLocalTimes(const std::string& zone) {
  const ZoneRules* rules = ZoneRules::named(zone);
  absl::TimeZone reference;
  if (rules == nullptr || !absl::LoadTimeZone(zone, &reference)) return "no such zone";
  const absl::CivilSecond epoch(1970, 1, 1);
  absl::TimeZone::CivilTransition change;
  absl::Time at = absl::InfinitePast();
  while (reference.NextTransition(at, &change) && change.to.year() < 2210) {
    at = reference.At(change.to).trans;
    for (std::int64_t shift = -2 * 86400; shift <= 2 * 86400; shift += 900) {
      const auto expected = reference.At(change.to + shift);
      const bool isSkipped = expected.kind == absl::TimeZone::TimeInfo::SKIPPED;
      const std::int64_t instant = absl::ToUnixSeconds(isSkipped ? expected.trans : expected.pre);
      if (rules->instantOf(change.to + shift - epoch) != instant)
        return absl::FormatCivilTime(change.to + shift);
    }
  }
  return "";
}

}  // namespace foundation
