#include "CoreData/SQLite/HistoryPruning.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreData/SQLite/HistoryFixture.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/FaultVFS.h"

// A deletion takes several transactions. Operations on files that it makes are hit once: by death,
// and by an error; every one of them where PRUNING_STRIDE is 1.

namespace {
using coredata::HistoryPruning;
using coredata::ReadSession;
using coredata::StoreVFSOverride;
using shelf::StoreFile;
using support::FaultVFS;
using Lines = std::vector<std::string>;

constexpr std::int64_t kTransactions = 9000;
constexpr std::int64_t kKept = 10;
constexpr std::int64_t kFirstKept = kTransactions - kKept + 1;

class HistoryPruningTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    written = std::make_unique<StoreFile>();
    shelf::writeHistory(*written, {.transactions = kTransactions, .changesOfEach = 2});
  }
  static void TearDownTestSuite() { written.reset(); }

  /// A copy of the history, of which all but the last ones take three transactions to delete.
  struct LongHistory : StoreFile {
    LongHistory() { std::filesystem::copy_file(written->path(), path()); }
  };

  static std::int64_t prune(const StoreFile& file) {
    ReadSession session(file.open());
    return HistoryPruning(session).deleteBefore(kFirstKept);
  }

  /// Everything from some transaction on is there, and nothing of it is lost.
  static void expectEndOfHistory(const StoreFile& file) {
    ReadSession session(file.open());
    const coredata::HistoryRecords records = shelf::readHistory(session);
    const auto count = static_cast<std::int64_t>(records.transactions.size());
    ASSERT_GE(count, kKept);
    std::int64_t number = kTransactions - count;
    for (const auto& transaction : records.transactions) {
      ASSERT_EQ(transaction.number, ++number);
      ASSERT_EQ(transaction.changeCount, 2U);
    }
    EXPECT_EQ(session.newestTransaction().number, kTransactions);
  }

  static void expectPruned(const StoreFile& file) {
    EXPECT_EQ(shelf::query(file.path(), "SELECT count(*), min(number) FROM _transaction"),
              Lines{std::to_string(kKept) + "|" + std::to_string(kFirstKept)});
    EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM _change"),
              Lines{std::to_string(2 * kKept)});
    EXPECT_EQ(shelf::query(file.path(), "PRAGMA integrity_check"), Lines{"ok"});
  }

  /// Which of the operations are hit: one in so many.
  static std::size_t stride() { return support::numberFrom("PRUNING_STRIDE", 61); }

 private:
  static inline std::unique_ptr<StoreFile> written;
};

TEST_F(HistoryPruningTest, LeavesTheEndOfTheHistory) {
  const LongHistory file;

  EXPECT_EQ(prune(file), kFirstKept - 1);

  expectPruned(file);
  expectEndOfHistory(file);
}

TEST_F(HistoryPruningTest, LeavesTheEndOfTheHistoryWhereverItIsKilled) {
  for (std::size_t point = 1;; point += stride()) {
    const LongHistory file;
    const auto outcome = support::runInChild([&](const support::Acknowledgements& /*done*/) {
      FaultVFS vfs;
      const StoreVFSOverride override(vfs.name());
      vfs.killAt(point);
      prune(file);
    });
    ASSERT_FALSE(outcome.timedOut) << point;

    expectEndOfHistory(file);
    prune(file);
    expectPruned(file);
    if (!outcome.wasKilled()) {
      ASSERT_EQ(outcome.exitStatus, 0);
      EXPECT_GT(point, 100U) << "fewer operations than several transactions take";
      break;
    }
  }
}

TEST_F(HistoryPruningTest, LeavesTheEndOfTheHistoryWhereverTheDiskFails) {
  for (std::size_t point = 1;; point += stride()) {
    const LongHistory file;
    FaultVFS vfs;
    bool wasReached = false;
    {
      const StoreVFSOverride override(vfs.name());
      ReadSession session(file.open());
      vfs.reset();
      vfs.failAt(point, SQLITE_IOERR);
      try {
        HistoryPruning(session).deleteBefore(kFirstKept);
      } catch (const foundation::Error& error) {
        EXPECT_EQ(error.domain(), foundation::kSQLiteErrorDomain) << error.message();
      }
      wasReached = vfs.faultWasReached();
      vfs.reset();
    }
    expectEndOfHistory(file);
    prune(file);
    expectPruned(file);
    if (wasReached) continue;
    EXPECT_GT(point, 100U) << "fewer operations than several transactions take";
    break;
  }
}

TEST_F(HistoryPruningTest, DoesNothingWhereNothingIsOld) {
  const LongHistory file;
  ReadSession session(file.open());

  EXPECT_EQ(HistoryPruning(session).deleteBefore(std::int64_t{1}), 0);
  EXPECT_EQ(HistoryPruning(session).deleteBefore(1.0), 0);
}

}  // namespace
