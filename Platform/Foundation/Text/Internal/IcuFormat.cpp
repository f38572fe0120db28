#include "Foundation/Text/Internal/IcuFormat.h"

#include <unicode/calendar.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>

#include <array>
#include <cmath>
#include <memory>
#include <utility>

#include "Foundation/Text/Internal/Icu.h"
#include "Foundation/Text/Internal/LocalTime.h"

namespace foundation {

namespace {

constexpr double kMillisecondsPerSecond = 1000;

std::string toUtf8(const icu::UnicodeString& text) {
  std::string result;
  return text.toUTF8String(result);
}

icu::UnicodeString fromUtf8(std::string_view text) {
  return icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
}

/// The instant as ICU counts it, rounded down to milliseconds from whole seconds that are exact.
UDate icuDate(const Date& date) {
  const double seconds = date.timeIntervalSinceReferenceDate();
  const double fraction = std::isfinite(seconds) ? seconds - std::floor(seconds) : 0;
  return static_cast<double>(wholeSeconds(date)) * kMillisecondsPerSecond +
         std::floor(fraction * kMillisecondsPerSecond);
}

/// A formatter of ICU's for one pattern under one environment. Its zone is a fixed offset, moved as
/// needed.
class PreparedFormat {
 public:
  PreparedFormat(const Environment& environment, std::string_view pattern)
      : environment_(&environment), pattern_(pattern) {
    UErrorCode status = U_ZERO_ERROR;
    format_ =
        std::make_unique<icu::SimpleDateFormat>(fromUtf8(pattern), environment.locale, status);
    requireIcu(status);
    format_->setLenient(false);
    setOffset(0);
  }

  [[nodiscard]] bool serves(const Environment& environment, std::string_view pattern) const {
    return environment_ == &environment && pattern_ == pattern;
  }

  [[nodiscard]] std::string write(UDate instant, std::int64_t offset) {
    if (offset != offset_) setOffset(offset);
    icu::UnicodeString text;
    format_->format(instant, text);
    return toUtf8(text);
  }

  /// The local time that the whole text stands for, in seconds as if counted in UTC.
  [[nodiscard]] std::optional<std::int64_t> read(std::string_view text) {
    if (offset_ != 0) setOffset(0);
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::Calendar> calendar(format_->getCalendar()->clone());
    calendar->clear();
    // What the pattern leaves open is the first of its kind, not a field of 1970.
    calendar->set(UCAL_YEAR, 1);
    const icu::UnicodeString content = fromUtf8(text);
    icu::ParsePosition position(0);
    format_->parse(content, *calendar, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != content.length())
      return std::nullopt;
    const UDate instant = calendar->getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    return static_cast<std::int64_t>(std::floor(instant / kMillisecondsPerSecond));
  }

 private:
  void setOffset(std::int64_t seconds) {
    const auto milliseconds =
        static_cast<std::int32_t>(seconds) * static_cast<std::int32_t>(kMillisecondsPerSecond);
    format_->adoptTimeZone(new icu::SimpleTimeZone(milliseconds, icu::UnicodeString()));
    offset_ = seconds;
  }

  const Environment* environment_;
  std::string pattern_;
  std::unique_ptr<icu::SimpleDateFormat> format_;
  std::int64_t offset_ = 0;
};

/// The thread's formatter for a pattern. Making one takes fifty times as long as using it, and a
/// query uses one pattern over and over: the last few are kept.
PreparedFormat& preparedFormat(const Environment& environment, std::string_view pattern) {
  constexpr std::size_t kKept = 4;
  thread_local std::array<std::unique_ptr<PreparedFormat>, kKept> kept;
  thread_local std::size_t oldest = 0;
  for (const auto& format : kept) {
    if (format != nullptr && format->serves(environment, pattern)) return *format;
  }
  auto& place = kept[std::exchange(oldest, (oldest + 1) % kKept)];
  place = std::make_unique<PreparedFormat>(environment, pattern);
  return *place;
}

/// Whether a pattern holds a field that names the zone; quoted text holds none.
bool namesZone(std::string_view pattern) {
  bool isQuoted = false;
  for (const char c : pattern) {
    if (c == '\'') isQuoted = !isQuoted;
    if (!isQuoted && std::string_view("zZOvVxX").find(c) != std::string_view::npos) return true;
  }
  return false;
}

}  // namespace

std::string icuFormat(const Environment& environment, std::string_view pattern, const Date& date) {
  const std::int64_t offset = environment.zone->offsetAt(wholeSeconds(date));
  return preparedFormat(environment, pattern).write(icuDate(date), offset);
}

std::optional<Date> icuParse(const Environment& environment, std::string_view pattern,
                             std::string_view text) {
  if (namesZone(pattern)) return std::nullopt;
  const std::string folded = withLatinDigits(environment, text);
  PreparedFormat& format = preparedFormat(environment, pattern);
  const auto local = format.read(folded);
  if (!local) return std::nullopt;
  const std::string rewritten =
      format.write(static_cast<double>(*local) * kMillisecondsPerSecond, 0);
  if (withLatinDigits(environment, rewritten) != folded) return std::nullopt;
  return dateOf(environment.zone->instantOf(*local));
}

}  // namespace foundation
