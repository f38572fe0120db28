#pragma once

#include <cstdint>

#include "Foundation/Text/Calendar.h"

namespace support {

/// A local time of the current calendar and zone.
[[nodiscard]] inline foundation::Date localDate(std::int64_t year, std::int64_t month,
                                                std::int64_t day, std::int64_t hour = 0,
                                                std::int64_t minute = 0) {
  foundation::DateComponents components;
  components.year = year;
  components.month = month;
  components.day = day;
  components.hour = hour;
  components.minute = minute;
  return foundation::Calendar::current().date(components).value();
}

}  // namespace support
