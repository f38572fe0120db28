#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Tests/Reliability/Disk/DiskPoints.h"
#include "Tests/Reliability/Disk/Perseverance.h"
#include "Tests/Reliability/Disk/WorkedStoreTest.h"

// Saves of large photos on a disk with too little room for them, by any number of bytes: the save
// fails once, leaves nothing that takes room, and succeeds when there is some.

namespace {

using reliability::StoreMode;

class FullDisk : public reliability::WorkedStoreTest,
                 public testing::WithParamInterface<StoreMode> {
 protected:
  void workWithin(std::int64_t bytes, std::size_t step) {
    store_.lay();
    const auto outcome = support::runInChild([&](const auto& parent) {
      const support::FileTrouble trouble{.watched = 0, .room = bytes};
      reliability::Perseverance(store_, parent).work(trouble, 0, count_);
    });
    reliability::take(outcome, step, notes_);
  }

  const reliability::WorkedStore& store_ = storeFor(reliability::largePhotos(), GetParam());
  const support::FileOperationCount count_ = countOperations(store_, {});
  const std::set<std::string> names_ = store_.scene().names();
  reliability::Notes notes_;
};

TEST_P(FullDisk, FailsASaveOnceAndTakesItWhenThereIsRoomAgain) {
  constexpr std::size_t kSteps = 4096;
  ASSERT_GT(count_.bytes, 5 * 2'000'000);
  const auto steps = reliability::diskPoints(kSteps, 32, 512);
  for (const std::size_t step : steps) {
    workWithin(count_.bytes * static_cast<std::int64_t>(step - 1) / (kSteps - 1), step);
    EXPECT_EQ(store_.savesIn(), reliability::kSaves) << reliability::repeatedBy(step);
    EXPECT_EQ(store_.scene().names(), names_) << reliability::repeatedBy(step);
    if (HasFailure()) break;
  }
  reliability::print(notes_, steps.size(), kSteps);
}

INSTANTIATE_TEST_SUITE_P(Saves, FullDisk,
                         testing::Values(reliability::kLogged, reliability::kJournalled),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
