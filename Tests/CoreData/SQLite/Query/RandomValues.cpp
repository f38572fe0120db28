#include "Tests/CoreData/SQLite/Query/RandomValues.h"

#include <array>
#include <limits>
#include <string_view>

namespace habits {

using foundation::Data;
using foundation::Date;
using foundation::UUID;

namespace {
using namespace std::string_view_literals;

constexpr std::int64_t kExact = std::int64_t{1} << 53U;

constexpr std::array kWholeNumbers = {std::int64_t{-1},
                                      std::int64_t{0},
                                      std::int64_t{1},
                                      std::int64_t{2},
                                      std::int64_t{32767},
                                      std::int64_t{-32768},
                                      std::int64_t{2147483647},
                                      kExact,
                                      kExact + 1,
                                      kExact + 2,
                                      -kExact - 1,
                                      std::numeric_limits<std::int64_t>::max(),
                                      std::int64_t{3},
                                      std::numeric_limits<std::int64_t>::min()};

constexpr std::array kRealNumbers = {-1.0,
                                     0.0,
                                     -0.0,
                                     0.5,
                                     1.0,
                                     2.0,
                                     static_cast<double>(kExact),
                                     static_cast<double>(kExact) + 2,
                                     -static_cast<double>(kExact),
                                     9223372036854775808.0,
                                     -9223372036854775808.0,
                                     1e300,
                                     std::numeric_limits<double>::infinity(),
                                     -std::numeric_limits<double>::infinity(),
                                     std::numeric_limits<double>::denorm_min()};

constexpr std::array kTexts = {""sv,
                               "a"sv,
                               "A"sv,
                               "ab"sv,
                               "aB"sv,
                               "abc"sv,
                               "b"sv,
                               "%"sv,
                               "a%"sv,
                               "a_c"sv,
                               "*"sv,
                               "a*"sv,
                               "a?c"sv,
                               "\\*"sv,
                               "?"sv,
                               "a\0b"sv,
                               "a\0B"sv,
                               "\0"sv,
                               "\xff"sv,
                               "\xff\xff"sv,
                               "a\xff"sv,
                               "1"sv,
                               "2024"sv,
                               "2024-01-02"sv,
                               "\xc3\xa9"sv,
                               "\xea\xb0\x80"sv,
                               "\xea"sv,
                               "0.5"sv,
                               "\xf0\x9f\x98\x80"sv};

}  // namespace

std::int64_t RandomValues::wholeNumber() { return kWholeNumbers[below(kWholeNumbers.size())]; }

double RandomValues::realNumber() { return kRealNumbers[below(kRealNumbers.size())]; }

std::string RandomValues::text() { return std::string(kTexts[below(kTexts.size())]); }

Date RandomValues::date() { return Date::fromReference(kRealNumbers[below(9)]); }

Data RandomValues::bytes() {
  const std::string_view bytes = kTexts[below(kTexts.size())];
  return Data(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

UUID RandomValues::identifier() {
  UUID::Bytes bytes{};
  bytes.front() = static_cast<std::uint8_t>(below(3) * 127);
  bytes.back() = static_cast<std::uint8_t>(below(2));
  return UUID(bytes);
}

}  // namespace habits
