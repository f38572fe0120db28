#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "Tests/Processes/RestoredStore.h"
#include "Tests/Reliability/Power/PowerLosses.h"
#include "Tests/Support/Effort.h"

// The power fails while a backup takes the place of a store that another process has open.

namespace {

using power::Loss;
using power::PowerLosses;
using restoring::RestoredStore;
using restoring::Version;

class PowerLossOfRestore : public testing::TestWithParam<Version> {
 protected:
  /// The next start keeps what is there, and brings forward what is old.
  void expectStart(RestoredStore::State before) const {
    EXPECT_TRUE(restored_.starts());
    const RestoredStore::State after = restored_.state();
    EXPECT_EQ(after,
              before == RestoredStore::State::unbrought ? RestoredStore::State::restored : before);
    EXPECT_EQ(restored_.strangeLeftovers(after), std::set<std::string>());
  }

  /// Of so many losses one is followed by a start.
  static constexpr std::size_t kStartsEvery = 7;

  const RestoredStore restored_{GetParam()};
};

TEST_P(PowerLossOfRestore, LeavesTheOldStoreOrTheBackup) {
  const PowerLosses losses(restored_.scene().place().directory(), [&](power::RecordedDisk& disk) {
    const auto ending = restored_.restore();
    if (!ending.error.empty()) throw std::runtime_error(ending.error);
    disk.mark(1);
  });
  std::map<RestoredStore::State, int> states;
  std::size_t number = 0;
  losses.forEach(support::tries(2, 20, 100), [&](const Loss& loss) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, describe(loss));
    restored_.scene().lay(loss.files);
    const RestoredStore::State state = restored_.state();
    ++states[state];
    EXPECT_NE(state, RestoredStore::State::neither);
    EXPECT_TRUE(!loss.mark || state == RestoredStore::State::restored);
    if (number++ % kStartsEvery == 0) expectStart(state);
    return !HasFailure();
  });
  std::printf("%zu losses, %zu syncs among %zu operations: %d old, %d in between, %d restored\n",
              number, losses.syncs(), losses.operations().size(), states[RestoredStore::State::old],
              states[RestoredStore::State::unbrought], states[RestoredStore::State::restored]);
}

INSTANTIATE_TEST_SUITE_P(Backups, PowerLossOfRestore,
                         testing::Values(Version::version7, Version::version6),
                         [](const auto& tested) {
                           return tested.index == 0 ? "OfTheNewestVersion" : "WithPhotoFiles";
                         });

}  // namespace
