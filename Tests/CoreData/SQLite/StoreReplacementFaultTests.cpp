#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "CoreData/SQLite/ReadSession.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreData/SQLite/StoreDestruction.h"
#include "CoreData/SQLite/StoreReplacement.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/FaultyFileSystem.h"

// Every operation on a file that a replacement and a destruction make is hit once: by death, and by
// an error.

namespace {
using coredata::HistoryPosition;
using coredata::ReadSession;
using coredata::StoreClaim;
using coredata::StoreErrorCode;
using coredata::StoreVFSOverride;
using shelf::kImpatient;
using shelf::StoreFile;
using support::ChildOutcome;
using support::FaultVFS;
using support::FaultyFileSystem;
using support::FileFault;
using support::number;
using Lines = std::vector<std::string>;

constexpr int kOldBooks = 40;
constexpr int kNewBooks = 90;

/// Two stores of different contents, the old one's history the newer.
class Stores {
 public:
  Stores() {
    static const std::string youngContent = content(kNewBooks, "Persuasion", 0);
    static const std::string oldContent = content(kOldBooks, "Emma", 1000);
    shelf::writeFile(young.path(), youngContent);
    shelf::writeFile(old.path(), oldContent);
  }
  void replace() const { coredata::replaceStore(old.url(), young.url(), kImpatient); }

  /// Whether the old store is wholly the new one, with a history that goes on behind both; anything
  /// but that or wholly what it was is a failure.
  [[nodiscard]] bool isReplaced() const {
    EXPECT_EQ(shelf::query(old.path(), "PRAGMA integrity_check"), Lines{"ok"});
    const Lines titles =
        shelf::query(old.path(), "SELECT title || count(*) FROM Book GROUP BY title");
    EXPECT_TRUE(titles == kOldTitles || titles == kNewTitles) << testing::PrintToString(titles);
    const auto store = old.open();
    EXPECT_EQ(store->newestTransaction().number, kOldBooks + 1000);
    EXPECT_EQ(store->identifier() == young.open()->identifier(), titles == kNewTitles);
    return titles == kNewTitles;
  }
  /// Nothing of an attempt is left once the next has succeeded.
  void expectToBeReplaceable() const {
    replace();
    EXPECT_TRUE(isReplaced());
    for (const std::string& name : old.names()) EXPECT_EQ(name.find("incoming"), name.npos) << name;
  }

  StoreFile old;
  StoreFile young;

 private:
  /// A whole store's file, made once: a point of failure costs no saves.
  static std::string content(int count, const char* title, int transactionsBefore) {
    const StoreFile file;
    {
      ReadSession session(file.open());
      for (int i = 0; i < count; ++i) shelf::insertBook(session, title);
    }
    // Enough pages for SQLite to write in several steps.
    shelf::query(file.path(),
                 "UPDATE Book SET cover=randomblob(3000); UPDATE _transaction SET "
                 "number=number+" +
                     std::to_string(transactionsBefore));
    file.open()->close();
    return shelf::readFile(file.path());
  }
  const Lines kOldTitles{"Emma" + std::to_string(kOldBooks)};
  const Lines kNewTitles{"Persuasion" + std::to_string(kNewBooks)};
};
}  // namespace

TEST(StoreReplacementFaults, LeaveAStoreWhollyOldOrWhollyNewAfterDeathAtAnyPoint) {
  bool wasReplaced = false;
  for (std::size_t point = 1;; ++point) {
    const Stores stores;
    const ChildOutcome outcome = support::runInChild([&](const auto& done) {
      FaultVFS vfs;
      vfs.killAt(point);
      const StoreVFSOverride override(vfs.name());
      stores.replace();
      done.send("replaced");
    });
    ASSERT_FALSE(outcome.timedOut) << point;
    const bool isReplaced = stores.isReplaced();
    EXPECT_TRUE(isReplaced || outcome.acknowledged.empty()) << point;
    EXPECT_TRUE(isReplaced || !wasReplaced) << "the commit is one moment, not at " << point;
    wasReplaced = isReplaced;
    if (point % 16 == 0) stores.expectToBeReplaceable();
    if (outcome.signal != SIGKILL) {
      ASSERT_EQ(outcome.exitStatus, 0);
      EXPECT_TRUE(isReplaced);

      EXPECT_GT(point, 200U);
      break;
    }
  }
}

