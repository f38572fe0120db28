#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <stdexcept>

#include "Tests/Processes/RestoredStore.h"
#include "Tests/Reliability/Compound/Fault.h"
#include "Tests/Support/Effort.h"

// A process died in a restore, and the next start, or the next restore, dies or fails too.

namespace {

using compound::Ending;
using compound::Fault;
using compound::Operations;
using restoring::RestoredStore;
using restoring::Version;
using support::Chance;

class CompoundFaultOfRestore : public testing::TestWithParam<Version> {
 protected:
  void restore(const Fault& death) const {
    const auto outcome = support::runInChild([&](const auto&) {
      static_cast<void>(restored_.restore(death.trouble, death.point, count_));
    });
    EXPECT_TRUE(outcome.wasKilled());
  }
  [[nodiscard]] Fault someDeath(Chance& chance) const {
    return {{}, 1 + support::below(chance, count_.total())};
  }
  void start(const Fault& fault) {
    const Ending ending = starts_.run(fault, [&] { restored_.start(); });
    EXPECT_NE(ending, Ending::other);
    ++endings_[ending];
  }
  void expectWhole() const {
    const RestoredStore::State before = restored_.state();
    EXPECT_NE(before, RestoredStore::State::neither);
    EXPECT_TRUE(restored_.starts());
    EXPECT_EQ(restored_.state(),
              before == RestoredStore::State::unbrought ? RestoredStore::State::restored : before);
  }

  const RestoredStore restored_{GetParam()};
  const support::FileOperationCount count_ = restored_.countOperations({});
  const Operations starts_{[&] { restored_.lay(); }, [&] { restored_.start(); }};
  std::map<Ending, int> endings_;
};

TEST_P(CompoundFaultOfRestore, LeavesTheOldStoreOrTheBackup) {
  compound::forEachSeed(support::tries(2, 60, 1200), [&](std::uint64_t seed) {
    Chance chance(seed);
    const Fault death = someDeath(chance);
    restored_.lay();
    restore(death);
    // One that has put an old backup in place has left no photo files for another to take.
    const bool restoresAgain =
        restored_.state() == RestoredStore::State::old && support::below(chance, 3) == 0;
    const Fault second = restoresAgain ? someDeath(chance) : starts_.someFault(chance);
    const testing::ScopedTrace trace(__FILE__, __LINE__, describe(seed, death, second));
    restoresAgain ? restore(second) : start(second);

    expectWhole();
    return !HasFailure();
  });
  std::printf("%d starts died, %d failed, %d got through\n", endings_[Ending::killed],
              endings_[Ending::refused], endings_[Ending::returned]);
}

INSTANTIATE_TEST_SUITE_P(Backups, CompoundFaultOfRestore,
                         testing::Values(Version::version7, Version::version6),
                         [](const auto& tested) {
                           return tested.index == 0 ? "OfTheNewestVersion" : "WithPhotoFiles";
                         });

}  // namespace
