#include <cstdio>
#include <functional>
#include <map>
#include <set>
#include <utility>

#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/History/PersistentHistoryCleaner.h"
#include "CoreDataStack/History/PersistentHistoryMerger.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/CoreDataStack/History/HistoryPlace.h"
#include "Tests/CoreDataStack/History/Silence.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/MigrationPlace.h"

// Two programs that prune one history, with something of the other one's in the middle of a pass:
// before each operation that the pass makes on the store's files, and between merging and cleaning.

namespace {

using coredata::NSPersistentHistoryChangeRequest;
using coredata::NSPersistentHistoryResult;
using coredata::StoreErrorCode;
using coredatastack::AppTarget;
using coredatastack::PersistentHistoryCleaner;
using coredatastack::PersistentHistoryMerger;
using foundation::Ref;

/// In force before the place opens its stores.
struct WatchedFiles {
  support::FaultVFS vfs;
  coredata::StoreVFSOverride override{vfs.name()};
};

class InterleavedPasses : private WatchedFiles, public support::HistoryPlace {
 protected:
  InterleavedPasses() {
    vfs.skipWaits();
    vfs.watch(support::kEverything);
    here_.view = store_.container().viewContext();
    there_.view = elsewhere_->viewContext();
    there_.view->setTransactionAuthor("extension");
  }

  /// One of the two programs.
  struct Party {
    AppTarget target;
    std::string author;
    coredata::NSPersistentContainer* container;
    Ref<coredata::NSManagedObjectContext> view;
    std::set<std::int64_t> merged;
  };
  using Transactions = NSPersistentHistoryResult::Transactions;

  void commit(const Party& by) {
    const auto context = by.container->newBackgroundContext();
    context->performBlockAndWait([&] {
      context->setTransactionAuthor(by.author);
      context->insertNewObject("Activity")->setValue(std::to_string(written_.size()), "title");
      context->save();
    });
    written_[newest()] = by.author;
  }
  /// What its observer does when it hears of a change.
  void pass(Party& party) {
    const support::Silence silence;
    const auto context = party.container->newBackgroundContext();
    context->performBlockAndWait([&] {
      const auto transactions = PersistentHistoryMerger(context, party.view, party.target,
                                                        foundation::UserDefaults::standard())
                                    .merge();
      if (!transactions) return;
      note(party, *transactions);
      if (party.target == AppTarget::app) std::exchange(betweenMergeAndCleaning_, [] {})();
      const auto targets = AppTarget::allCases();
      PersistentHistoryCleaner(context, {targets.begin(), targets.end()},
                               foundation::UserDefaults::standard())
          .clean();
    });
  }
  static void note(Party& party, const Transactions& transactions) {
    std::int64_t last = 0;
    for (const auto& transaction : transactions) {
      EXPECT_GT(transaction->transactionNumber(), last);
      EXPECT_NE(transaction->author(), party.author);
      last = transaction->transactionNumber();
      party.merged.insert(last);
    }
  }
  /// A pass of this program, with `meanwhile` before one of its operations, counted from 1, or, at
  /// point 0, between its two halves. False when it has fewer.
  bool passWith(std::size_t point, const std::function<void()>& meanwhile) {
    bool isRefused = false;
    const auto action = [&] {
      try {
        meanwhile();
      } catch (const foundation::Error& error) {
        if (error.code() != support::number(StoreErrorCode::busy)) throw;
        isRefused = true;
      }
    };
    bool wasReached = false;
    const auto reached = [&] {
      wasReached = true;
      action();
    };
    vfs.reset();
    if (point == 0) {
      betweenMergeAndCleaning_ = reached;
    } else {
      vfs.callAt(point, reached);
    }
    pass(here_);
    betweenMergeAndCleaning_ = [] {};
    vfs.reset();
    // Where the pass was writing the other one had to wait for its end.
    if (isRefused) {
      ++refusals_;
      meanwhile();
    }
    return wasReached;
  }
  /// Until nobody finds anything new.
  void settle() {
    for (int i = 0; i < 6; ++i) {
      pass(here_);
      pass(there_);
    }
    foundation::drainMainQueue();
  }
  void expectNothingMissed(std::size_t point) {
    const std::set<std::int64_t> kept = history();
    for (const auto& [number, author] : written_) {
      for (const Party* party : {&here_, &there_}) {
        if (author == party->author) continue;
        EXPECT_TRUE(party->merged.contains(number))
            << party->author << " missed " << number << ", point " << point;
      }
    }
    EXPECT_EQ(support::allObjects(*here_.view, "Activity").size(), written_.size()) << point;
    EXPECT_EQ(support::allObjects(*there_.view, "Activity").size(), written_.size()) << point;
    EXPECT_LE(kept.size(), 6U) << "the history is not pruned, point " << point;
  }
  /// What the cleaner took away was merged by both, or their own.
  void expectNothingTakenTooEarly(std::size_t point) {
    const std::set<std::int64_t> kept = history();
    for (const auto& [number, author] : written_) {
      if (kept.contains(number)) continue;
      for (const Party* party : {&here_, &there_}) {
        EXPECT_TRUE(author == party->author || party->merged.contains(number))
            << number << " was taken from " << party->author << ", point " << point;
      }
    }
  }
  /// Lets every point of the pass have the other's work in it.
  void interleave(const std::function<void()>& meanwhile) {
    std::size_t point = 0;
    for (bool wasReached = true; wasReached && !HasFailure(); ++point) {
      commit(here_);
      commit(there_);
      pass(there_);
      commit(there_);
      wasReached = passWith(point, meanwhile);
      expectNothingTakenTooEarly(point);
      settle();
      expectNothingMissed(point);
    }
    std::printf("%zu points, at %zu of which the other had to wait\n", point, refusals_);
    EXPECT_GT(point, 20U);
  }

  Party here_{AppTarget::app, "app", &store_.container(), {}, {}};
  Party there_{AppTarget::shareExtension, "extension", elsewhere_.get(), {}, {}};

 private:
  [[nodiscard]] std::int64_t newest() const {
    return elsewhere_->persistentStoreCoordinator()->store()->engine()->newestTransaction().number;
  }
  [[nodiscard]] std::set<std::int64_t> history() const {
    const auto context = elsewhere_->newBackgroundContext();
    std::set<std::int64_t> numbers;
    context->performBlockAndWait([&] {
      const auto result = foundation::as<NSPersistentHistoryResult>(
          context->execute(NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(
              foundation::Date::distantPast())));
      for (const auto& transaction : std::get<Transactions>(result->result())) {
        numbers.insert(transaction->transactionNumber());
      }
    });
    return numbers;
  }

  std::map<std::int64_t, std::string> written_;
  std::function<void()> betweenMergeAndCleaning_ = [] {};
  std::size_t refusals_ = 0;
};

TEST_F(InterleavedPasses, MissNoCommitInTheMiddle) {
  interleave([&] { commit(there_); });
}

TEST_F(InterleavedPasses, MissNothingOverAPassOfTheOtherInTheMiddle) {
  interleave([&] { pass(there_); });
}

TEST_F(InterleavedPasses, MissNoCommitThatComesBeforeAPassInTheMiddle) {
  interleave([&] {
    commit(there_);
    pass(there_);
  });
}

TEST_F(InterleavedPasses, MissNoCommitThatComesAfterAPassInTheMiddle) {
  interleave([&] {
    pass(there_);
    commit(there_);
  });
}

}  // namespace
