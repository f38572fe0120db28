#include "Foundation/Text/DateFormatter.h"

#include <algorithm>

#include "Foundation/Text/Calendar.h"
#include "Foundation/Text/DayKey.h"
#include "Foundation/Text/Internal/IcuFormat.h"
#include "Foundation/Text/Internal/PlainDay.h"
#include "Foundation/Text/Internal/PlainDigits.h"

namespace foundation {

namespace {

constexpr std::string_view kTimePattern = "HH:mm";

/// Reads a text of Latin digits from front to back. Every step either takes what it wants or fails
/// for good.
class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : rest_(text) {}

  /// Takes all the digits in front, if there are as many as wanted.
  [[nodiscard]] int number(std::size_t fewest, std::size_t most) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto count =
        static_cast<std::size_t>(std::ranges::find_if_not(rest_, isDigit) - rest_.begin());
    if (count < fewest || count > most) {
      hasFailed_ = true;
      return 0;
    }
    int value = 0;
    for (const char digit : rest_.substr(0, count)) value = value * 10 + (digit - '0');
    rest_.remove_prefix(count);
    return value;
  }

  void mark(char c) {
    if (rest_.starts_with(c)) {
      rest_.remove_prefix(1);
    } else {
      hasFailed_ = true;
    }
  }

  /// A year as it is written: four digits, more only where they are needed.
  [[nodiscard]] int year() {
    constexpr std::size_t kFewest = 4;
    constexpr std::size_t kMost = 6;
    const bool isPadded = rest_.starts_with('0');
    return number(kFewest, isPadded ? kFewest : kMost);
  }

  [[nodiscard]] bool tookAll() const { return !hasFailed_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool hasFailed_ = false;
};

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::optional<std::string> plainTime(const Environment& environment, const Date& date) {
  if (!environment.hasLatinDigits) return std::nullopt;
  const std::int64_t instant = wholeSeconds(date);
  const std::int64_t local = instant + environment.zone->offsetAt(instant);
  const auto minutes =
      static_cast<std::uint32_t>(civil::floorDivide(local, kSecondsPerDay).remainder / 60);
  std::string text(kTimePattern.size(), ':');
  writeTwoDigits(text.data(), minutes / 60);
  writeTwoDigits(text.data() + 3, minutes % 60);
  return text;
}

}  // namespace

DateFormatter::DateFormatter() : environment_(&currentEnvironment()) {}

void DateFormatter::setDateFormat(std::string_view pattern) {
  pattern_ = pattern;
  form_ = pattern == "yyyy"         ? Form::year
          : pattern == "yyyy-MM"    ? Form::month
          : pattern == "yyyy-MM-dd" ? Form::day
          : pattern == kTimePattern ? Form::time
                                    : Form::other;
}

std::string DateFormatter::string(const Date& date) const {
  switch (form_) {
    case Form::year:
      return std::string(DayKey(*environment_, date).year());
    case Form::month:
      return std::string(DayKey(*environment_, date).month());
    case Form::day:
      return DayKey(*environment_, date).string();
    case Form::time:
      if (auto text = plainTime(*environment_, date)) return *std::move(text);
      break;
    case Form::other:
      break;
  }
  return icuFormat(*environment_, pattern_, date);
}

std::optional<Date> DateFormatter::date(std::string_view text) const {
  const bool hasOwnRoad =
      form_ == Form::time || (form_ != Form::other && environment_->isGregorian);
  if (!hasOwnRoad) return icuParse(*environment_, pattern_, text);
  if (isAscii(text)) return plainDate(text);
  return plainDate(withLatinDigits(*environment_, text));
}

std::optional<Date> DateFormatter::plainDate(std::string_view text) const {
  return form_ == Form::time ? timeOfFirstDay(text) : gregorianDate(text);
}

std::optional<Date> DateFormatter::gregorianDate(std::string_view text) const {
  FieldReader reader(text);
  const int year = reader.year();
  int month = 1;
  int day = 1;
  if (form_ != Form::year) {
    reader.mark('-');
    month = reader.number(2, 2);
  }
  if (form_ == Form::day) {
    reader.mark('-');
    day = reader.number(2, 2);
  }
  if (!reader.tookAll() || year < 1 || month < 1 || month > 12) return std::nullopt;
  const std::int64_t days = daysFromCivil(year, month, day);
  // A day that its month does not have comes back as another one.
  if (civilDay(days) != CivilDay{year, month, day}) return std::nullopt;
  return dateOf(environment_->zone->instantOf(days * kSecondsPerDay));
}

std::optional<Date> DateFormatter::timeOfFirstDay(std::string_view text) const {
  FieldReader reader(text);
  const int hour = reader.number(1, 2);
  reader.mark(':');
  const int minute = reader.number(2, 2);
  if (!reader.tookAll() || hour > 23 || minute > 59) return std::nullopt;
  return Calendar(*environment_).date({.hour = hour, .minute = minute});
}

std::string asString(const Date& date) { return DateFormatter(kTimePattern).string(date); }

}  // namespace foundation
