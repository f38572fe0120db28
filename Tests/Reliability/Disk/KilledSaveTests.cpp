#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <tuple>

#include "Tests/Reliability/Disk/DiskPoints.h"
#include "Tests/Reliability/Disk/WorkedStoreTest.h"
#include "Tests/Support/CrashRunner.h"

// Five saves whose process dies before any of the changes that it makes to files, or in the middle
// of a write: what was acknowledged is in the store, and at most the save that was under way.

namespace {

using reliability::StoreMode;
using reliability::WorkedStore;
using reliability::Workload;
using support::FileFault;
using support::FileTrouble;

/// A way to die, and how many of the points a run of each tier has the time for.
struct Death {
  std::string name;
  FileTrouble trouble;
  std::size_t quick;
  std::size_t full;

  friend std::ostream& operator<<(std::ostream& stream, const Death& death) {
    return stream << death.name;
  }
};

constexpr std::size_t kAllPoints = 100'000;
constexpr int kTornBytes = 1536;

class KilledSaves : public reliability::WorkedStoreTest,
                    public testing::WithParamInterface<std::tuple<Workload, StoreMode, Death>> {
 protected:
  /// How many saves were acknowledged before the death.
  [[nodiscard]] int die(std::size_t point) const {
    store_.lay();
    const auto outcome = support::runInChild([&](const auto& done) {
      const support::FileFaults faults(death_.trouble, point, count_);
      store_.work([&](int number) {
        if (number > 0) done.send("saved");
      });
    });
    EXPECT_TRUE(outcome.wasKilled()) << reliability::repeatedBy(point);
    return static_cast<int>(outcome.acknowledged.size());
  }
  /// How many saves more than were acknowledged the store holds.
  [[nodiscard]] int surplus(int acknowledged, std::size_t point) const {
    const auto found = store_.savesIn();
    EXPECT_TRUE(found) << reliability::repeatedBy(point);
    const int surplus = found.value_or(acknowledged) - acknowledged;
    EXPECT_TRUE(surplus == 0 || surplus == 1)
        << surplus << " more than acknowledged: " << reliability::repeatedBy(point);
    return surplus;
  }

  const WorkedStore& store_ = storeFor(std::get<0>(GetParam()), std::get<1>(GetParam()));
  const Death& death_ = std::get<2>(GetParam());
  const support::FileOperationCount count_ = countOperations(store_, death_.trouble);
};

TEST_P(KilledSaves, AreThereIfTheyWereAcknowledgedAndWholeIfAtAll) {
  int unacknowledged = 0;
  const auto points = reliability::diskPoints(count_.total(), death_.quick, death_.full);
  for (const std::size_t point : points) {
    const int acknowledged = die(point);
    unacknowledged += surplus(acknowledged, point);
    EXPECT_TRUE(store_.goesOn()) << reliability::repeatedBy(point);
    if (HasFailure()) break;
  }
  std::printf("%zu points of %zu: %d times a save was there that had not been acknowledged\n",
              points.size(), count_.total(), unacknowledged);
}

const Death kDeaths[] = {
    {"Killed", {.fault = FileFault::killProcess}, 6, kAllPoints},
    {"Torn",
     {.fault = FileFault::tearAndKill,
      .watched = bit(support::FileOperation::write),
      .tornBytes = kTornBytes},
     3,
     kAllPoints},
};

std::string nameOf(const testing::TestParamInfo<KilledSaves::ParamType>& tested) {
  const auto& [workload, mode, death] = tested.param;
  return workload.name + mode.name + death.name;
}

const auto kModes = testing::Values(reliability::kLogged, reliability::kJournalled);

INSTANTIATE_TEST_SUITE_P(OfEachDay, KilledSaves,
                         testing::Combine(testing::ValuesIn(reliability::workloads().first(2)),
                                          kModes, testing::ValuesIn(kDeaths)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Rarer, KilledSaves,
                         testing::Combine(testing::ValuesIn(reliability::workloads().subspan(2)),
                                          kModes, testing::ValuesIn(kDeaths)),
                         nameOf);

}  // namespace
