#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "Foundation/Text/Calendar.h"
#include "Foundation/Text/Locale.h"
#include "Foundation/Text/TimeZone.h"

namespace support {

/// A person's locale and zone, in force while it lives.
class ScopedSettings {
 public:
  ScopedSettings(std::string_view locale, std::string_view zone)
      : locale_(foundation::Locale::current()), zone_(foundation::TimeZone::current()) {
    const auto wanted = foundation::TimeZone::named(zone);
    if (!wanted) throw std::runtime_error("no such zone: " + std::string(zone));
    foundation::Locale::setCurrent(foundation::Locale(locale));
    foundation::TimeZone::setCurrent(*wanted);
  }
  ~ScopedSettings() {
    foundation::Calendar::setCurrent("");
    foundation::Locale::setCurrent(locale_);
    foundation::TimeZone::setCurrent(zone_);
  }
  ScopedSettings(const ScopedSettings&) = delete;
  ScopedSettings& operator=(const ScopedSettings&) = delete;

 private:
  foundation::Locale locale_;
  foundation::TimeZone zone_;
};

}  // namespace support
