#include <gtest/gtest.h>

#include <tuple>

#include "Tests/Reliability/Workloads/WorkedStore.h"

// What every test of a failure stands on: that the same work leads to the same store, and that each
// of its saves can be told from the others.

namespace {

using reliability::kSaves;
using reliability::StoreMode;
using reliability::WorkedStore;
using reliability::Workload;

class Workloads : public testing::TestWithParam<std::tuple<Workload, StoreMode>> {};

TEST_P(Workloads, LeadToTheSameStoreEachTimeAndEverySaveChangesIt) {
  const auto& [workload, mode] = GetParam();
  const WorkedStore store(workload, mode);
  for (int saves = 0; saves <= kSaves; ++saves) {
    store.lay();
    ASSERT_TRUE(support::succeeds([&] { store.work([](int) {}, saves); }));
    EXPECT_EQ(store.savesIn(), saves);
  }
  EXPECT_TRUE(store.goesOn());
  EXPECT_EQ(store.savesIn(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(All, Workloads,
                         testing::Combine(testing::ValuesIn(reliability::workloads()),
                                          testing::Values(reliability::kLogged,
                                                          reliability::kJournalled)),
                         [](const auto& tested) {
                           return std::get<0>(tested.param).name + std::get<1>(tested.param).name;
                         });

}  // namespace
