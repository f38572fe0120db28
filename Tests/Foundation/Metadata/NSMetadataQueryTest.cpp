#include "Foundation/Metadata/NSMetadataQuery.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "Foundation/Queues/MainQueue.h"
#include "Foundation/Values/WeakRef.h"
#include "Tests/Foundation/Metadata/QueryLog.h"
#include "Tests/Foundation/Metadata/TestProvider.h"

namespace foundation {
namespace {

using Entries = QueryLog::Entries;

class NSMetadataQueryTest : public testing::Test {
 protected:
  NSMetadataQueryTest() {
    MetadataProvider::setProvider(provider, NSMetadataQueryUbiquitousDataScope);
    queue->setMaxConcurrentOperationCount(1);
    query->setOperationQueue(queue);
    query->setPredicate(NSPredicate::format("%K like '*'", NSMetadataItemFSNameKey));
    query->setSearchScopes({std::string(NSMetadataQueryUbiquitousDataScope)});
  }
  ~NSMetadataQueryTest() override {
    MetadataProvider::setProvider(nullptr, NSMetadataQueryUbiquitousDataScope);
  }

  static Ref<TestProvider> providerOf(std::initializer_list<const char*> names) {
    return make<TestProvider>(names);
  }

  /// Changes what there is and returns when the gathered query has handed that to its queue: a
  /// second look begins after what the first one found is on its way.
  void changeAndLook(std::initializer_list<const char*> names) {
    provider->change(names);
    provider->awaitLooks(2);
    provider->change(names);
    provider->awaitLooks(3);
  }

