#pragma once

#include <string>
#include <string_view>

namespace foundation {

/// A person's language and region, which decide digits, calendar and texts.
///
/// Threading: the current locale may be read and set on any thread. A change takes effect as a
/// whole: whoever is formatting meanwhile sees either all of the old settings or all of the new
/// ones.
class Locale {
 public:
  /// By its name, in any of the usual spellings ("ko_KR", "ko-KR", "ko_KR.UTF-8", "ar_EG",
  /// "en_US@calendar=buddhist"). "C" and "POSIX" are `en_US_POSIX`.
  explicit Locale(std::string_view identifier);

  /// The locale in force: what was set last, else what `LC_ALL`, `LC_TIME` or `LANG` said when it
  /// was first asked for.
  [[nodiscard]] static Locale current();
  static void setCurrent(const Locale& locale);

  /// The canonical name ("ko_KR").
  [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  friend bool operator==(const Locale&, const Locale&) = default;

 private:
  std::string identifier_;
};

}  // namespace foundation
