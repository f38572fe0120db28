#include "Foundation/Text/LocalizedFormat.h"

#include <unicode/numberformatter.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "Foundation/Text/Characters.h"
#include "Foundation/Text/Internal/Environment.h"
#include "Foundation/Text/Internal/Icu.h"

// place      := "%" [ position "$" ] { "-" | "0" } [ width ] [ "." precision ] ( [ length ] ( "d" |
// "i" | "u" ) | "@" ) length     := "h" | "l" | "ll"

namespace foundation {

namespace {

/// No text is padded beyond this, whatever a format asks for.
constexpr std::size_t kGreatestWidth = 255;

struct Place {
  /// From 1; absent for the next argument in turn.
  std::optional<std::size_t> position;
  bool fillsOnTheRight = false;
  bool fillsWithZeros = false;
  std::size_t width = 0;
  std::optional<std::size_t> precision;
  bool takesText = false;
};

/// Takes the number in front of a text; none when there is none or it is beyond every bound.
std::optional<std::size_t> takeNumber(std::string_view& text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number > kGreatestWidth) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

bool take(std::string_view& text, std::string_view what) {
  if (!text.starts_with(what)) return false;
  text.remove_prefix(what.size());
  return true;
}

bool startsWithDigit(std::string_view text) {
  return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

/// Takes a position if there is one: a number that a dollar sign follows.
void takePosition(std::string_view& text, Place& place) {
  std::string_view ahead = text;
  const auto number = takeNumber(ahead);
  if (!number || !take(ahead, "$")) return;
  place.position = number;
  text = ahead;
}

void takeFlags(std::string_view& text, Place& place) {
  for (;;) {
    if (take(text, "-")) {
      place.fillsOnTheRight = true;
    } else if (take(text, "0")) {
      place.fillsWithZeros = true;
    } else {
      return;
    }
  }
}

/// Takes what follows a percent sign; none, and the text stays, when that is no place.
std::optional<Place> takePlace(std::string_view& text) {
  std::string_view rest = text;
  Place place;
  takePosition(rest, place);
  takeFlags(rest, place);
  if (startsWithDigit(rest)) {
    const auto width = takeNumber(rest);
    if (!width) return std::nullopt;
    place.width = *width;
  }
  if (take(rest, ".")) {
    place.precision = takeNumber(rest);
    if (!place.precision) return std::nullopt;
  }
  if (take(rest, "@")) {
    place.takesText = true;
  } else {
    if (!take(rest, "ll") && !take(rest, "l")) take(rest, "h");
    if (!take(rest, "d") && !take(rest, "i") && !take(rest, "u")) return std::nullopt;
  }
  text = rest;
  return place;
}

/// The thread's number formatter for an environment; making one takes a hundred times as long as
/// using it.
const icu::number::LocalizedNumberFormatter& numberFormatter(const Environment& environment) {
  thread_local const Environment* madeFor = nullptr;
  thread_local icu::number::LocalizedNumberFormatter formatter;
  if (madeFor != &environment) {
    formatter = icu::number::NumberFormatter::withLocale(environment.locale);
    madeFor = &environment;
  }
  return formatter;
}

std::string write(const icu::number::LocalizedNumberFormatter& formatter,
                  const std::string& decimal) {
  UErrorCode status = U_ZERO_ERROR;
  std::string result;
  formatter.formatDecimal(decimal, status).toString(status).toUTF8String(result);
  requireIcu(status);
  return result;
}

std::string numberText(const Place& place, const std::string& decimal) {
  const auto& formatter = numberFormatter(currentEnvironment());
  const bool padsWithZeros = place.fillsWithZeros && !place.fillsOnTheRight && !place.precision;
  const std::size_t fewest = padsWithZeros ? place.width : place.precision.value_or(0);
  if (fewest == 0) return write(formatter, decimal);
  // Zeros in front are for lining up: a group separator among them would undo it, and a sign takes
  // one's place.
  const std::size_t sign = padsWithZeros && decimal.starts_with('-') ? 1 : 0;
  const auto digits = static_cast<std::int32_t>(fewest > sign ? fewest - sign : 0);
  const auto grouping = padsWithZeros ? UNUM_GROUPING_OFF : UNUM_GROUPING_AUTO;
  return write(
      formatter.grouping(grouping).integerWidth(icu::number::IntegerWidth::zeroFillTo(digits)),
      decimal);
}

/// How many code points a text has; widths line up what is mostly digits and letters.
std::size_t lengthOf(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

void appendPadded(std::string& to, std::string_view text, const Place& place) {
  const std::size_t length = lengthOf(text);
  const std::size_t padding = place.width > length ? place.width - length : 0;
  if (!place.fillsOnTheRight) to.append(padding, ' ');
  to += text;
  if (place.fillsOnTheRight) to.append(padding, ' ');
}

/// Fills a place, or says that the argument does not suit it.
bool appendArgument(std::string& to, const Place& place, const FormatArgument& argument) {
  if (!place.takesText && argument.text() != nullptr) return false;
  const std::string plain = argument.plainText();
  if (place.takesText) {
    appendPadded(to, place.precision ? prefix(plain, *place.precision) : plain, place);
  } else {
    appendPadded(to, numberText(place, plain), place);
  }
  return true;
}

}  // namespace

std::string FormatArgument::plainText() const {
  if (const std::string* held = text()) return *held;
  if (const auto* number = std::get_if<std::int64_t>(&content_)) return std::to_string(*number);
  return std::to_string(std::get<std::uint64_t>(content_));
}

std::string localizedFormat(std::string_view format, std::span<const FormatArgument> arguments) {
  std::string result;
  std::size_t next = 0;
  while (!format.empty()) {
    const std::size_t percent = std::min(format.find('%'), format.size());
    result += format.substr(0, percent);
    format.remove_prefix(percent);
    if (take(format, "%%")) {
      result += '%';
      continue;
    }
    if (format.empty()) break;
    const std::string_view written = format;
    format.remove_prefix(1);
    const auto place = takePlace(format);
    const std::size_t index = place && place->position ? *place->position - 1 : next;
    if (place && index < arguments.size() && appendArgument(result, *place, arguments[index])) {
      if (!place->position) ++next;
    } else {
      result += written.substr(0, written.size() - format.size());
    }
  }
  return result;
}

}  // namespace foundation
