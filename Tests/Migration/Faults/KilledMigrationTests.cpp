#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"

// A migration that dies before any of the changes that it makes to files.

namespace {

using migrating::LoneStore;
using migrating::OldStore;
using support::FileFaults;
using support::FileOperationCount;
using State = migrating::OldStore::State;
using Version = migrating::CoreDataMigrationVersion;

constexpr std::size_t kKillsAgainEvery = 5;

class KilledMigration : public testing::TestWithParam<OldStore::Options> {
 protected:
  /// Starts, and dies at the point, unless it is done before.
  void die(std::size_t point) {
    const auto outcome = support::runInChild([&](const auto&) {
      const FileFaults faults({}, point, count_);
      lone_.store.start();
    });
    ASSERT_TRUE(outcome.wasKilled() || outcome.exitStatus == 0) << point;
    wasKilled_ = outcome.wasKilled();
  }
  /// Either what it was, with every photo's file, or what it is to be.
  void expectWhole(std::size_t point) const {
    const State state = lone_.store.state();
    EXPECT_NE(state, State::neither) << point;
    if (state == State::brought) return;
    EXPECT_TRUE(lone_.store.isSameFile()) << point;
    EXPECT_TRUE(lone_.store.photosAreInFiles()) << point;
  }

  LoneStore lone_{GetParam()};
  FileOperationCount count_ = lone_.store.countOperations({});
  bool wasKilled_ = false;
};

TEST_P(KilledMigration, LeavesTheStoreOldOrNewAndTheNextStartFinishes) {
  std::printf("%zu points of SQLite, %zu others\n", count_.sqlite, count_.others);
  std::size_t number = 0;
  for (const std::size_t point : support::points(count_.total(), 20, 500)) {
    lone_.scene.lay();
    die(point);
    ASSERT_TRUE(wasKilled_) << point;
    expectWhole(point);
    if (++number % kKillsAgainEvery == 0) {
      die(1 + point * 7919 % count_.total());
      expectWhole(point);
    }
    EXPECT_TRUE(lone_.store.starts()) << point;
    lone_.expectFinished("killed at " + std::to_string(point));
    if (HasFailure()) break;
  }
}

INSTANTIATE_TEST_SUITE_P(Stores, KilledMigration,
                         testing::Values(OldStore::Options{.version = Version::version1},
                                         OldStore::Options{.version = Version::version6},
                                         OldStore::Options{.version = Version::version6,
                                                           .hasLog = true}));

}  // namespace
