#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>
#include <vector>

#include "Foundation/Values/Date.h"
#include "Tests/Reliability/Time/LibraryZone.h"
#include "Tests/Support/ScopedSettings.h"

namespace support {

/// Thirty-one years in one zone, both for us and for the C library.
class ZoneTest : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] static foundation::Date dateAt(std::int64_t instant) {
    return foundation::Date::from1970(static_cast<double>(instant));
  }
  [[nodiscard]] static std::int64_t instantOf(const foundation::Date& date) {
    return static_cast<std::int64_t>(date.timeIntervalSince1970());
  }

  const ScopedSettings settings_{"en_US", GetParam()};
  const LibraryZone library_{GetParam()};

 private:
  using Days = std::vector<LibraryZone::Day>;
  [[nodiscard]] static const Days& remembered(const LibraryZone& zone) {
    static std::map<std::string, Days> all;
    Days& days = all[GetParam()];
    if (days.empty()) days = zone.days(kFirstInstant, kLastInstant);
    return days;
  }

 protected:
  const Days& days_ = remembered(library_);
};

[[nodiscard]] inline std::string nameOfZone(const testing::TestParamInfo<std::string>& zone) {
  std::string name = zone.param;
  const auto isWord = [](unsigned char c) { return std::isalnum(c) != 0; };
  std::erase_if(name, [&](char c) { return !isWord(static_cast<unsigned char>(c)); });
  return name;
}

}  // namespace support
