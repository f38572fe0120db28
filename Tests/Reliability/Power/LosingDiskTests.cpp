#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Tests/Reliability/Power/LosingDisk.h"

// That the simulated disk keeps what was synced, and may lose everything else.

namespace {

using power::DiskOperation;
using power::LosingDisk;
using support::Files;
using Kind = DiskOperation::Kind;

/// What may be on the disk after the operations.
std::set<Files> outcomes(const Files& before, const std::vector<DiskOperation>& operations) {
  LosingDisk disk(before);
  for (const DiskOperation& operation : operations) disk.apply(operation);
  std::set<Files> result;
  for (std::uint64_t seed = 0; seed < 200; ++seed) result.insert(disk.afterLoss(seed));
  return result;
}

TEST(LosingDisk, KeepsWhatWasThere) {
  EXPECT_EQ(outcomes({{"a/b", "text"}}, {}), (std::set<Files>{{{"a/b", "text"}}}));
}

TEST(LosingDisk, KeepsWhatWasSynced) {
  const auto found = outcomes({{"a", "text"}}, {{Kind::write, "a", 2, "XY"},
                                                {Kind::sync, "a"},
                                                {Kind::create, "b"},
                                                {Kind::syncDirectory, ""}});

  EXPECT_EQ(found, (std::set<Files>{{{"a", "teXY"}, {"b", ""}}}));
}

TEST(LosingDisk, LosesTheNameOfASyncedFile) {
  const auto found =
      outcomes({}, {{Kind::create, "a"}, {Kind::write, "a", 0, "text"}, {Kind::sync, "a"}});

  EXPECT_EQ(found, (std::set<Files>{{}, {{"a", "text"}}}));
}

TEST(LosingDisk, KeepsALaterWriteWithoutAnEarlierOne) {
  const auto found =
      outcomes({{"a", "old old"}}, {{Kind::write, "a", 0, "new"}, {Kind::write, "a", 4, "new"}});

  EXPECT_TRUE(found.contains({{"a", "old new"}}));
  EXPECT_TRUE(found.contains({{"a", "new old"}}));
  EXPECT_TRUE(found.contains({{"a", "old old"}}));
  EXPECT_TRUE(found.contains({{"a", "new new"}}));
}

TEST(LosingDisk, TearsAWriteBetweenSectors) {
  const std::string old(1024, 'o');
  const std::string fresh(1024, 'n');
  const auto found = outcomes({{"a", old}}, {{Kind::write, "a", 0, fresh}});

  EXPECT_TRUE(found.contains({{"a", fresh.substr(512) + old.substr(512)}}));
  EXPECT_TRUE(found.contains({{"a", old.substr(512) + std::string(512, '\0')}}));
}

TEST(LosingDisk, RenamesOrDoesNot) {
  const auto found =
      outcomes({{"a/x", "text"}}, {{Kind::makeDirectory, "b"}, {Kind::rename, "a", 0, "b/c"}});

  EXPECT_EQ(found, (std::set<Files>{{{"a/x", "text"}}, {{"b/c/x", "text"}}}));
}

TEST(LosingDisk, KeepsARemovalWithoutAnEarlierOne) {
  const auto found = outcomes({{"a", ""}, {"b", ""}}, {{Kind::unlink, "a"}, {Kind::unlink, "b"}});

  EXPECT_EQ(found, (std::set<Files>{{{"a", ""}, {"b", ""}}, {{"a", ""}}, {{"b", ""}}, {}}));
}

}  // namespace
