#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <tuple>

#include "Tests/Reliability/Disk/DiskPoints.h"
#include "Tests/Reliability/Disk/Perseverance.h"
#include "Tests/Reliability/Disk/WorkedStoreTest.h"

// Five saves to which the disk says no at any operation on files, reading ones and locks included.
// A save that fails throws, and is in the store wholly or not at all; once the disk works again the
// same context saves it, and others find nothing locked.

namespace {

using reliability::kSaves;
using reliability::Perseverance;
using reliability::StoreMode;
using reliability::WorkedStore;
using reliability::Workload;
using support::FileFault;
using support::FileOperation;
using support::FileTrouble;

/// A way in which the disk says no.
struct Refusal {
  std::string name;
  FileTrouble trouble;
  /// Whether a save must not return that met it.
  bool endsSave = false;

  friend std::ostream& operator<<(std::ostream& stream, const Refusal& refusal) {
    return stream << refusal.name;
  }
};

class FailingSaves : public reliability::WorkedStoreTest,
                     public testing::WithParamInterface<std::tuple<Workload, StoreMode, Refusal>> {
 protected:
  void failAt(std::size_t point) {
    store_.lay();
    const auto outcome = support::runInChild([&](const auto& parent) {
      Perseverance perseverance(store_, parent);
      if (refusal_.endsSave) perseverance.expectHitSavesToFail();
      perseverance.work(refusal_.trouble, point, count_);
    });
    reliability::take(outcome, point, notes_);
  }

  const WorkedStore& store_ = storeFor(std::get<0>(GetParam()), std::get<1>(GetParam()));
  const Refusal& refusal_ = std::get<2>(GetParam());
  const support::FileOperationCount count_ = countOperations(store_, refusal_.trouble);
  reliability::Notes notes_;
};

TEST_P(FailingSaves, AreWholeOrAbsentAndSucceedInTheSameContextOnceTheDiskWorks) {
  const auto points = reliability::diskPoints(count_.total(), 3, 150);
  for (const std::size_t point : points) {
    failAt(point);
    EXPECT_EQ(store_.savesIn(), kSaves) << reliability::repeatedBy(point);
    if (HasFailure()) break;
  }
  reliability::print(notes_, points.size(), count_.total());
}

constexpr int kOwn = support::FaultVFS::kCodeOfOperation;
constexpr auto kGrowing =
    bit(FileOperation::write) | bit(FileOperation::create) | bit(FileOperation::mapShared);
constexpr auto kLocks = bit(FileOperation::lock) | bit(FileOperation::lockShared);
// Of the shared memory this code says that there is some to read.
constexpr auto kFiles = support::kMutating & ~bit(FileOperation::mapShared);
constexpr int kTornBytes = 1536;

const Refusal kRefusals[] = {
    {"ErrorOnce", {FileFault::failOnce, kOwn, EIO, support::kEverything}},
    {"Errors", {FileFault::failFromThenOn, kOwn, EIO, support::kEverything}},
    {"Sync", {FileFault::failOnce, kOwn, EIO, bit(FileOperation::sync)}, true},
    {"Full", {FileFault::failFromThenOn, SQLITE_FULL, ENOSPC, kGrowing}},
    {"ReadOnly", {FileFault::failFromThenOn, SQLITE_READONLY, EROFS, kFiles}},
    {"Protocol", {FileFault::failOnce, SQLITE_PROTOCOL, EBUSY, kLocks}},
    {"Torn", {FileFault::tearOnce, kOwn, EIO, bit(FileOperation::write), kTornBytes}},
};

std::string nameOf(const testing::TestParamInfo<FailingSaves::ParamType>& tested) {
  const auto& [workload, mode, refusal] = tested.param;
  return workload.name + mode.name + refusal.name;
}

const auto kModes = testing::Values(reliability::kLogged, reliability::kJournalled);

INSTANTIATE_TEST_SUITE_P(OfEachDay, FailingSaves,
                         testing::Combine(testing::ValuesIn(reliability::workloads().first(2)),
                                          kModes, testing::ValuesIn(kRefusals)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Rarer, FailingSaves,
                         testing::Combine(testing::ValuesIn(reliability::workloads().subspan(2)),
                                          kModes, testing::ValuesIn(kRefusals)),
                         nameOf);

}  // namespace
