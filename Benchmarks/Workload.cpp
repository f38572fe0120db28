#include "Benchmarks/Workload.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace benchmarks {

using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

namespace {

constexpr sys_days kFirstDay{year{2019} / 1 / 1};
constexpr std::int64_t kSecondsADay = 86400;
constexpr double kSecondsFrom1970ToReference = 978307200.0;

/// A permutation of 64-bit numbers that leaves no pattern.
constexpr std::uint64_t scattered(std::uint64_t number) noexcept {
  number += 0x9e3779b97f4a7c15U;
  number = (number ^ (number >> 30U)) * 0xbf58476d1ce4e5b9U;
  number = (number ^ (number >> 27U)) * 0x94d049bb133111ebU;
  return number ^ (number >> 31U);
}

}  // namespace

std::string dayText(int day) {
  const year_month_day date{kFirstDay + std::chrono::days(day)};
  std::array<char, 32> text{};
  const int length =
      std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                    static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  return {text.data(), static_cast<std::size_t>(length)};
}

std::int64_t noonOf(int day) {
  return kFirstDay.time_since_epoch().count() * kSecondsADay + day * kSecondsADay +
         kSecondsADay / 2;
}

CheckinRecord checkinOn(int activity, int day) {
  CheckinRecord record;
  record.activity = activity;
  record.count = 1 + (day % 5 == 0 ? activity % 3 : 0);
  record.createdDate = static_cast<double>(noonOf(day)) - kSecondsFrom1970ToReference + activity;
  record.modifiedDate = record.createdDate;
  record.date = dayText(day);
  if ((activity + day) % 8 == 0) record.memo = "Twenty minutes, and felt good afterwards";
  record.type = day % 11 == 0 ? std::int16_t{10} : std::int16_t{0};
  return record;
}

Question question(const Workload& workload, std::uint64_t number) {
  const std::uint64_t random = scattered(number);
  const auto activities = static_cast<std::uint64_t>(workload.activities);
  const auto days = static_cast<std::uint64_t>(workload.days);
  const int first = static_cast<int>((random >> 16U) % days);
  return {.activity = static_cast<std::int64_t>(random % activities) + 1,
          .firstDay = first,
          .lastDay = std::min(first + static_cast<int>((random >> 40U) % 365), workload.days - 1)};
}

}  // namespace benchmarks
