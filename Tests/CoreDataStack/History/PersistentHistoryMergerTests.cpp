#include "CoreDataStack/History/PersistentHistoryMerger.h"

#include "CoreData/Fetching/NSFetchRequest.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/CoreDataStack/History/HistoryPlace.h"

namespace {

using coredata::NSManagedObject;
using coredatastack::AppTarget;
using coredatastack::lastHistoryTransactionTimestamp;
using coredatastack::PersistentHistoryMerger;
using foundation::Date;

class PersistentHistoryMerging : public support::HistoryPlace {
 protected:
  std::optional<PersistentHistoryMerger::Transactions> merge() {
    const auto context = store_.newBackgroundContext();
    const PersistentHistoryMerger merger(context, store_.contextHandle(), AppTarget::app,
                                         foundation::UserDefaults::standard());
    return context->performBlockAndWait([&] { return merger.merge(); });
  }
  void renameElsewhere(const std::string& title) const {
    const auto context = elsewhere_->newBackgroundContext();
    context->performBlockAndWait([&] {
      context->fetch(coredata::NSFetchRequest<NSManagedObject>("Activity"))[0]->setValue(title,
                                                                                         "title");
      context->save();
    });
  }
};

TEST_F(PersistentHistoryMerging, IsNothingWithoutNewTransactions) {
  EXPECT_EQ(merge(), std::nullopt);

  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::app), std::nullopt);
}

TEST_F(PersistentHistoryMerging, OfOwnTransactionsAloneLeavesTheStamp) {
  writeHere("own");

  EXPECT_EQ(merge(), std::nullopt);

  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::app), std::nullopt);
}

TEST_F(PersistentHistoryMerging, BringsWhatOthersChangedIntoTheViewContext) {
  writeElsewhere("before");
  const auto activity =
      store_.context().fetch(coredata::NSFetchRequest<NSManagedObject>("Activity"))[0];
  ASSERT_EQ(*activity->valueForKey("title").text(), "before");
  static_cast<void>(merge());
  renameElsewhere("after");

  const auto merged = merge();

  ASSERT_TRUE(merged.has_value());
  EXPECT_EQ(merged->size(), 1U);
  // It waits for its turn on the view context's queue.
  EXPECT_EQ(*activity->valueForKey("title").text(), "before");
  foundation::drainMainQueue();
  EXPECT_EQ(*activity->valueForKey("title").text(), "after");
}

TEST_F(PersistentHistoryMerging, RemembersTheLastStampToTheBit) {
  writeElsewhere("one");
  writeElsewhere("two");

  const auto merged = merge();

  ASSERT_TRUE(merged.has_value());
  ASSERT_EQ(merged->size(), 2U);
  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::app),
            merged->back()->timestamp());
  EXPECT_EQ(merge(), std::nullopt);
}

TEST_F(PersistentHistoryMerging, GoesOnWhereItStopped) {
  writeElsewhere("one");
  static_cast<void>(merge());
  writeElsewhere("two");
  writeHere("own");
  writeElsewhere("three");

  const auto merged = merge();

  ASSERT_TRUE(merged.has_value());
  EXPECT_EQ(merged->size(), 2U);
}

}  // namespace
