#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Reliability/Compound/Fault.h"
#include "Tests/Support/Effort.h"

// A process died in a migration, and the next start dies or fails too.

namespace {

using compound::Ending;
using compound::Fault;
using compound::Operations;
using migrating::LoneStore;
using migrating::OldStore;
using support::Chance;
using Version = coredatastack::CoreDataMigrationVersion;

class CompoundFaultOfMigration : public testing::TestWithParam<OldStore::Options> {
 protected:
  /// Either what it was, with every photo's file, or what it is to be.
  void expectWhole() const {
    const OldStore::State state = lone_.store.state();
    EXPECT_NE(state, OldStore::State::neither);
    EXPECT_TRUE(state == OldStore::State::brought || lone_.store.photosAreInFiles());
  }
  [[nodiscard]] Ending start(const Fault& fault) const {
    return starts_.run(fault, [&] { lone_.store.start(); });
  }

  const LoneStore lone_{GetParam()};
  const Operations starts_{[&] { lone_.scene.lay(); }, [&] { lone_.store.start(); }};
};

TEST_P(CompoundFaultOfMigration, LeavesTheStoreOldOrNewAndTheNextStartFinishes) {
  std::map<Ending, int> endings;
  compound::forEachSeed(support::tries(3, 80, 1600), [&](std::uint64_t seed) {
    Chance chance(seed);
    const Fault death = starts_.someDeath(chance);
    const Fault second = starts_.someFault(chance);
    const testing::ScopedTrace trace(__FILE__, __LINE__, describe(seed, death, second));

    lone_.scene.lay();
    EXPECT_EQ(start(death), Ending::killed);
    const Ending ending = start(second);
    ++endings[ending];

    EXPECT_NE(ending, Ending::other);
    if (ending == Ending::returned && lone_.store.wentOnWithoutWidgets()) return true;
    expectWhole();
    EXPECT_TRUE(lone_.store.starts());
    lone_.expectFinished("the next start");
    return !HasFailure();
  });
  std::printf("%d died again, %d failed, %d stopped, %d got through\n", endings[Ending::killed],
              endings[Ending::refused], endings[Ending::stopped], endings[Ending::returned]);
}

INSTANTIATE_TEST_SUITE_P(
    Stores, CompoundFaultOfMigration,
    testing::Values(OldStore::Options{.version = Version::version6},
                    OldStore::Options{.version = Version::version6, .hasLog = true}),
    [](const auto& tested) { return tested.param.hasLog ? "WithLog" : "Closed"; });

}  // namespace
