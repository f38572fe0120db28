#include "Foundation/Text/LocalizedString.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "Foundation/Text/LocalizedFormat.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

using support::ScopedSettings;

class LocalizedString : public testing::Test {
 protected:
  void write(const std::string& language, const std::string& text,
             const std::string& table = "Localizable") {
    const auto folder = directory_.path() / (language + ".lproj");
    std::filesystem::create_directories(folder);
    std::ofstream(folder / (table + ".strings")) << text;
  }
  [[nodiscard]] std::string lookUp(std::string_view key, std::string_view value = {},
                                   std::string_view table = kDefaultStringsTable) const {
    return localizedString(directory_.path().native(), key, value, table);
  }

 private:
  support::TemporaryDirectory directory_;
};

TEST_F(LocalizedString, IsInTheLanguageOfTheLocale) {
  write("en", R"("None" = "None";)");
  write("ko", R"("None" = "없음";)");

  const ScopedSettings korean("ko_KR", "UTC");
  EXPECT_EQ(lookUp("None"), "없음");
  const ScopedSettings english("en_GB", "UTC");
  EXPECT_EQ(lookUp("None"), "None");
}

TEST_F(LocalizedString, FallsBackToTheDevelopmentLanguage) {
  write("en", R"("a" = "one"; "b" = "two";)");
  write("ko", R"("a" = "하나";)");

  const ScopedSettings french("fr_FR", "UTC");
  EXPECT_EQ(lookUp("a"), "one");
  const ScopedSettings korean("ko_KR", "UTC");
  EXPECT_EQ(lookUp("b"), "two");
}

TEST_F(LocalizedString, PrefersTheMoreParticularLanguage) {
  write("zh-Hant", R"("a" = "traditional";)");
  write("zh", R"("a" = "any";)");

  const ScopedSettings taiwan("zh_TW", "UTC");
  EXPECT_EQ(lookUp("a"), "traditional");
  const ScopedSettings mainland("zh_CN", "UTC");
  EXPECT_EQ(lookUp("a"), "any");
}

TEST_F(LocalizedString, IsTheValueOrTheKeyWithoutAnEntry) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(lookUp("None"), "None");
  EXPECT_EQ(lookUp("None", "nothing"), "nothing");
}

TEST_F(LocalizedString, IsEmptyWhereTheEntryIs) {
  const ScopedSettings settings("en_US", "UTC");
  write("en", R"("a" = "";)");

  EXPECT_EQ(lookUp("a", "value"), "");
}

TEST_F(LocalizedString, ComesFromTheTableNamed) {
  const ScopedSettings settings("en_US", "UTC");
  write("en", R"("a" = "localizable";)");
  write("en", R"("a" = "other";)", "Other");

  EXPECT_EQ(lookUp("a"), "localizable");
  EXPECT_EQ(lookUp("a", {}, "Other"), "other");
  EXPECT_EQ(lookUp("a", {}, "../en.lproj/Other"), "a");
}

TEST_F(LocalizedString, FollowsAFileThatChanges) {
  const ScopedSettings settings("en_US", "UTC");
  write("en", R"("a" = "before";)");
  EXPECT_EQ(lookUp("a"), "before");

  write("en", R"("a" = "afterwards";)");

  EXPECT_EQ(lookUp("a"), "afterwards");
}

TEST_F(LocalizedString, ReportsADamagedTableOnce) {
  const ScopedSettings settings("en_US", "UTC");
  write("en", R"("a" = )");

  testing::internal::CaptureStderr();
  EXPECT_EQ(lookUp("a"), "a");
  EXPECT_EQ(lookUp("a"), "a");

  const std::string report = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(report.ends_with(
      "Localizable.strings: line 1: expected a text in double quotes; its texts are left out\n"))
      << report;
  EXPECT_EQ(report.find('\n'), report.size() - 1);
}

class ShippedTexts : public testing::TestWithParam<const char*> {};

TEST_P(ShippedTexts, FillInTheirNumber) {
  const ScopedSettings settings(GetParam(), "UTC");
  for (const char* key : {"Daily Streak", "Weekly Streak", "Monthly Streak", "Yearly Streak",
                          "Goal Daily Description", "Goal Weekly Description",
                          "Goal Monthly Description", "Goal Yearly Description"}) {
    const std::string format = localizedString(FOUNDATION_TEST_RESOURCES, key);
    EXPECT_NE(format, key);
    EXPECT_NE(localizedFormat(format, {3}).find('3'), std::string::npos) << key;
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, ShippedTexts, testing::Values("en_US", "ko_KR"));

TEST(KoreanTexts, SayNoneInKorean) {
  const ScopedSettings settings("ko_KR", "UTC");

  EXPECT_EQ(localizedString(FOUNDATION_TEST_RESOURCES, "None"), "없음");
}

}  // namespace
}  // namespace foundation
