#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>

#include "Tests/Processes/RestoredStore.h"
#include "Tests/Support/Effort.h"

// A restore that dies before any of the changes that it makes to files, while another process has
// the store open.

namespace {

using restoring::RestoredStore;
using restoring::Version;
using State = RestoredStore::State;

class KilledRestore : public testing::TestWithParam<Version> {
 protected:
  void die(std::size_t point) const {
    restored_.lay();
    const auto outcome = support::runInChild(
        [&](const auto&) { static_cast<void>(restored_.restore({}, point, count_)); });
    ASSERT_TRUE(outcome.wasKilled()) << point;
  }
  /// The next start keeps what is there, and brings forward what is old.
  void expectStart(std::size_t point) const {
    const State before = restored_.state();
    EXPECT_NE(before, State::neither) << point;
    EXPECT_TRUE(restored_.starts()) << point;
    const State after = restored_.state();
    EXPECT_EQ(after, before == State::unbrought ? State::restored : before) << point;
    EXPECT_EQ(restored_.strangeLeftovers(after), std::set<std::string>()) << point;
  }
  void expectRestores(std::size_t point) const {
    EXPECT_TRUE(restored_.restores()) << point;
    EXPECT_EQ(restored_.state(), State::restored) << point;
    EXPECT_EQ(restored_.leftovers(State::restored), std::set<std::string>()) << point;
  }

  const RestoredStore restored_{GetParam()};
  const support::FileOperationCount count_ = restored_.countOperations({});
};

TEST_P(KilledRestore, LeavesTheOldStoreOrTheBackupAndTheNextRestoreSucceeds) {
  std::map<State, int> states;
  for (const std::size_t point : support::points(count_.total(), 10, 1000)) {
    die(point);
    ++states[restored_.state()];
    expectStart(point);
    // A backup that was restored has taken its photos' files along.
    if (restored_.state() == State::old) expectRestores(point);
    if (HasFailure()) break;
  }
  std::printf("%zu points of SQLite, %zu others: %d times old, %d in between, %d restored\n",
              count_.sqlite, count_.others, states[State::old], states[State::unbrought],
              states[State::restored]);
  EXPECT_GT(states[State::old], 0);
}

INSTANTIATE_TEST_SUITE_P(Backups, KilledRestore,
                         testing::Values(Version::version7, Version::version6),
                         [](const auto& tested) {
                           return tested.index == 0 ? "OfTheNewestVersion" : "WithPhotoFiles";
                         });

}  // namespace