TEST(StoreReplacementFaults, LeaveAMissingStoreMissingOrWholeAfterDeathAtAnyPoint) {
  const Stores stores;
  for (std::size_t point = 1;; ++point) {
    const StoreFile place;
    const ChildOutcome outcome = support::runInChild([&](const auto&) {
      FaultVFS vfs;
      vfs.killAt(point);
      const StoreVFSOverride override(vfs.name());
      coredata::replaceStore(place.url(), stores.young.url(), kImpatient);
    });
    ASSERT_FALSE(outcome.timedOut) << point;
    const Lines tables = std::filesystem::exists(place.path())
                             ? shelf::query(place.path(), "SELECT count(*) FROM sqlite_master")
                             : Lines{"0"};
    if (tables != Lines{"0"}) {
      EXPECT_EQ(shelf::query(place.path(), "SELECT count(*) FROM Book"),
                Lines{std::to_string(kNewBooks)})
          << point;
    }
    if (outcome.signal != SIGKILL) {
      ASSERT_EQ(outcome.exitStatus, 0);
      EXPECT_NE(tables, Lines{"0"});
      break;
    }
  }
}

TEST(StoreReplacementFaults, LeaveAStoreThatReplacesItselfAsItWasAtAnyPoint) {
  const Stores stores;
  EXPECT_FALSE(stores.isReplaced());
  const std::string before = shelf::readFile(stores.old.path());
  const auto replaceByItself = [&](const std::function<void(FaultVFS&)>& fault) {
    const ChildOutcome outcome = support::runInChild([&](const auto& done) {
      FaultVFS vfs;
      vfs.watch(support::kEverything);
      const StoreVFSOverride override(vfs.name());
      fault(vfs);
      try {
        coredata::replaceStore(stores.old.url(), stores.old.url(), kImpatient);
      } catch (const foundation::Error& error) {
        done.send(error.what());
      }
      done.send(vfs.faultWasReached() ? "reached" : "done");
    });
    EXPECT_EQ(shelf::readFile(stores.old.path()), before);
    EXPECT_FALSE(stores.isReplaced());
    return outcome;
  };

  std::size_t point = 1;
  while (replaceByItself([&](FaultVFS& vfs) { vfs.killAt(point); }).wasKilled()) {
    const auto failed =
        replaceByItself([&](FaultVFS& vfs) { vfs.failAt(point, SQLITE_IOERR, true); });
    EXPECT_EQ(failed.acknowledged.back(), "reached") << point;
    ++point;
  }
  EXPECT_GT(point, 5U);
}

