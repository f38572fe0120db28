#include "Foundation/Progress/Progress.h"

#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

/// Keeps what the observed progress said at each call.
class Watch {
 public:
  explicit Watch(Progress& progress)
      : token_(progress.observe([this](const Progress& observed) {
          fractions_.push_back(observed.fractionCompleted());
        })) {}

  [[nodiscard]] const std::vector<double>& fractions() const noexcept { return fractions_; }
  void stop() { token_ = nullptr; }

 private:
  std::vector<double> fractions_;
  Ref<Object> token_;
};

TEST(Progress, CountsUnits) {
  const auto progress = make<Progress>(8);

  progress->setCompletedUnitCount(2);
  progress->addCompletedUnits(4);

  EXPECT_EQ(progress->totalUnitCount(), 8);
  EXPECT_EQ(progress->completedUnitCount(), 6);
  EXPECT_EQ(progress->fractionCompleted(), 0.75);
  EXPECT_FALSE(progress->isFinished());
  progress->setTotalUnitCount(6);
  EXPECT_TRUE(progress->isFinished());
  EXPECT_EQ(progress->fractionCompleted(), 1.0);
}

TEST(Progress, CannotBeKnownWithoutATotal) {
  for (const std::int64_t total : {0, -1}) {
    const auto progress = make<Progress>(total);
    EXPECT_TRUE(progress->isIndeterminate());
    EXPECT_FALSE(progress->isFinished());
    EXPECT_EQ(progress->fractionCompleted(), 0.0);
    EXPECT_EQ(progress->localizedDescription(), "");
    EXPECT_EQ(progress->localizedAdditionalDescription(), "");
  }
  const auto progress = make<Progress>(10);
  progress->setCompletedUnitCount(-1);
  EXPECT_TRUE(progress->isIndeterminate());
}

TEST(Progress, NeverExceedsTheWhole) {
  const auto progress = make<Progress>(10);

  progress->setCompletedUnitCount(25);

  EXPECT_EQ(progress->fractionCompleted(), 1.0);
  EXPECT_TRUE(progress->isFinished());
}

TEST(Progress, CountsAChildsFractionTowardsItsUnits) {
  const auto parent = make<Progress>(10);
  const auto child = make<Progress>(200);
  parent->setCompletedUnitCount(2);
  parent->addChild(child, 4);

  child->setCompletedUnitCount(100);

  EXPECT_EQ(parent->fractionCompleted(), 0.4);
  EXPECT_EQ(parent->completedUnitCount(), 2);
}

TEST(Progress, TakesOverTheUnitsOfAFinishedChild) {
  const auto parent = make<Progress>(10);
  const auto child = make<Progress>(200);
  parent->addChild(child, 4);

  child->setCompletedUnitCount(200);
  child->setCompletedUnitCount(0);

  EXPECT_EQ(parent->completedUnitCount(), 4);
  EXPECT_EQ(parent->fractionCompleted(), 0.4);
}

TEST(Progress, TakesOverTheUnitsOfAChildThatHadFinishedBefore) {
  const auto parent = make<Progress>(10);
  const auto child = make<Progress>(1);
  child->setCompletedUnitCount(1);

  parent->addChild(child, 10);

  EXPECT_TRUE(parent->isFinished());
}

TEST(Progress, KnowsItsChildrenAsLongAsTheyAreUnderWay) {
  const auto whole = make<Progress>(2);
  const auto first = make<Progress>(1);
  const auto second = make<Progress>(1);
  whole->addChild(first, 1);
  whole->addChild(second, 1);

  EXPECT_EQ(whole->unfinishedChildren(), (std::vector{first, second}));
  first->setCompletedUnitCount(1);
  EXPECT_EQ(whole->unfinishedChildren(), std::vector{second});
}

TEST(Progress, FinishesThroughAllLevels) {
  const auto top = make<Progress>(1);
  const auto middle = make<Progress>(1);
  const auto bottom = make<Progress>(3);
  top->addChild(middle, 1);
  middle->addChild(bottom, 1);

  bottom->setCompletedUnitCount(3);

  EXPECT_TRUE(middle->isFinished());
  EXPECT_TRUE(top->isFinished());
}

