#include "Foundation/Text/TimeZone.h"

#include "Foundation/Text/Internal/Environment.h"
#include "Foundation/Text/Internal/LocalTime.h"

namespace foundation {

std::optional<TimeZone> TimeZone::named(std::string_view identifier) {
  const ZoneRules* rules = ZoneRules::named(identifier);
  if (rules == nullptr) return std::nullopt;
  return TimeZone(*rules);
}

TimeZone TimeZone::utc() { return TimeZone(ZoneRules::utc()); }

TimeZone TimeZone::current() { return TimeZone(*currentEnvironment().zone); }

void TimeZone::setCurrent(const TimeZone& zone) { changeEnvironment({.zone = zone.rules_}); }

void TimeZone::reload() { reloadZone(); }

const std::string& TimeZone::identifier() const noexcept { return rules_->identifier(); }

std::int64_t TimeZone::secondsFromGMT(const Date& date) const noexcept {
  return rules_->offsetAt(wholeSeconds(date));
}

}  // namespace foundation
