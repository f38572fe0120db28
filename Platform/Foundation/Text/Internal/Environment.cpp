#include "Foundation/Text/Internal/Environment.h"

#include <unicode/calendar.h>
#include <unicode/numsys.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "Foundation/Text/Internal/Icu.h"
#include "Foundation/Text/Internal/Utf8.h"

namespace foundation {

namespace detail {
constinit std::atomic<const Environment*> environment{nullptr};
}  // namespace detail

namespace {

constexpr std::string_view kDevelopmentLanguage = "en";

struct Settings {
  std::string locale;
  /// Empty for the locale's own.
  std::string calendar;
  const ZoneRules* zone = nullptr;

  friend bool operator==(const Settings&, const Settings&) = default;
};

struct Registry {
  std::mutex mutex;
  Settings settings;
  /// Whether a program chose the zone, rather than the system.
  bool hasChosenZone = false;
  struct Entry {
    Settings settings;
    std::unique_ptr<const Environment> environment;
  };
  std::vector<Entry> entries;
};

/// Never destroyed: texts are formatted until the very end of the process.
Registry& registry() {
  static auto& instance = *new Registry;
  return instance;
}

std::string localeOfSystem() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* setting = std::getenv(variable);
    if (setting != nullptr && *setting != '\0') return canonicalLocale(setting);
  }
  return canonicalLocale("C");
}

icu::Locale localeFor(const Settings& settings) {
  icu::Locale locale(settings.locale.c_str());
  if (settings.calendar.empty()) return locale;
  UErrorCode status = U_ZERO_ERROR;
  locale.setKeywordValue("calendar", settings.calendar.c_str(), status);
  requireIcu(status);
  return locale;
}

std::string calendarOf(const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::Calendar> calendar(
      icu::Calendar::createInstance(*icu::TimeZone::getGMT(), locale, status));
  requireIcu(status);
  return calendar->getType();
}

std::array<char32_t, 10> digitsOf(const icu::Locale& locale) {
  std::array<char32_t, 10> digits{U'0', U'1', U'2', U'3', U'4', U'5', U'6', U'7', U'8', U'9'};
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::NumberingSystem> system(
      icu::NumberingSystem::createInstance(locale, status));
  requireIcu(status);
  if (system->isAlgorithmic() || system->getRadix() != 10) return digits;
  const icu::UnicodeString description = system->getDescription();
  std::int32_t position = 0;
  for (char32_t& digit : digits) {
    digit = static_cast<char32_t>(description.char32At(position));
    position = description.moveIndex32(position, 1);
  }
  return digits;
}

/// From the most particular name of a language to the plainest: with script and region, with
/// either, bare.
std::vector<std::string> languagesOf(const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale likely = locale;
  likely.addLikelySubtags(status);
  requireIcu(status);
  const std::string language = locale.getLanguage();
  const std::string script = likely.getScript();
  const std::string region = locale.getCountry();

  std::vector<std::string> names;
  if (!language.empty()) {
    if (!script.empty() && !region.empty()) names.push_back(language + "-" + script + "-" + region);
    if (!region.empty()) names.push_back(language + "-" + region);
    if (!script.empty()) names.push_back(language + "-" + script);
    names.push_back(language);
  }
  if (std::ranges::find(names, kDevelopmentLanguage) == names.end())
    names.emplace_back(kDevelopmentLanguage);
  return names;
}

std::unique_ptr<const Environment> makeEnvironment(const Settings& settings) {
  const icu::Locale locale = localeFor(settings);
  const std::string calendar = calendarOf(locale);
  const auto digits = digitsOf(locale);
  return std::make_unique<const Environment>(Environment{.localeIdentifier = settings.locale,
                                                         .calendarIdentifier = calendar,
                                                         .zone = settings.zone,
                                                         .locale = locale,
                                                         .isGregorian = calendar == "gregorian",
                                                         .hasLatinDigits = digits[0] == U'0',
                                                         .digits = digits,
                                                         .languages = languagesOf(locale)});
}

/// Completes the settings that nobody made yet from the system. The registry is locked.
void completeSettings(Settings& settings) {
  if (settings.locale.empty()) settings.locale = localeOfSystem();
  if (settings.zone == nullptr) settings.zone = &ZoneRules::ofSystem();
}

/// Puts the registry's settings in force. The registry is locked.
const Environment& publish() {
  completeSettings(registry().settings);
  auto& entries = registry().entries;
  auto found = std::ranges::find(entries, registry().settings, &Registry::Entry::settings);
  if (found == entries.end()) {
    entries.push_back({registry().settings, makeEnvironment(registry().settings)});
    found = std::prev(entries.end());
  }
  detail::environment.store(found->environment.get(), std::memory_order_release);
  return *found->environment;
}

}  // namespace

const Environment& detail::establishEnvironment() {
  const std::scoped_lock guard(registry().mutex);
  const Environment* current = environment.load(std::memory_order_acquire);
  return current == nullptr ? publish() : *current;
}

void changeEnvironment(const EnvironmentChange& change) {
  const std::scoped_lock guard(registry().mutex);
  Settings& settings = registry().settings;
  if (change.locale) settings.locale = *change.locale;
  if (change.calendar) settings.calendar = *change.calendar;
  if (change.zone != nullptr) {
    settings.zone = change.zone;
    registry().hasChosenZone = true;
  }
  publish();
}

void reloadZone() {
  const std::scoped_lock guard(registry().mutex);
  ZoneRules::forgetFiles();
  Settings& settings = registry().settings;
  if (registry().hasChosenZone) {
    // A zone that the files no longer have keeps the rules it had.
    if (const ZoneRules* renewed = ZoneRules::named(settings.zone->identifier()))
      settings.zone = renewed;
  } else {
    settings.zone = nullptr;
  }
  publish();
}

std::string canonicalLocale(std::string_view identifier) {
  const std::string name(identifier.substr(0, identifier.find_first_of(".@")));
  if (name == "C" || name == "POSIX") return "en_US_POSIX";
  return icu::Locale::createCanonical(std::string(identifier).c_str()).getName();
}

bool isCalendarIdentifier(std::string_view identifier) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> known(
      icu::Calendar::getKeywordValuesForLocale("calendar", icu::Locale::getRoot(), false, status));
  requireIcu(status);
  while (const char* name = known->next(nullptr, status)) {
    if (identifier == name) return true;
  }
  return false;
}

std::string withLatinDigits(const Environment& environment, std::string_view text) {
  std::string result;
  result.reserve(text.size());
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t i = 0; i < length;) {
    const std::int32_t begin = i;
    const std::int32_t character = nextCodePoint(text, i);
    const auto digit = std::ranges::find(environment.digits, static_cast<char32_t>(character));
    if (character >= 0 && digit != environment.digits.end()) {
      result += static_cast<char>('0' + (digit - environment.digits.begin()));
    } else {
      result += text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(i - begin));
    }
  }
  return result;
}

}  // namespace foundation
