#include "CoreData/Model/Compiled/VersionInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {
namespace {

using testing::HasSubstr;

VersionInfo twoVersions() { return {"Garden 2", {{"Garden 1", "0a"}, {"Garden 2", "0b"}}}; }

std::string refusalOfList(std::string_view text) {
  return refusalOf([&] { static_cast<void>(VersionInfo::parse(text)); });
}

TEST(VersionInfoTest, WritesJson) {
  const nlohmann::json expected = {{"current", "Garden 2"},
                                   {"versions", {{"Garden 1", "0a"}, {"Garden 2", "0b"}}}};

  EXPECT_EQ(twoVersions().text(), expected.dump(2) + "\n");
}

TEST(VersionInfoTest, ReadsWhatItWrote) {
  const auto read = VersionInfo::parse(twoVersions().text());

  EXPECT_EQ(read.current, "Garden 2");
  EXPECT_EQ(read.versions, twoVersions().versions);
}

TEST(VersionInfoTest, RefusesAListThatWasCutOffAnywhere) {
  const auto whole = twoVersions().text();

  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_THAT(refusalOfList(whole.substr(0, size)), HasSubstr("is of another form")) << size;
  }
}

TEST(VersionInfoTest, RefusesWhatFollowsTheList) {
  EXPECT_THAT(refusalOfList(twoVersions().text() + "\n"), HasSubstr("is followed by something"));
}

TEST(VersionInfoTest, RefusesVersionsThatStandTwiceOrOutOfOrder) {
  auto twice = twoVersions().text();
  twice.replace(twice.find("Garden 1"), 8, "Garden 2");
  auto outOfOrder = twoVersions().text();
  outOfOrder.replace(outOfOrder.find("Garden 1"), 8, "Garden 3");

  EXPECT_THAT(refusalOfList(twice), HasSubstr("names \"Garden 2\" out of order"));
  EXPECT_THAT(refusalOfList(outOfOrder), HasSubstr("names \"Garden 2\" out of order"));
}

TEST(VersionInfoTest, RefusesACurrentVersionThatIsNotAmongThem) {
  const VersionInfo info{"Garden 3", twoVersions().versions};

  EXPECT_THAT(refusalOfList(info.text()), HasSubstr("calls \"Garden 3\" current"));
}

TEST(VersionInfoTest, KnowsWhichNamesCanBeThoseOfFiles) {
  for (const auto* name : {"Garden 2", "G", "Jardín", "정원.2", "a b"}) {
    EXPECT_TRUE(isVersionName(name)) << name;
  }
  for (const auto* name : {"", ".", "..", ".hidden", "a/b", "a\nb", "a\"b", "a\\b", "\xff"}) {
    EXPECT_FALSE(isVersionName(name)) << name;
  }
  EXPECT_TRUE(isVersionName(std::string(200, 'a')));
  EXPECT_FALSE(isVersionName(std::string(201, 'a')));
}

}  // namespace
}  // namespace coredata
