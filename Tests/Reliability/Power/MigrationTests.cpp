#include <gtest/gtest.h>

#include <cstdio>

#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Reliability/Power/PowerLosses.h"
#include "Tests/Support/Effort.h"

// The power fails while a store whose photos lie in files is brought forward.

namespace {

using migrating::LoneStore;
using migrating::OldStore;
using power::Loss;
using power::PowerLosses;

class PowerLossOfMigration : public testing::TestWithParam<OldStore::Options> {
 protected:
  /// Either what it was, with every photo's file, or what it is to be.
  void expectWhole(const Loss& loss) const {
    const OldStore::State state = lone_.store.state();
    if (loss.mark) {
      EXPECT_EQ(state, OldStore::State::brought);
      return;
    }
    EXPECT_NE(state, OldStore::State::neither);
    EXPECT_TRUE(state == OldStore::State::brought || lone_.store.photosAreInFiles());
  }
  void expectFinishes() const {
    EXPECT_TRUE(lone_.store.starts());
    lone_.expectFinished("the next start");
  }

  /// Of so many losses one is followed by a start.
  static constexpr std::size_t kStartsEvery = 7;

  const LoneStore lone_{GetParam()};
};

TEST_P(PowerLossOfMigration, LeavesTheStoreOldOrNewAndTheNextStartFinishes) {
  const PowerLosses losses(lone_.scene.place().directory(), [&](power::RecordedDisk& disk) {
    lone_.store.start();
    disk.mark(1);
  });
  std::size_t number = 0;
  losses.forEach(support::tries(2, 20, 100), [&](const Loss& loss) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, describe(loss));
    lone_.scene.lay(loss.files);
    expectWhole(loss);
    if (number++ % kStartsEvery == 0) expectFinishes();
    return !HasFailure();
  });
  std::printf("%zu losses, %zu syncs among %zu operations\n", number, losses.syncs(),
              losses.operations().size());
}

INSTANTIATE_TEST_SUITE_P(
    Stores, PowerLossOfMigration,
    testing::Values(OldStore::Options{.version = coredatastack::CoreDataMigrationVersion::version6},
                    OldStore::Options{.version = coredatastack::CoreDataMigrationVersion::version6,
                                      .hasLog = true}),
    [](const auto& tested) { return tested.param.hasLog ? "WithLog" : "Closed"; });

}  // namespace
