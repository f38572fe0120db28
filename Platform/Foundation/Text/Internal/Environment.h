#pragma once

#include <unicode/locid.h>

#include <array>
#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Text/Internal/ZoneRules.h"

namespace foundation {

/// What the person's settings say at one moment: locale, calendar and zone, with what follows from
/// them.
///
/// A snapshot is immutable and lives as long as the process; equal settings share one, so that
/// changing back and forth makes no more of them, and a snapshot's address says whether something
/// made from it still holds.
struct Environment {
  /// As set, in canonical form ("ko_KR").
  std::string localeIdentifier;
  /// ICU's name of the calendar in use ("gregorian", "buddhist").
  std::string calendarIdentifier;
  const ZoneRules* zone;

  /// The locale for ICU, naming the calendar in use.
  icu::Locale locale;
  bool isGregorian;
  bool hasLatinDigits;
  std::array<char32_t, 10> digits;
  /// The folders in which texts are looked for, best first ("ko-KR", "ko"), the development
  /// language last.
  std::vector<std::string> languages;
};

/// The settings in force. Costs one atomic load once they have been asked for.
[[nodiscard]] const Environment& currentEnvironment();

/// Parts of the settings, each changed by itself; what is absent stays as it is.
struct EnvironmentChange {
  std::optional<std::string> locale = {};
  /// Empty for the locale's own calendar.
  std::optional<std::string> calendar = {};
  const ZoneRules* zone = nullptr;
};
void changeEnvironment(const EnvironmentChange& change);

/// Reads the zone files anew; where nobody set a zone, the system is also asked anew which one it
/// is in.
void reloadZone();

namespace detail {
extern std::atomic<const Environment*> environment;
const Environment& establishEnvironment();
}  // namespace detail

inline const Environment& currentEnvironment() {
  const Environment* current = detail::environment.load(std::memory_order_acquire);
  return current == nullptr ? detail::establishEnvironment() : *current;
}

/// The canonical form of a locale's name; "C" and "POSIX" are `en_US_POSIX`.
[[nodiscard]] std::string canonicalLocale(std::string_view identifier);

/// Whether a calendar of that name is known.
[[nodiscard]] bool isCalendarIdentifier(std::string_view identifier);

/// The text with the settings' own digits turned into Latin ones.
[[nodiscard]] std::string withLatinDigits(const Environment& environment, std::string_view text);

}  // namespace foundation
