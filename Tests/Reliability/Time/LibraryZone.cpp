#include "Tests/Reliability/Time/LibraryZone.h"

#include <array>
#include <stdexcept>

#include "Tests/Support/Effort.h"

namespace support {

namespace {

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kQuarterHour = 900;

}  // namespace

LibraryZone::LibraryZone(const std::string& name) : setting_("TZ", name.c_str()) { ::tzset(); }

tm LibraryZone::localTime(std::int64_t instant) const {
  const time_t time = instant;
  tm local{};
  if (::localtime_r(&time, &local) == nullptr) throw std::out_of_range("no local time");
  return local;
}

std::string LibraryZone::written(const char* pattern, std::int64_t instant) const {
  const tm local = localTime(instant);
  std::array<char, 64> text{};
  return {text.data(), ::strftime(text.data(), text.size(), pattern, &local)};
}

std::vector<std::int64_t> LibraryZone::changes(std::int64_t from, std::int64_t to) const {
  const auto offset = [this](std::int64_t instant) { return localTime(instant).tm_gmtoff; };
  std::vector<std::int64_t> result;
  for (std::int64_t end = from + kHour; end <= to; end += kHour) {
    std::int64_t before = end - kHour;
    std::int64_t after = end;
    if (offset(before) == offset(after)) continue;
    while (after - before > 1) {
      const std::int64_t middle = before + (after - before) / 2;
      (offset(middle) == offset(before) ? before : after) = middle;
    }
    result.push_back(after);
  }
  return result;
}

std::vector<LibraryZone::Day> LibraryZone::days(std::int64_t from, std::int64_t to) const {
  std::vector<Day> result;
  int dayOfMonth = 0;
  for (std::int64_t instant = from; instant < to; instant += kQuarterHour) {
    const tm local = localTime(instant);
    if (local.tm_mday == dayOfMonth) continue;
    dayOfMonth = local.tm_mday;
    if (!result.empty()) result.back().end = instant;
    result.push_back({written("%Y-%m-%d", instant), instant, 0, local.tm_wday});
  }
  // Neither the first nor the last of them is whole.
  result.erase(result.begin());
  result.pop_back();
  return result;
}

std::vector<std::string> testedZones() {
  std::vector<std::string> zones = {"America/New_York", "America/Sao_Paulo",
                                    "Europe/London",    "Asia/Beirut",
                                    "Africa/Cairo",     "Australia/Lord_Howe",
                                    "Pacific/Apia",     "Pacific/Kiritimati",
                                    "Etc/GMT+12",       "Asia/Kathmandu",
                                    "Asia/Tehran",      "Africa/Casablanca",
                                    "Asia/Seoul",       "UTC"};
  zones.resize(tries(2, zones.size()));
  return zones;
}

}  // namespace support