  Ref<TestProvider> provider = providerOf({"a", "b"});
  Ref<OperationQueue> queue = make<OperationQueue>();
  Ref<NSMetadataQuery> query = make<NSMetadataQuery>();
  Ref<QueryLog> log = QueryLog::of(query);
};

TEST_F(NSMetadataQueryTest, TellsOnceThatItHasGathered) {
  EXPECT_TRUE(query->startQuery());

  EXPECT_EQ(log->await(1), Entries{"gathered a b"});
  EXPECT_EQ(query->resultCount(), 2U);
}

TEST_F(NSMetadataQueryTest, FinishesWithoutResultsWhereNobodyProvides) {
  query->setSearchScopes({"elsewhere"});

  query->startQuery();

  EXPECT_EQ(log->await(1), Entries{"gathered"});
  EXPECT_EQ(query->resultCount(), 0U);
}

TEST_F(NSMetadataQueryTest, SearchesItsScopesInTheirOrder) {
  MetadataProvider::setProvider(providerOf({"z", "y"}), "shed");
  query->setSearchScopes({"shed", "elsewhere", std::string(NSMetadataQueryUbiquitousDataScope)});

  query->startQuery();

  EXPECT_EQ(log->await(1), Entries{"gathered z y a b"});
  MetadataProvider::setProvider(nullptr, "shed");
}

TEST_F(NSMetadataQueryTest, HasTheItemsForWhichItsPredicateHolds) {
  provider->change({"apple", "pear", "Apricot"});
  query->setPredicate(NSPredicate::format("%K like 'ap*'", NSMetadataItemFSNameKey));

  query->startQuery();

  EXPECT_EQ(log->await(1), Entries{"gathered apple"});
}

TEST_F(NSMetadataQueryTest, TellsOfEachChangeAndOfNothingElse) {
  query->startQuery();
  static_cast<void>(log->await(1));

  provider->change({"a", "b", "c"});
  static_cast<void>(log->await(2));
  provider->change({"a", "b", "c"});
  provider->awaitLooks(3);
  provider->change({"c"});

  EXPECT_EQ(log->await(3), (Entries{"gathered a b", "updated a b c", "updated c"}));
}

TEST_F(NSMetadataQueryTest, PostsOnItsQueueAndChangesNothingMeanwhile) {
  query->setOperationQueue(OperationQueue::main());
  bool isOnMainThread = false;
  log->then = [&](const NSNotification& notification) {
    isOnMainThread = MainQueue::isMainThread();
    EXPECT_EQ(notification.object(), query);
    stopMainQueue();
  };

  query->startQuery();
  EXPECT_EQ(query->resultCount(), 0U);
  EXPECT_TRUE(query->isGathering());
  runMainQueue();

  EXPECT_TRUE(isOnMainThread);
  EXPECT_EQ(log->await(1), Entries{"gathered a b"});
}

TEST_F(NSMetadataQueryTest, TakesTheMainQueueByDefault) {
  query->setOperationQueue(nullptr);
  log->then = [&](const NSNotification&) { stopMainQueue(); };

  query->startQuery();
  runMainQueue();

  EXPECT_EQ(log->await(1), Entries{"gathered a b"});
}

TEST_F(NSMetadataQueryTest, KnowsWhetherItIsStartedAndGathers) {
  EXPECT_FALSE(query->isStarted());
  EXPECT_FALSE(query->isGathering());

  query->startQuery();
  EXPECT_TRUE(query->isStarted());
  static_cast<void>(log->await(1));
  EXPECT_FALSE(query->isGathering());
  EXPECT_TRUE(query->isStarted());

  query->stopQuery();
  EXPECT_FALSE(query->isStarted());
}

TEST_F(NSMetadataQueryTest, StartsOnlyOnceUntilItIsStopped) {
  EXPECT_TRUE(query->startQuery());
  EXPECT_FALSE(query->startQuery());
  static_cast<void>(log->await(1));

  query->stopQuery();
  provider->change({"c"});
  EXPECT_TRUE(query->startQuery());

  EXPECT_EQ(log->await(2), (Entries{"gathered a b", "gathered c"}));
}

TEST_F(NSMetadataQueryTest, KeepsItsResultsAndObservesNobodyOnceItIsStopped) {
  query->startQuery();
  static_cast<void>(log->await(1));
  EXPECT_TRUE(provider->isObserved());

  query->stopQuery();
  provider->change({"c"});
  queue->waitUntilAllOperationsAreFinished();

  EXPECT_FALSE(provider->isObserved());
  EXPECT_EQ(namesIn(*query), " a b");
}

TEST_F(NSMetadataQueryTest, PostsNothingThatWasOnItsWayWhenItIsStopped) {
  query->setOperationQueue(OperationQueue::main());
  query->startQuery();
  provider->awaitLooks(1);
  changeAndLook({"c"});

  query->stopQuery();
  EXPECT_GE(drainMainQueue(), 2U);
  query->setOperationQueue(queue);
  query->startQuery();

  EXPECT_EQ(log->await(1), Entries{"gathered c"});
}

TEST_F(NSMetadataQueryTest, KeepsUpdatesBackUntilTheyAreEnabledAgain) {
  query->startQuery();
  static_cast<void>(log->await(1));
  query->disableUpdates();
  query->disableUpdates();

  changeAndLook({"c"});
  query->enableUpdates();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(namesIn(*query), " a b");
  query->enableUpdates();

  EXPECT_EQ(log->await(2), (Entries{"gathered a b", "updated c"}));
}

TEST_F(NSMetadataQueryTest, EnablesWhatWasNeverDisabledWithoutEffect) {
  query->enableUpdates();
  query->startQuery();
  static_cast<void>(log->await(1));

  provider->change({"c"});

  EXPECT_EQ(log->await(2), (Entries{"gathered a b", "updated c"}));
}

TEST_F(NSMetadataQueryTest, WalksTheResultsOfOneMoment) {
  query->startQuery();
  static_cast<void>(log->await(1));
  std::vector<std::size_t> indexes;

  query->enumerateResultsUsingBlock([&](const Ref<Object>&, std::size_t index, bool&) {
    changeAndLook({"c", "d", "e"});
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(query->resultCount(), 2U);
    indexes.push_back(index);
  });

  EXPECT_EQ(indexes, (std::vector<std::size_t>{0, 1}));
  EXPECT_EQ(log->await(2), (Entries{"gathered a b", "updated c d e"}));
}

TEST_F(NSMetadataQueryTest, EndsAWalkWhenItIsAskedTo) {
  query->startQuery();
  static_cast<void>(log->await(1));
  int calls = 0;

  query->enumerateResultsUsingBlock([&](const Ref<Object>&, std::size_t, bool& stop) {
    ++calls;
    stop = true;
  });

  EXPECT_EQ(calls, 1);
}

TEST_F(NSMetadataQueryTest, EndsWithItsLastHandle) {
  query->startQuery();
  static_cast<void>(log->await(1));
  const WeakRef<NSMetadataQuery> weak(query);

  query = nullptr;
  queue->waitUntilAllOperationsAreFinished();

  EXPECT_TRUE(weak.expired());
  EXPECT_FALSE(provider->isObserved());
}

TEST_F(NSMetadataQueryTest, MayLoseItsLastHandleOnItsOwnQueue) {
  const WeakRef<NSMetadataQuery> weak(query);
  log->then = [&](const NSNotification&) { query = nullptr; };
  query->startQuery();

  static_cast<void>(log->await(1));
  queue->waitUntilAllOperationsAreFinished();

  EXPECT_TRUE(weak.expired());
}

TEST_F(NSMetadataQueryTest, FindsNothingAndSaysSoWhenItsPredicateCannotBeJudged) {
  query->setPredicate(NSPredicate::format("kMDItemFSName.colour = 'red'"));
  testing::internal::CaptureStderr();

  query->startQuery();

  EXPECT_EQ(log->await(1), Entries{"gathered"});
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "A metadata query finds nothing: A value without properties has no key \"colour\".\n");
}

}  // namespace
}  // namespace foundation
