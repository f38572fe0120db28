#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <tuple>

#include "CoreData/SQLite/WriteAheadLog.h"
#include "Tests/Reliability/Power/PowerLosses.h"
#include "Tests/Reliability/Workloads/WorkedStore.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/TemporaryDirectory.h"

// The power fails while a store is worked on: whoever waited for the disk has what was
// acknowledged, and who did not still has a store.

namespace {

using power::Loss;
using power::PowerLosses;
using reliability::StoreMode;
using reliability::WorkedStore;
using reliability::Workload;

/// To look at what is on the disk is quick; to go on with it needs a process.
constexpr std::size_t kGoesOnEvery = 50;
/// So short that the log is copied into the store, and begun anew, between saves.
constexpr int kLongLogPages = 8;

class PowerLoss : public testing::TestWithParam<std::tuple<Workload, StoreMode>> {
 protected:
  static const Workload& workload() { return std::get<0>(GetParam()); }
  static const StoreMode& mode() { return std::get<1>(GetParam()); }
  static bool waitsForDisk() { return mode().synchronous != "NORMAL"; }

  /// After how many saves the store on the disk is; nothing when that is after none, or when it is
  /// damaged.
  [[nodiscard]] std::optional<int> savesIn(const Loss& loss) const {
    try {
      support::putFiles(loss.files, disk_.path());
      return store_.savesIn(disk_.path() / store_.path().filename());
    } catch (const std::runtime_error& error) {
      ADD_FAILURE() << error.what();
      return std::nullopt;
    }
  }
  void expectWhole(const Loss& loss) const {
    const int acknowledged = loss.mark.value_or(0);
    const auto saves = savesIn(loss);
    ASSERT_TRUE(saves.has_value()) << "after none of the saves";
    EXPECT_GE(*saves, waitsForDisk() ? acknowledged : 0);
    EXPECT_LE(*saves, loss.mark ? acknowledged + 1 : 0);
  }
  void expectGoesOn(const Loss& loss) const {
    support::putFiles(loss.files, store_.path().parent_path());
    EXPECT_TRUE(store_.goesOn());
  }
  [[nodiscard]] PowerLosses recorded() const {
    return {store_.path().parent_path(), [&](power::RecordedDisk& disk) {
              const coredata::WriteAheadLog::LongLogOverride shortLogs(kLongLogPages);
              store_.work([&](int saves) { disk.mark(saves); });
            }};
  }

  const WorkedStore store_{workload(), mode()};
  const support::TemporaryDirectory disk_;
};

TEST_P(PowerLoss, LeavesWhatWasAcknowledged) {
  const PowerLosses losses = recorded();
  std::size_t number = 0;
  losses.forEach(support::tries(2, 20, 100), [&](const Loss& loss) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, describe(loss));
    expectWhole(loss);
    if (number++ % kGoesOnEvery == 0) expectGoesOn(loss);
    return !HasFailure();
  });
  std::printf("%zu losses, %zu syncs among %zu operations\n", number, losses.syncs(),
              losses.operations().size());
}

// Were the disk not to do what it says, saves would be lost: the losses are real ones.
class LyingDisk : public PowerLoss {
 protected:
  [[nodiscard]] bool loses(const Loss& loss) const {
    support::putFiles(loss.files, disk_.path());
    try {
      const auto saves = store_.savesIn(disk_.path() / store_.path().filename());
      return saves.value_or(-1) < loss.mark.value_or(0);
    } catch (const std::runtime_error&) {
      return true;
    }
  }
};

TEST_P(LyingDisk, LosesWhatWasAcknowledged) {
  bool hasLost = false;
  recorded().withLyingSyncs().forEach(2, [&](const Loss& loss) {
    hasLost = loses(loss);
    return !hasLost;
  });
  EXPECT_TRUE(hasLost);
}

std::string nameOf(const testing::TestParamInfo<std::tuple<Workload, StoreMode>>& tested) {
  return std::get<0>(tested.param).name + std::get<1>(tested.param).name;
}

INSTANTIATE_TEST_SUITE_P(Workloads, PowerLoss,
                         testing::Combine(testing::ValuesIn(reliability::workloads().first(
                                              support::tries(2, reliability::workloads().size()))),
                                          testing::Values(reliability::kLogged,
                                                          reliability::kJournalled,
                                                          reliability::kUnconfirmed)),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(Workloads, LyingDisk,
                         testing::Combine(testing::Values(reliability::workloads().front()),
                                          testing::Values(reliability::kLogged,
                                                          reliability::kJournalled)),
                         nameOf);

}  // namespace
