#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/FaultyFileSystem.h"

// Every operation on a file that creating a store, saving and closing make is hit once: by death,
// and by an error.

namespace {
using coredata::ObjectKey;
using coredata::ReadSession;
using coredata::StoreErrorCode;
using coredata::StoreVFSOverride;
using foundation::Ref;
using shelf::StoreFile;
using support::Acknowledgements;
using support::ChildOutcome;
using support::FaultVFS;
using Lines = std::vector<std::string>;

/// What every store must be, whatever happened to whoever wrote it: whole, with a history that
/// tells of each row.
void expectSound(const StoreFile& file) {
  EXPECT_EQ(shelf::query(file.path(), "PRAGMA integrity_check"), Lines{"ok"});
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"),
            shelf::query(file.path(), "SELECT count(*) FROM _change WHERE kind=0"));
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM _transaction"),
            shelf::query(file.path(), "SELECT count(DISTINCT \"transaction\") FROM _change"));
}

std::size_t bookCount(const StoreFile& file) {
  return std::stoul(shelf::query(file.path(), "SELECT count(*) FROM Book").front());
}

/// Opens the file, saves two books, closes; says each step.
void fillStore(const StoreFile& file, const Acknowledgements& done) {
  const auto store = file.open();
  done.send("opened");
  ReadSession session(store);
  for (int i = 0; i < 2; ++i) {
    shelf::insertBook(session, "Emma");
    done.send("saved");
  }
  store->close();
  done.send("closed");
}

std::size_t savesIn(const ChildOutcome& outcome) {
  return static_cast<std::size_t>(std::ranges::count(outcome.acknowledged, "saved"));
}
}  // namespace

TEST(StoreFaults, AStoreIsWholeAfterDeathAtAnyPointOfItsFirstUse) {
  for (std::size_t point = 1;; ++point) {
    const StoreFile file;
    const ChildOutcome outcome = support::runInChild([&](const Acknowledgements& done) {
      FaultVFS vfs;
      vfs.killAt(point);
      const StoreVFSOverride override(vfs.name());
      fillStore(file, done);
    });
    ASSERT_FALSE(outcome.timedOut) << point;
    file.open()->close();
    expectSound(file);
    EXPECT_GE(bookCount(file), savesIn(outcome)) << point;
    EXPECT_LE(bookCount(file), savesIn(outcome) + 1) << point;
    if (outcome.signal != SIGKILL) {
      ASSERT_EQ(outcome.exitStatus, 0);
      EXPECT_GT(point, 20U);
      break;
    }
  }
}

TEST(StoreFaults, AnotherProcessGoesOnAfterTheDeathOfAWriter) {
  for (std::size_t point = 1;; ++point) {
    const StoreFile file;
    file.open()->close();
    const ChildOutcome outcome = support::runInChild([&](const Acknowledgements& done) {
      FaultVFS vfs;
      const StoreVFSOverride override(vfs.name());
      const auto store = file.open();
      ReadSession session(store);
      shelf::insertBook(session, "Emma");
      vfs.reset();
      vfs.killAt(point);
      shelf::insertBook(session, "Persuasion");
      done.send("saved");
    });
    ReadSession session(file.open());
    const ObjectKey key = shelf::insertBook(session, "Sanditon");
    EXPECT_EQ(shelf::titleOf(session, key), "Sanditon");
    EXPECT_EQ(shelf::titleOf(session, 1), "Emma");
    expectSound(file);
    if (!outcome.wasKilled()) break;
  }
}

class StoreErrors : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(StoreErrors, WhileOpeningAreThrownAndTheNextOpeningSucceeds) {
  const auto [code, persistent] = GetParam();
  for (std::size_t point = 1;; ++point) {
    const StoreFile file;
    FaultVFS vfs;
    {
      const StoreVFSOverride override(vfs.name());
      vfs.failAt(point, code, persistent);
      try {
        file.open()->close();
      } catch (const foundation::Error& error) {
        EXPECT_FALSE(error.message().empty());
      }
    }
    file.open()->close();
    expectSound(file);
    if (!vfs.faultWasReached()) break;
  }
}

TEST_P(StoreErrors, WhileSavingAreThrownAndLeaveAllOrNothing) {
  const auto [code, persistent] = GetParam();
  for (std::size_t point = 1;; ++point) {
    const StoreFile file;
    FaultVFS vfs;
    bool saved = false;
    {
      const StoreVFSOverride override(vfs.name());
      const auto store = file.open();
      ReadSession session(store);
      shelf::insertBook(session, "Emma");
      vfs.reset();
      vfs.failAt(point, code, persistent);
      try {
        shelf::insertBook(session, "Persuasion");
        saved = true;
      } catch (const foundation::Error& error) {
        EXPECT_EQ(error.domain(), foundation::kSQLiteErrorDomain) << error.message();
      }
      if (!vfs.faultWasReached()) {
        EXPECT_TRUE(saved);
        EXPECT_GT(point, 3U);
        break;
      }
      vfs.reset();
      // The same store goes on once the disk does.
      const ObjectKey key = shelf::insertBook(session, "Sanditon");
      EXPECT_EQ(shelf::titleOf(session, key), "Sanditon") << point;
    }
    expectSound(file);
    const std::size_t count = bookCount(file);
    EXPECT_GE(count, saved ? 3U : 2U) << point;
    EXPECT_LE(count, 3U) << point;
  }
}

