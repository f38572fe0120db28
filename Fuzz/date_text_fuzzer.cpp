#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/DayKey.h"
#include "Foundation/Text/Locale.h"
#include "Foundation/Text/TimeZone.h"

namespace {

using foundation::Date;
using foundation::DateFormatter;
using foundation::Locale;
using foundation::TimeZone;

constexpr std::size_t kLongestInput = 256;
constexpr std::array kLocales = {"en_US", "ar_EG", "th_TH",
                                 "fa_IR", "ar_SA", "he_IL@calendar=hebrew"};
// None that ever left out a whole day: that day is read as the one after it.
constexpr std::array kZones = {"UTC", "America/Sao_Paulo", "Australia/Lord_Howe"};
constexpr std::array kPatterns = {"yyyy-MM-dd", "yyyy-MM", "yyyy", "HH:mm"};

void require(bool holds) {
  if (!holds) std::abort();
}

/// Ours are the texts that are written like that, but for the hour, which may have one digit.
void requireWrittenAs(std::string_view text, const std::string& written) {
  require(written == text || written == "0" + std::string(text));
}

void readAs(std::string_view pattern, std::string_view text, bool hasLatinDigits) {
  const DateFormatter formatter(pattern);
  const auto read = formatter.date(text);
  if (!read) return;
  const std::string written = formatter.string(*read);
  if (hasLatinDigits) requireWrittenAs(text, written);
  require(formatter.date(written) == read);
}

void writeKeys(const Date& date) {
  const foundation::DayKey key(date);
  require(key.text() == DateFormatter("yyyy-MM-dd").string(date));
  require(key.text().starts_with(key.month()) && key.month().starts_with(key.year()));
}

/// The settings that a number stands for; whether their digits are Latin.
bool use(std::uint8_t settings) {
  const std::size_t locale = settings % kLocales.size();
  // Changing them takes much longer than reading a text.
  static std::optional<std::uint8_t> inForce;
  if (inForce != settings) {
    Locale::setCurrent(Locale(kLocales[locale]));
    TimeZone::setCurrent(*TimeZone::named(kZones[settings / kLocales.size() % kZones.size()]));
    inForce = settings;
  }
  constexpr std::size_t kArabic[] = {1, 3, 4};
  for (const std::size_t other : kArabic) {
    if (locale == other) return false;
  }
  return true;
}

}  // namespace

/// The first byte chooses the settings. The rest is no text of a day, month, year or time, or it is
/// written again as it was read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > kLongestInput) return 0;
  const bool hasLatinDigits = use(data[0]);
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  for (const char* pattern : kPatterns) readAs(pattern, text, hasLatinDigits);
  std::uint64_t bits = 0;
  for (const char c : text.substr(0, sizeof bits)) bits = bits << 8 | static_cast<std::uint8_t>(c);
  // Whole seconds of either sign, further than any calendar reaches.
  writeKeys(Date::fromReference(static_cast<double>(static_cast<std::int64_t>(bits))));
  return 0;
}
