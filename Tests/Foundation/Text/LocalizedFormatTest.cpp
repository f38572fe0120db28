#include "Foundation/Text/LocalizedFormat.h"

#include <gtest/gtest.h>

#include <limits>

#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

using support::ScopedSettings;

TEST(LocalizedFormat, FillsInNumbersAndTexts) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(localizedFormat("%d-day streak", {3}), "3-day streak");
  EXPECT_EQ(localizedFormat("%@: %d of %i", {"Run", 1, 2}), "Run: 1 of 2");
  EXPECT_EQ(localizedFormat("%d", {std::int16_t{-1}}), "-1");
  EXPECT_EQ(localizedFormat("100%%", {}), "100%");
  EXPECT_EQ(localizedFormat("%@", {1000}), "1000");
}

TEST(LocalizedFormat, TakesEveryLength) {
  const ScopedSettings settings("en_US", "UTC");

  for (const std::string_view format :
       {"%d", "%i", "%u", "%ld", "%lld", "%lu", "%hd", "%hi", "%llu", "%li"}) {
    EXPECT_EQ(localizedFormat(format, {70000}), "70,000") << format;
  }
  EXPECT_EQ(localizedFormat("%lld", {std::numeric_limits<std::int64_t>::min()}),
            "-9,223,372,036,854,775,808");
  EXPECT_EQ(localizedFormat("%lu", {std::numeric_limits<std::uint64_t>::max()}),
            "18,446,744,073,709,551,615");
}

TEST(LocalizedFormat, WritesTheLocalesDigitsAndGrouping) {
  const auto thousandIn = [](std::string_view locale) {
    const ScopedSettings settings(locale, "UTC");
    return localizedFormat("%d", {1000});
  };

  EXPECT_EQ(thousandIn("en_US"), "1,000");
  EXPECT_EQ(thousandIn("de_DE"), "1.000");
  EXPECT_EQ(thousandIn("ar_EG"), "١٬٠٠٠");
  EXPECT_EQ(thousandIn("en_US_POSIX"), "1000");
}

TEST(LocalizedFormat, TakesArgumentsByPosition) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(localizedFormat("%2$@ %1$d", {3, "week"}), "week 3");
  EXPECT_EQ(localizedFormat("%1$d %1$d", {3}), "3 3");
  EXPECT_EQ(localizedFormat("%2$d %d", {1, 2}), "2 1");
}

TEST(LocalizedFormat, PadsToAWidth) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(localizedFormat("[%5d]", {42}), "[   42]");
  EXPECT_EQ(localizedFormat("[%-5d]", {42}), "[42   ]");
  EXPECT_EQ(localizedFormat("[%05d]", {-42}), "[-0042]");
  EXPECT_EQ(localizedFormat("[%.3d]", {7}), "[007]");
  EXPECT_EQ(localizedFormat("[%6.3d]", {7}), "[   007]");
  EXPECT_EQ(localizedFormat("[%4@]", {"체크"}), "[  체크]");
  EXPECT_EQ(localizedFormat("[%.1@]", {"체크"}), "[체]");
}

TEST(LocalizedFormat, LeavesWhatItDoesNotKnowAsWritten) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(localizedFormat("%s %n %x %f %d", {1}), "%s %n %x %f 1");
  EXPECT_EQ(localizedFormat("%*d %#x 50% off %", {1}), "%*d %#x 50% off %");
  EXPECT_EQ(localizedFormat("%lld%q", {1}), "1%q");
  EXPECT_EQ(localizedFormat("%", {1}), "%");
  EXPECT_EQ(localizedFormat("%l", {1}), "%l");
}

TEST(LocalizedFormat, LeavesPlacesWithoutAnArgumentAsWritten) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(localizedFormat("%d %d %@", {1}), "1 %d %@");
  EXPECT_EQ(localizedFormat("%0$d %3$d %1$d", {1}), "%0$d %3$d 1");
  EXPECT_EQ(localizedFormat("%d", {"text"}), "%d");
}

TEST(LocalizedFormat, PadsNoFurtherThanALineIsWide) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(localizedFormat("%2000000000d", {1}), "%2000000000d");
  EXPECT_EQ(localizedFormat("%99999999999999999999d", {1}), "%99999999999999999999d");
  EXPECT_EQ(localizedFormat("%.2000000000d", {1}), "%.2000000000d");
}

}  // namespace
}  // namespace foundation