INSTANTIATE_TEST_SUITE_P(Codes, StoreErrors,
                         testing::Values(std::tuple(SQLITE_IOERR, false),
                                         std::tuple(SQLITE_IOERR, true),
                                         std::tuple(SQLITE_FULL, false)));

TEST(StoreFaults, AStoreThatCouldBeOpenedKeepsALog) {
  bool reached = true;
  for (std::size_t point = 1; reached; ++point) {
    const StoreFile file;
    FaultVFS vfs;
    bool isOpened = false;
    {
      const StoreVFSOverride override(vfs.name());
      vfs.failAt(point, SQLITE_FULL);
      isOpened = shelf::errorCode([&] { file.open()->close(); }) == 0;
      reached = vfs.faultWasReached();
    }
    if (isOpened) {
      EXPECT_EQ(shelf::query(file.path(), "PRAGMA journal_mode"), Lines{"wal"}) << point;
    }
    EXPECT_TRUE(isOpened || reached) << point;
  }
}

TEST(StoreFaults, AStoreBehindALinkIsOpenedUnderItsOwnNameOrNotAtAll) {
  const StoreFile file;
  file.open()->close();
  const std::string link = (file.directory() / "link").string();
  std::filesystem::create_symlink(file.path(), link);
  coredata::StoreOptions options = file.options();
  options.url = foundation::URL::fileURL(link);
  bool isReached = true;
  for (std::size_t point = 1; isReached; ++point) {
    SCOPED_TRACE(point);
    support::FaultyFileSystem faulty(support::FileFault::failOnce, point, EIO,
                                     support::bit(support::FileOperation::access));
    try {
      const auto store = file.open(options);
      EXPECT_EQ(store->path(), file.path());
      store->close();
    } catch (const foundation::Error&) {
      EXPECT_TRUE(faulty.wasReached());
    }
    isReached = faulty.wasReached();
  }
  EXPECT_FALSE(std::filesystem::exists(link + "-wal"));
}

TEST(StoreFaults, TheConnectionOfAFailedCommitIsReplaced) {
  const StoreFile file;
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  const auto store = file.open();
  ReadSession session(store);
  shelf::insertBook(session, "Emma");
  const std::uint64_t before = store->core().lease()->serial();
  vfs.reset();
  vfs.watch(support::bit(support::FileOperation::sync));
  vfs.failAt(1, SQLITE_IOERR_FSYNC);

  EXPECT_EQ(shelf::errorCode([&] { shelf::insertBook(session, "Persuasion"); }),
            SQLITE_IOERR_FSYNC);

  EXPECT_NE(store->core().lease()->serial(), before);
}

TEST(StoreFaults, DoesNotChangeACachedRowWhenTheCommitFails) {
  const StoreFile file;
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  const auto store = file.open();
  ReadSession session(store);
  const ObjectKey key = shelf::insertBook(session, "Emma");
  vfs.reset();
  vfs.watch(support::bit(support::FileOperation::write));
  vfs.failAt(1, SQLITE_IOERR_WRITE);

  EXPECT_NE(
      shelf::errorCode([&] { static_cast<void>(shelf::setTitle(session, key, "Persuasion")); }), 0);

  EXPECT_EQ(shelf::titleOf(session, key), "Emma");
}

TEST(StoreFaults, AChildOfAForkIsRefusedAndTheParentGoesOn) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  session.begin();
  const ObjectKey key = shelf::insertBook(session, "Emma");
  EXPECT_EQ(shelf::titleOf(session, key), "Emma");

  const ChildOutcome outcome = support::runInChild([&](const Acknowledgements& done) {
    ReadSession inherited(store);
    const auto code = shelf::errorCode([&] { static_cast<void>(shelf::titleOf(inherited, 77)); });
    done.send(std::to_string(code));
    store->close();
  });

  EXPECT_EQ(outcome.acknowledged,
            Lines{std::to_string(static_cast<std::int64_t>(StoreErrorCode::forked))});
  const ReadSession others(file.open());
  EXPECT_EQ(shelf::titleOf(session, shelf::insertBook(session, "Persuasion")), "Persuasion");
  session.end();
  store->close();
  expectSound(file);
}

TEST(StoreFaults, ProcessesThatMeetAtAMissingStoreMakeOne) {
  for (int round = 0; round < 5; ++round) {
    const StoreFile file;
    const ChildOutcome outcome = support::runInChild([&](const Acknowledgements& done) {
      coredata::StoreOptions options = file.options();
      options.busyTimeout = std::chrono::seconds(10);
      std::vector<pid_t> others;
      for (int i = 0; i < 3; ++i) {
        const pid_t child = fork();
        if (child != 0) {
          others.push_back(child);
          continue;
        }
        try {
          ReadSession session(file.open(options));
          shelf::insertBook(session, "Emma");
          _exit(0);
        } catch (const std::exception& error) {
          done.send(error.what());
          _exit(1);
        }
      }
      for (const pid_t child : others) {
        int status = 0;
        waitpid(child, &status, 0);
        done.send(WIFEXITED(status) && WEXITSTATUS(status) == 0 ? "good" : "bad");
      }
    });
    EXPECT_EQ(outcome.acknowledged, (Lines{"good", "good", "good"}));
    EXPECT_EQ(bookCount(file), 3U);
    expectSound(file);
  }
}