TEST(Progress, OutlivesAParentThatIsGone) {
  const auto child = make<Progress>(1);
  {
    const auto parent = make<Progress>(1);
    parent->addChild(child, 1);
  }

  child->setCompletedUnitCount(1);

  EXPECT_TRUE(child->isFinished());
}

TEST(Progress, OfACalleeBecomesAChildOfTheCallersCurrentOne) {
  const auto caller = make<Progress>(10);
  Ref<Progress> callee;

  caller->performAsCurrent(4, [&] {
    EXPECT_EQ(Progress::currentProgress(), caller);
    callee = Progress::progress(2);
    callee->setCompletedUnitCount(1);
  });

  EXPECT_EQ(Progress::currentProgress(), nullptr);
  EXPECT_EQ(caller->fractionCompleted(), 0.2);
  callee->setCompletedUnitCount(2);
  EXPECT_EQ(caller->completedUnitCount(), 4);
}

TEST(Progress, TakesOnlyTheFirstOfACalleesAsAChild) {
  const auto caller = make<Progress>(10);

  caller->performAsCurrent(4, [] {
    const auto first = Progress::progress(2);
    Progress::progress(2)->setCompletedUnitCount(2);
    EXPECT_EQ(first->fractionCompleted(), 0.0);
  });

  EXPECT_EQ(caller->fractionCompleted(), 0.0);
}

TEST(Progress, StandsAloneWhereItIsMadeSo) {
  const auto caller = make<Progress>(10);

  caller->becomeCurrent(4);
  const auto alone = make<Progress>(1);
  caller->resignCurrent();
  alone->setCompletedUnitCount(1);

  // The units that nobody took.
  EXPECT_EQ(caller->completedUnitCount(), 4);
}

TEST(Progress, IsCurrentAgainWhenTheInnerOneResigns) {
  const auto outer = make<Progress>(10);
  const auto inner = make<Progress>(10);

  outer->performAsCurrent(10, [&] {
    inner->performAsCurrent(10, [&] { EXPECT_EQ(Progress::currentProgress(), inner); });
    EXPECT_EQ(Progress::currentProgress(), outer);
  });

  EXPECT_TRUE(outer->isFinished());
  EXPECT_TRUE(inner->isFinished());
}

TEST(Progress, ResignsWhenTheWorkThrows) {
  const auto progress = make<Progress>(10);

  EXPECT_THROW(progress->performAsCurrent(4, [] { throw std::runtime_error("no"); }),
               std::runtime_error);

  EXPECT_EQ(Progress::currentProgress(), nullptr);
}

TEST(Progress, GivesOnWhatTheWorkReturns) {
  EXPECT_EQ(make<Progress>(1)->performAsCurrent(1, [] { return std::string("done"); }), "done");
}

TEST(Progress, IsCurrentOnItsOwnThreadAlone) {
  const auto progress = make<Progress>(10);

  progress->performAsCurrent(
      4, [] { std::thread([] { EXPECT_EQ(Progress::currentProgress(), nullptr); }).join(); });
}

TEST(Progress, StopsAllBelowItWhenItIsCancelled) {
  const auto parent = make<Progress>(10);
  const auto child = make<Progress>(10);
  const auto later = make<Progress>(10);
  int calls = 0;
  parent->addChild(child, 5);
  child->setCancellationHandler([&] { ++calls; });

  parent->cancel();
  parent->cancel();
  parent->addChild(later, 5);

  EXPECT_TRUE(child->isCancelled());
  EXPECT_TRUE(later->isCancelled());
  EXPECT_EQ(calls, 1);
}

TEST(Progress, LeavesWhatLiesAboveItAloneWhenItIsCancelled) {
  const auto parent = make<Progress>(10);
  const auto child = make<Progress>(10);
  parent->addChild(child, 5);

  child->cancel();

  EXPECT_FALSE(parent->isCancelled());
}

TEST(Progress, CallsAHandlerAtOnceWhenItWasCancelledBefore) {
  const auto progress = make<Progress>(10);
  int calls = 0;
  progress->cancel();

  progress->setCancellationHandler([&] { ++calls; });

  EXPECT_EQ(calls, 1);
}

