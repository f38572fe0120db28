#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <stdexcept>
#include <tuple>

#include "Tests/Reliability/Compound/Fault.h"
#include "Tests/Reliability/Workloads/WorkedStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"

// A process died in a save, and the next one, which has to put the store right, dies or fails too.

namespace {

using compound::Ending;
using compound::Fault;
using compound::Operations;
using reliability::StoreMode;
using reliability::WorkedStore;
using reliability::Workload;
using support::Chance;

class CompoundFaultOfSave : public testing::TestWithParam<std::tuple<Workload, StoreMode>> {
 protected:
  /// How many saves were acknowledged before the death.
  [[nodiscard]] int die(const Fault& death) const {
    store_.lay();
    const auto outcome = support::runInChild([&](const support::Acknowledgements& parent) {
      const support::FileFaults faults(death.trouble, death.point, works_.ofDeaths());
      store_.work([&](int saves) { parent.send(std::to_string(saves)); });
    });
    EXPECT_TRUE(outcome.wasKilled());
    return outcome.acknowledged.empty() ? 0 : std::stoi(outcome.acknowledged.back());
  }
  void open() const {
    store_.work([](int) {}, 0);
  }
  void expectWhole(int acknowledged) const {
    try {
      const auto saves = store_.savesIn();
      EXPECT_TRUE(saves == acknowledged || saves == acknowledged + 1)
          << saves.value_or(-1) << " instead of " << acknowledged;
    } catch (const std::runtime_error& error) {
      ADD_FAILURE() << error.what();
    }
  }

  const WorkedStore store_{std::get<0>(GetParam()), std::get<1>(GetParam())};
  const Operations works_{[&] { store_.lay(); }, [&] { store_.work([](int) {}); }};
};

TEST_P(CompoundFaultOfSave, LeavesWhatWasAcknowledged) {
  std::map<Ending, int> endings;
  compound::forEachSeed(support::tries(5, 60, 1200), [&](std::uint64_t seed) {
    Chance chance(seed);
    const Fault death = works_.someDeath(chance);
    const int acknowledged = die(death);
    const support::Files left = support::filesIn(store_.path().parent_path());
    const Operations recovery([&] { store_.scene().lay(left); }, [&] { open(); });
    const Fault second = recovery.someFault(chance);
    const testing::ScopedTrace trace(__FILE__, __LINE__, describe(seed, death, second));

    store_.scene().lay(left);
    const Ending ending = recovery.run(second, [&] { open(); });
    ++endings[ending];

    EXPECT_TRUE(ending == Ending::killed || ending == Ending::refused ||
                ending == Ending::returned);
    expectWhole(acknowledged);
    EXPECT_TRUE(store_.goesOn());
    return !HasFailure();
  });
  std::printf("%d died again, %d failed, %d got through\n", endings[Ending::killed],
              endings[Ending::refused], endings[Ending::returned]);
}

INSTANTIATE_TEST_SUITE_P(Workloads, CompoundFaultOfSave,
                         testing::Combine(testing::ValuesIn(reliability::workloads().first(
                                              support::tries(2, reliability::workloads().size()))),
                                          testing::Values(reliability::kLogged,
                                                          reliability::kJournalled)),
                         [](const auto& tested) {
                           return std::get<0>(tested.param).name + std::get<1>(tested.param).name;
                         });

}  // namespace
