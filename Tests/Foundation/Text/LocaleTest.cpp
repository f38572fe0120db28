#include "Foundation/Text/Locale.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/Internal/Environment.h"
#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

TEST(Locale, IsWrittenInOneForm) {
  EXPECT_EQ(Locale("ko_KR").identifier(), "ko_KR");
  EXPECT_EQ(Locale("ko-kr").identifier(), "ko_KR");
  EXPECT_EQ(Locale("ko_KR.UTF-8").identifier(), "ko_KR");
  EXPECT_EQ(Locale("en_US@calendar=buddhist").identifier(), "en_US@calendar=buddhist");
}

TEST(Locale, TakesTheStandardLocaleAsPlainEnglish) {
  for (const std::string_view name : {"C", "POSIX", "C.UTF-8"}) {
    EXPECT_EQ(Locale(name).identifier(), "en_US_POSIX") << name;
  }
}

TEST(Locale, CanBeSet) {
  const support::ScopedSettings settings("ar_EG", "UTC");

  EXPECT_EQ(Locale::current(), Locale("ar_EG"));
}

TEST(Locale, SharesTheSnapshotOfEqualSettings) {
  const support::ScopedSettings settings("ar_EG", "UTC");
  const Environment* first = &currentEnvironment();
  { const support::ScopedSettings others("ko_KR", "Asia/Seoul"); }

  EXPECT_EQ(&currentEnvironment(), first);
}

TEST(Locale, KnowsTheLanguagesItsTextsMayBeIn) {
  const auto languagesIn = [](std::string_view locale) {
    const support::ScopedSettings settings(locale, "UTC");
    return currentEnvironment().languages;
  };

  EXPECT_EQ(languagesIn("ko_KR"),
            (std::vector<std::string>{"ko-Kore-KR", "ko-KR", "ko-Kore", "ko", "en"}));
  EXPECT_EQ(languagesIn("zh_TW"),
            (std::vector<std::string>{"zh-Hant-TW", "zh-TW", "zh-Hant", "zh", "en"}));
  EXPECT_EQ(languagesIn("en"), (std::vector<std::string>{"en-Latn", "en"}));
}

TEST(Locale, ChangesAsAWholeForOtherThreads) {
  const support::ScopedSettings settings("en_US", "UTC");
  std::atomic<bool> isDone = false;
  std::thread changer([&] {
    for (int i = 0; i < 200; ++i) Locale::setCurrent(Locale(i % 2 == 0 ? "ar_EG" : "en_US"));
    isDone = true;
  });
  while (!isDone) {
    const std::string day = DateFormatter("yyyy-MM-dd").string(Date::from1970(1707541507));
    ASSERT_TRUE(day == "2024-02-10" || day == "٢٠٢٤-٠٢-١٠") << day;
  }
  changer.join();
}

/// What a new process takes its locale from, told on the error stream.
void exitWithLocaleUnder(const char* all, const char* time, const char* language) {
  ::setenv("LC_ALL", all, 1);
  ::setenv("LC_TIME", time, 1);
  ::setenv("LANG", language, 1);
  detail::environment = nullptr;
  std::fputs(Locale::current().identifier().c_str(), stderr);
  std::_Exit(0);
}

TEST(LocaleDeathTest, ComesFromTheEnvironment) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(exitWithLocaleUnder("ko_KR.UTF-8", "ar_EG", "fr_FR"), testing::ExitedWithCode(0),
              "^ko_KR$");
  EXPECT_EXIT(exitWithLocaleUnder("", "ar_EG", "fr_FR"), testing::ExitedWithCode(0), "^ar_EG$");
  EXPECT_EXIT(exitWithLocaleUnder("", "", "fr_FR"), testing::ExitedWithCode(0), "^fr_FR$");
  EXPECT_EXIT(exitWithLocaleUnder("", "", ""), testing::ExitedWithCode(0), "^en_US_POSIX$");
}

}  // namespace
}  // namespace foundation