TEST(Progress, TellsObserversOfChangesHereAndBelow) {
  const auto parent = make<Progress>(4);
  const auto child = make<Progress>(2);
  const Watch watch(*parent);

  parent->setCompletedUnitCount(1);
  parent->addChild(child, 2);
  child->setCompletedUnitCount(1);
  child->setCompletedUnitCount(2);
  child->setTotalUnitCount(5);

  EXPECT_EQ(watch.fractions(), (std::vector<double>{0.25, 0.25, 0.5, 0.75}));
}

TEST(Progress, TellsObserversThatItIsCancelled) {
  const auto progress = make<Progress>(4);
  bool isCancelled = false;
  const auto token =
      progress->observe([&](const Progress& observed) { isCancelled = observed.isCancelled(); });

  progress->cancel();

  EXPECT_TRUE(isCancelled);
}

TEST(Progress, TellsNobodyWhoDroppedTheToken) {
  const auto progress = make<Progress>(4);
  Watch watch(*progress);
  progress->setCompletedUnitCount(1);

  watch.stop();
  progress->setCompletedUnitCount(2);

  EXPECT_EQ(watch.fractions(), std::vector<double>{0.25});
}

TEST(Progress, LetsObserversChangeIt) {
  const auto progress = make<Progress>(4);
  const auto token = progress->observe([&](const Progress& observed) {
    if (observed.completedUnitCount() < 3) progress->addCompletedUnits(1);
  });

  progress->setCompletedUnitCount(1);

  EXPECT_EQ(progress->completedUnitCount(), 3);
}

TEST(Progress, DescribesItselfInThePersonsLanguage) {
  const support::ScopedSettings settings("en_US", "UTC");
  const auto progress = make<Progress>(3000);
  progress->setCompletedUnitCount(1999);

  EXPECT_EQ(progress->localizedDescription(), "66% completed");
  EXPECT_EQ(progress->localizedAdditionalDescription(), "1,999 of 3,000");
}

TEST(Progress, DescribesItselfAsTheWorkSays) {
  const auto progress = make<Progress>(2);

  progress->setLocalizedDescription("Migrating");
  progress->setLocalizedAdditionalDescription("Step 1");
  EXPECT_EQ(progress->localizedDescription(), "Migrating");
  EXPECT_EQ(progress->localizedAdditionalDescription(), "Step 1");

  progress->setLocalizedDescription(std::nullopt);
  EXPECT_EQ(progress->localizedDescription(), "0% completed");
}

TEST(Progress, CarriesWhatTheWorkWantsToTell) {
  const auto progress = make<Progress>(2);

  progress->setUserInfoObject("Tessaline 2", "step");
  EXPECT_EQ(progress->userInfo(), (ValueDictionary{{"step", "Tessaline 2"}}));

  progress->setUserInfoObject({}, "step");
  EXPECT_TRUE(progress->userInfo().empty());
}

TEST(Progress, LosesNoUnitOfManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kUnits = 1000;
  const auto parent = make<Progress>(kThreads);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&] {
      const auto child = make<Progress>(kUnits);
      parent->addChild(child, 1);
      for (int unit = 0; unit < kUnits; ++unit) child->addCompletedUnits(1);
    });
  }
  for (auto& thread : threads) thread.join();

  EXPECT_EQ(parent->completedUnitCount(), kThreads);
}

TEST(ProgressDeathTest, StopsTheProcessWhenAnotherThanTheCurrentOneResigns) {
  EXPECT_EXIT(make<Progress>(1)->resignCurrent(), testing::KilledBySignal(SIGABRT),
              "Fatal error: a progress resigns on the thread where it became the current one, in "
              "turn");
}

TEST(ProgressDeathTest, StopsTheProcessWhenAChildHasAParentAlready) {
  const auto parent = make<Progress>(2);
  const auto child = make<Progress>(2);
  parent->addChild(child, 1);

  EXPECT_EXIT(make<Progress>(1)->addChild(child, 1), testing::KilledBySignal(SIGABRT),
              "Fatal error: a progress has one parent");
  EXPECT_EXIT(child->addChild(parent, 1), testing::KilledBySignal(SIGABRT),
              "Fatal error: a progress is no part of itself");
}

}  // namespace
}  // namespace foundation