class StoreReplacementErrors : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(StoreReplacementErrors, AreThrownAndLeaveAStoreWhollyOldOrWhollyNew) {
  const auto [code, persistent] = GetParam();
  for (std::size_t point = 1;; ++point) {
    const Stores stores;
    FaultVFS vfs;
    bool returned = false;
    {
      const StoreVFSOverride override(vfs.name());
      vfs.failAt(point, code, persistent);
      try {
        stores.replace();
        returned = true;
      } catch (const foundation::Error& error) {
        EXPECT_FALSE(error.message().empty());
      }
    }
    const bool isReplaced = stores.isReplaced();
    // A disk that fails once takes the failed commit back; one that goes on failing cannot.
    if (!persistent) {
      EXPECT_EQ(isReplaced, returned) << point;
    } else if (returned) {
      EXPECT_TRUE(isReplaced) << point;
    }
    if (point % 16 == 0) stores.expectToBeReplaceable();
    if (!vfs.faultWasReached()) {
      EXPECT_TRUE(returned);
      EXPECT_GT(point, 200U);
      break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Codes, StoreReplacementErrors,
                         testing::Values(std::tuple(SQLITE_IOERR, false),
                                         std::tuple(SQLITE_IOERR, true),
                                         std::tuple(SQLITE_FULL, false)));

TEST(StoreReplacementFaults, LeaveAReadersStateAloneAtDeath) {
  const Stores stores;
  ReadSession session(stores.old.open());
  session.begin();
  EXPECT_EQ(shelf::titleOf(session, 1), "Emma");

  const ChildOutcome outcome = support::runInChild([&](const auto&) {
    FaultVFS vfs;
    vfs.killAt(150);
    const StoreVFSOverride override(vfs.name());
    stores.replace();
  });

  ASSERT_TRUE(outcome.wasKilled());
  EXPECT_EQ(shelf::titleOf(session, 2), "Emma");
  session.end();
  EXPECT_EQ(shelf::titleOf(session, shelf::insertBook(session, "Emma")), "Emma");
}

// The other road, over the system's own calls.

namespace {
/// A place that holds a letter where a store should be.
class Letter {
 public:
  Letter() { shelf::writeFile(file.path(), kText); }
  void replace(const StoreFile& young) const {
    coredata::replaceStore(file.url(), young.url(), kImpatient);
  }
  [[nodiscard]] bool isThere() const { return shelf::readFile(file.path()) == kText; }
  [[nodiscard]] bool isKept() const {
    return isThere() || shelf::readFile(file.path() + "-salvage-1") == kText;
  }

  StoreFile file;

 private:
  const std::string kText = std::string(9000, 'x');
};
}  // namespace

TEST(StoreReplacementFaults, KeepALetterInPlaceWhenAnyStepOfMovingItFails) {
  const Stores stores;
  for (std::size_t change = 1;; ++change) {
    const Letter letter;
    std::int64_t error = 0;
    bool reached = false;
    {
      const FaultyFileSystem faults(FileFault::failOnce, change, EIO);
      error = shelf::errorCode([&] { letter.replace(stores.young); });
      reached = faults.wasReached();
    }
    EXPECT_TRUE(letter.isKept()) << change;
    if (error != 0) {
      // The last step makes sure of what is already in place.
      EXPECT_TRUE(letter.isThere() ||
                  shelf::query(letter.file.path(), "PRAGMA integrity_check") == Lines{"ok"})
          << change;
    }
    if (!reached) {
      EXPECT_EQ(error, 0);
      EXPECT_GT(change, 5U);
      break;
    }
  }
}

TEST(StoreReplacementFaults, LoseNoLetterAndNoStoreAtDeath) {
  const Stores stores;
  for (std::size_t change = 1;; ++change) {
    const Letter letter;
    const ChildOutcome outcome = support::runInChild([&](const auto&) {
      const FaultyFileSystem faults(FileFault::killProcess, change, 0);
      letter.replace(stores.young);
    });
    EXPECT_TRUE(letter.isKept()) << change;
    letter.replace(stores.young);
    EXPECT_EQ(shelf::query(letter.file.path(), "PRAGMA integrity_check"), Lines{"ok"}) << change;
    EXPECT_TRUE(letter.isKept()) << change;
    if (!outcome.wasKilled()) {
      ASSERT_EQ(outcome.exitStatus, 0);
      break;
    }
  }
}

TEST(StoreReplacementFaults, NeverTakeAFailingDiskForAFileThatIsNoDatabase) {
  const Stores stores;
  for (const int code : {SQLITE_IOERR_READ, SQLITE_CANTOPEN, SQLITE_BUSY, SQLITE_PERM}) {
    FaultVFS vfs;
    vfs.watch(support::bit(support::FileOperation::open) |
              support::bit(support::FileOperation::read) |
              support::bit(support::FileOperation::lock));
    // Both files have been looked at by then; what follows reads the pages that are copied.
    for (std::size_t point = 1; point < 60; ++point) {
      vfs.reset();
      vfs.skipWaits();
      const StoreVFSOverride override(vfs.name());
      vfs.failAt(point, code);
      const std::int64_t error = shelf::errorCode([&] { stores.replace(); });
      EXPECT_NE(error, number(StoreErrorCode::notAStore)) << code << " at " << point;
      for (const std::string& name : stores.old.names()) {
        ASSERT_EQ(name.find("salvage"), name.npos) << code << " at " << point;
      }
      if (!vfs.faultWasReached()) break;
    }
  }
}

// What others do meanwhile.

TEST(StoreReplacementFaults, NeverOverwriteWhatAConcurrentWriterSaved) {
  constexpr int kRounds = 60;
  int replaced = 0;
  int refused = 0;
  for (int round = 0; round < kRounds; ++round) {
    const StoreFile old;
    const StoreFile young;
    young.open()->close();
    const ChildOutcome outcome = support::runInChild([&](const support::Acknowledgements& done) {
      const auto store = old.open();
      StoreClaim claim(old.url(), kImpatient);
      claim.markRead();
      const pid_t writer = fork();
      if (writer == 0) {
        try {
          coredata::StoreOptions options = old.options();
          options.busyTimeout = std::chrono::seconds(10);
          ReadSession session(old.open(options));
          for (int i = 0; i < round % 6; ++i) sched_yield();
          shelf::insertBook(session, "Emma");
          done.send("saved");
        } catch (const foundation::Error& error) {
          done.send("writer " + std::to_string(error.code()));
        }
        _exit(0);
      }
      usleep(static_cast<useconds_t>(round % 20) * 200);
      done.send("replacement " + std::to_string(shelf::errorCode([&] {
                  coredata::replaceStore(old.url(), young.url(), std::chrono::seconds(10));
                })));
      int status = 0;
      waitpid(writer, &status, 0);
    });
    ASSERT_FALSE(outcome.timedOut);
    const bool wasSaved = std::ranges::count(outcome.acknowledged, "saved") == 1;
    const bool wasReplaced = std::ranges::count(outcome.acknowledged, "replacement 0") == 1;
    const Lines books = shelf::query(old.path(), "SELECT count(*) FROM Book");
    // A save behind the replacement went into the new content.
    EXPECT_EQ(books, Lines{wasSaved ? "1" : "0"}) << testing::PrintToString(outcome.acknowledged);
    if (!wasReplaced) {
      EXPECT_EQ(std::ranges::count(
                    outcome.acknowledged,
                    "replacement " + std::to_string(number(StoreErrorCode::changedMeanwhile))),
                1)
          << testing::PrintToString(outcome.acknowledged);
    }
    (wasReplaced ? replaced : refused) += 1;
  }
  RecordProperty("replaced", replaced);
  RecordProperty("refused", refused);
}

TEST(StoreReplacementFaults, StartAgainWhenSomebodySavesBeforeTheLock) {
  const Stores stores;
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  // The first page that the copy with the marks is made of is written after the store was looked
  // at, and before it is locked.
  const ChildOutcome outcome = support::runInChild([&](const auto& done) {
    ReadSession session(stores.old.open());
    vfs.reset();
    vfs.watch(support::bit(support::FileOperation::create));
    vfs.callAt(1, [&] { shelf::insertBook(session, "Lady Susan"); });
    const HistoryPosition before = session.newestTransaction();
    stores.replace();
    done.send(std::to_string(stores.old.open()->newestTransaction().number - before.number));
  });

  EXPECT_EQ(outcome.acknowledged, Lines{"1"});
}

TEST(StoreReplacementFaults, OpenNoStoreButThroughSQLite) {
  const Stores stores;
  const Letter letter;
  const StoreFile missing;
  const FaultyFileSystem files;

  stores.replace();
  letter.replace(stores.young);
  coredata::replaceStore(missing.url(), stores.young.url(), kImpatient);
  coredata::destroyStore(stores.old.url(), kImpatient);

  const Lines made{missing.path(), stores.old.path() + "-incoming",
                   letter.file.path() + "-incoming"};
  for (const std::string& path : files.opened()) {
    const bool isOurs = path.ends_with("-migration") || path.ends_with("-lock") ||
                        std::filesystem::is_directory(path);
    // A new file may be opened by who makes it: nobody can have it open yet.
    EXPECT_TRUE(isOurs || std::ranges::count(made, path) == 1) << path;
  }
  for (const std::string& path : made) EXPECT_EQ(std::ranges::count(files.opened(), path), 1);
}

// Destroying.

TEST(StoreDestructionFaults, LeaveAStoreWholeOrGoneAfterDeathAtAnyPoint) {
  for (std::size_t point = 1;; ++point) {
    const Stores stores;
    const ChildOutcome outcome = support::runInChild([&](const auto&) {
      FaultVFS vfs;
      vfs.killAt(point);
      const StoreVFSOverride override(vfs.name());
      coredata::destroyStore(stores.old.url(), kImpatient);
    });
    ASSERT_FALSE(outcome.timedOut) << point;
    if (!outcome.wasKilled()) {
      ASSERT_EQ(outcome.exitStatus, 0);
      EXPECT_EQ(stores.old.names(), Lines{});
      break;
    }
    if (std::filesystem::exists(stores.old.path())) {
      EXPECT_FALSE(stores.isReplaced()) << point;
    }
    EXPECT_NO_THROW(coredata::destroyStore(stores.old.url(), kImpatient)) << point;
  }
}

TEST(StoreDestructionFaults, LeaveAStoreWholeOrGoneWhenAnyRemovalFails) {
  for (std::size_t change = 1;; ++change) {
    const Stores stores;
    std::int64_t error = 0;
    bool reached = false;
    {
      const FaultyFileSystem faults(FileFault::failOnce, change, EACCES);
      error = shelf::errorCode([&] { coredata::destroyStore(stores.old.url(), kImpatient); });
      reached = faults.wasReached();
    }
    if (error != 0) {
      EXPECT_EQ(error, number(StoreErrorCode::notWritable)) << change;
      EXPECT_FALSE(stores.isReplaced()) << change;
    } else {
      EXPECT_FALSE(std::filesystem::exists(stores.old.path())) << change;
    }
    if (!reached) break;
  }
}
