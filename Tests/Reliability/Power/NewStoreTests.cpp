#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

#include "CoreDataStack/Model/CDActivity.h"
#include "Tests/Reliability/Power/PowerLosses.h"
#include "Tests/Reliability/Workloads/WorkedStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/Scene.h"

// The power fails while a store is made and first written to.

namespace {

using coredatastack::CDActivity;
using power::Loss;
using power::PowerLosses;
using reliability::StoreMode;

class PowerLossOfNewStore : public testing::TestWithParam<StoreMode> {
 protected:
  void makeAndFill(power::RecordedDisk& disk) const {
    const auto context = reliability::contextOver(scene_.place().storeURL(), GetParam());
    disk.mark(0);
    context->performBlockAndWait([&] {
      for (int saves = 1; saves <= 2; ++saves) {
        static_cast<void>(CDActivity::create(*context, "green"));
        context->save();
        disk.mark(saves);
      }
    });
  }
  /// How many activities the store has that is there or made; none when it cannot be opened.
  [[nodiscard]] std::optional<int> activities() const {
    const auto outcome = support::runInChild([&](const support::Acknowledgements& parent) {
      const auto context = reliability::contextOver(scene_.place().storeURL(), GetParam());
      context->performBlockAndWait(
          [&] { parent.send(std::to_string(context->fetch(CDActivity::fetchRequest()).size())); });
    });
    if (outcome.acknowledged.empty()) return std::nullopt;
    return std::stoi(outcome.acknowledged.front());
  }

  const support::Scene scene_;
};

TEST_P(PowerLossOfNewStore, LeavesAPlaceThatOpensWithWhatWasAcknowledged) {
  const PowerLosses losses(scene_.place().directory(),
                           [&](power::RecordedDisk& disk) { makeAndFill(disk); });
  const bool waitsForDisk = GetParam().synchronous != "NORMAL";
  std::size_t number = 0;
  losses.forEach(support::tries(2, 20, 100), [&](const Loss& loss) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, describe(loss));
    scene_.lay(loss.files);
    const auto found = activities();
    EXPECT_TRUE(found.has_value()) << "the place does not open";
    EXPECT_GE(found.value_or(0), waitsForDisk ? loss.mark.value_or(0) : 0);
    EXPECT_LE(found.value_or(0), loss.mark ? *loss.mark + 1 : 0);
    ++number;
    return !HasFailure();
  });
  std::printf("%zu losses, %zu syncs among %zu operations\n", number, losses.syncs(),
              losses.operations().size());
}

/// How often a rollback journal is synced while a store is made and its log begins.
std::ptrdiff_t journalSyncs(const StoreMode& mode) {
  const support::Scene scene;
  const PowerLosses losses(scene.place().directory(), [&](power::RecordedDisk&) {
    static_cast<void>(reliability::contextOver(scene.place().storeURL(), mode));
  });
  return std::ranges::count_if(losses.operations(), [](const power::DiskOperation& operation) {
    return operation.kind == power::DiskOperation::Kind::sync &&
           operation.path.ends_with("-journal");
  });
}

TEST(NewStore, IsMadeAsIfSavesWaitedForTheDisk) {
  const std::ptrdiff_t syncs = journalSyncs(reliability::kLogged);

  EXPECT_GE(syncs, 2);
  EXPECT_EQ(journalSyncs(reliability::kUnconfirmed), syncs);
}

INSTANTIATE_TEST_SUITE_P(Modes, PowerLossOfNewStore,
                         testing::Values(reliability::kLogged, reliability::kJournalled,
                                         reliability::kUnconfirmed),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
