#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreData/SQLite/WriteAheadLog.h"
#include "Foundation/Values/Error.h"
#include "Tests/Processes/Companion.h"
#include "Tests/Processes/SharedNumbers.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreFiles.h"

// Two processes that write and two that fold the log, which is so short that it begins anew all the
// time. A checkpoint and a restart of the log that meet are where commits can be lost.

namespace {

using coredata::NSManagedObjectContext;
using coredata::StoreErrorCode;
using foundation::Error;
using foundation::Ref;
using support::Companion;
using support::Line;
using Version = coredatastack::CoreDataMigrationVersion;
using Clock = std::chrono::steady_clock;

constexpr int kWriters = 2;
constexpr int kCheckpointers = 2;
constexpr int kShortLog = 4;
constexpr std::chrono::seconds kLongestRound{10};

/// What the processes of a round did.
struct Tally {
  std::atomic<bool> isOver{false};
  /// The saves of each process that returned.
  std::atomic<std::int64_t> saved[kWriters + kCheckpointers] = {};
  /// Saves that returned, and that the next one did not find.
  std::atomic<std::int64_t> lost{0};
  std::atomic<std::int64_t> busy{0};
  std::atomic<std::int64_t> damaged{0};
  std::atomic<std::int64_t> folds{0};
  /// How often the log began anew.
  std::atomic<std::int64_t> restarts{0};
};
using Shared = support::SharedNumbers<Tally>;

struct Outcome {
  std::int64_t saves = 0;
  std::int64_t lost = 0;
  std::int64_t busy = 0;
  std::int64_t folds = 0;
  std::int64_t restarts = 0;
  /// Errors that said the file was damaged, and rounds whose file was.
  std::int64_t damaged = 0;
  int rounds = 0;

  void add(const Tally& tally) {
    for (const auto& saved : tally.saved) saves += saved;
    lost += tally.lost;
    busy += tally.busy;
    folds += tally.folds;
    restarts += tally.restarts;
    damaged += tally.damaged;
    ++rounds;
  }
  void print(const char* who) const {
    std::printf(
        "%s: %d rounds, %lld saves, %lld folds asked for, %lld new logs, %lld refused as "
        "busy; %lld lost, %lld times damaged\n",
        who, rounds, static_cast<long long>(saves), static_cast<long long>(folds),
        static_cast<long long>(restarts), static_cast<long long>(busy),
        static_cast<long long>(lost), static_cast<long long>(damaged));
  }
};

/// Lets the processes work for the round's time, and sees to it that all of them end well.
template <typename Write, typename Fold>
void runRound(Shared& shared, std::chrono::milliseconds time, Write&& write, Fold&& fold) {
  std::vector<std::unique_ptr<Companion>> processes;
  for (int i = 0; i < kWriters; ++i) {
    processes.push_back(std::make_unique<Companion>([&](Line&) { write(i); }));
  }
  for (int i = kWriters; i < kWriters + kCheckpointers; ++i) {
    processes.push_back(std::make_unique<Companion>([&](Line&) { fold(i); }));
  }
  std::this_thread::sleep_for(time);
  shared->isOver = true;
  for (const auto& process : processes) EXPECT_TRUE(process->endedWell());
}

template <typename Round>
void runFor(std::chrono::milliseconds time, Round&& round) {
  const auto end = Clock::now() + time;
  while (!testing::Test::HasFailure()) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) break;
    round(std::min<std::chrono::milliseconds>(left, kLongestRound));
  }
}

std::chrono::milliseconds timeGiven() {
  return std::chrono::seconds(support::numberFrom("LOG_RACE_SECONDS", 3)) / 2;
}

std::string nameOf(int process) { return "process " + std::to_string(process); }

/// Nothing is to survive the machine here, so nobody waits for the disk: more commits meet. Counts
/// how often the process was the one to begin a new log.
class Unsynced {
 public:
  explicit Unsynced(Tally& tally) : tally_(tally) {
    vfs_.watch(support::bit(support::FileOperation::write));
    vfs_.skipSyncs();
  }
  ~Unsynced() {
    for (const auto& record : vfs_.records()) {
      if (record.file == "-wal" && record.offset == 0) ++tally_.restarts;
    }
  }
  Unsynced(const Unsynced&) = delete;
  Unsynced& operator=(const Unsynced&) = delete;

 private:
  Tally& tally_;
  support::FaultVFS vfs_;
  coredata::StoreVFSOverride override_{vfs_.name()};
};

/// A process's own row, whose number rises by one with each save.
class Row {
 public:
  Row(const foundation::URL& store, int process)
      : context_(support::contextOver(store, Version::version7)), title_(nameOf(process)) {}

  /// False when somebody else was at it for too long. What the store holds must be what the last
  /// save wrote.
  [[nodiscard]] bool raise(std::int64_t saved, std::atomic<std::int64_t>& lost) const {
    return context_->performBlockAndWait([&] {
      try {
        context_->reset();
        const auto row = own();
        if (row->valueForKey("checkinMaxCount").number()->doubleValue() !=
            static_cast<double>(saved)) {
          ++lost;
        }
        row->setValue(static_cast<double>(saved + 1), "checkinMaxCount");
        row->setValue(std::string(3000, static_cast<char>('a' + saved % 26)), "memo");
        context_->save();
        return true;
      } catch (const Error& error) {
        if (error.code() != support::number(StoreErrorCode::busy)) throw;
        context_->rollback();
        return false;
      }
    });
  }

 private:
  [[nodiscard]] Ref<coredata::NSManagedObject> own() const {
    for (const auto& row : support::allObjects(*context_, "Activity")) {
      if (*row->valueForKey("title").text() == title_) return row;
    }
    throw std::runtime_error("the row of " + title_ + " has gone");
  }

  Ref<NSManagedObjectContext> context_;
  std::string title_;
};

class OurLog : public testing::Test {
 protected:
  void makeStore() const {
    EXPECT_TRUE(Companion([&](Line&) {
                  support::edit(place_.storeURL(), Version::version7, [](auto& context) {
                    for (int i = 0; i < kWriters + kCheckpointers; ++i) {
                      const auto row = context.insertNewObject("Activity");
                      row->setValue(nameOf(i), "title");
                      row->setValue(0.0, "checkinMaxCount");
                    }
                  });
                }).endedWell());
  }
  void save(const Row& row, Shared& shared, int process) const {
    if (row.raise(shared->saved[process], shared->lost)) {
      ++shared->saved[process];
    } else {
      ++shared->busy;
    }
  }
  void write(Shared& shared, int process) const {
    const coredata::WriteAheadLog::LongLogOverride isShort(kShortLog);
    const Unsynced unsynced(*shared);
    const Row row(place_.storeURL(), process);
    while (!shared->isOver) save(row, shared, process);
  }
  /// Whoever closes a store folds its log.
  void openAndClose(Shared& shared, int process) const {
    const coredata::WriteAheadLog::LongLogOverride isShort(kShortLog);
    const Unsynced unsynced(*shared);
    while (!shared->isOver) {
      const Row row(place_.storeURL(), process);
      save(row, shared, process);
      ++shared->folds;
    }
  }
  [[nodiscard]] Tally& round(Shared& shared, std::chrono::milliseconds time) const {
    std::filesystem::remove(path());
    for (const char* suffix : {"-wal", "-shm", "-lock", "-bell"}) {
      std::filesystem::remove(path() + suffix);
    }
    makeStore();
    runRound(
        shared, time, [&](int process) { write(shared, process); },
        [&](int process) { openAndClose(shared, process); });
    return *shared;
  }
  /// The store as it is after the round: sound, with every save in its rows and in its history.
  void expectWhole(const Tally& tally) const {
    const support::StoreLook look(path());
    EXPECT_NO_THROW(static_cast<void>(look.contents()));
    std::int64_t saves = 1;
    for (int i = 0; i < kWriters + kCheckpointers; ++i) {
      EXPECT_EQ(look.column("SELECT CAST(checkinMaxCount AS INTEGER) FROM Activity WHERE title='" +
                            nameOf(i) + "'"),
                std::vector<std::string>{std::to_string(tally.saved[i])});
      saves += tally.saved[i];
    }
    EXPECT_EQ(look.column("SELECT count(*) FROM _transaction"),
              std::vector<std::string>{std::to_string(saves)});
    EXPECT_EQ(tally.lost, 0);
  }
  [[nodiscard]] std::string path() const { return *place_.storeURL().filePath(); }

  support::MigrationPlace place_;
};

TEST_F(OurLog, LosesNothingThoughItRestartsAllTheTime) {
  Outcome outcome;
  runFor(timeGiven(), [&](auto time) {
    Shared shared;
    const Tally& tally = round(shared, time);
    expectWhole(tally);
    outcome.add(tally);
  });
  outcome.print("our policy");
  EXPECT_GT(outcome.saves, 0);
  EXPECT_GT(outcome.folds, 0);
  // Else the log was not short.
  EXPECT_GT(outcome.restarts, outcome.saves / 20);
}

/// A plain connection that checkpoints by itself after each commit, as the default is, only sooner.
class PlainConnection {
 public:
  explicit PlainConnection(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                        coredata::storeVFS()) != SQLITE_OK) {
      throw std::runtime_error("not opened");
    }
    sqlite3_busy_timeout(handle_, 5000);
    run("PRAGMA journal_mode=WAL; PRAGMA synchronous=OFF");
    run("PRAGMA wal_autocheckpoint=" + std::to_string(kShortLog));
  }
  ~PlainConnection() { sqlite3_close(handle_); }
  PlainConnection(const PlainConnection&) = delete;
  PlainConnection& operator=(const PlainConnection&) = delete;

  int run(const std::string& sql) const {
    return sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) & 0xff;
  }
  /// The number in the first row and column; -1 when there is none.
  [[nodiscard]] std::int64_t number(const std::string& sql) const {
    sqlite3_stmt* statement = nullptr;
    std::int64_t result = -1;
    if (sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
      result = sqlite3_column_int64(statement, 0);
    }
    sqlite3_finalize(statement);
    return result;
  }
  void checkpoint(int mode) const {
    sqlite3_wal_checkpoint_v2(handle_, nullptr, mode, nullptr, nullptr);
  }

 private:
  sqlite3* handle_ = nullptr;
};

class PlainLog : public testing::Test {
 protected:
  static void write(const std::string& path, Shared& shared, int process) {
    const Unsynced unsynced(*shared);
    const PlainConnection connection(path);
    const std::string own = " WHERE process=" + std::to_string(process);
    while (!shared->isOver) {
      if (connection.run("BEGIN IMMEDIATE") != SQLITE_OK) {
        ++shared->busy;
        continue;
      }
      if (connection.number("SELECT number FROM progress" + own) != shared->saved[process]) {
        ++shared->lost;
      }
      const std::string next = std::to_string(shared->saved[process] + 1);
      connection.run("UPDATE progress SET number=" + next + ", text=randomblob(3000)" + own);
      connection.run("INSERT INTO log(process, number) VALUES(" + std::to_string(process) + "," +
                     next + ")");
      const int result = connection.run("COMMIT");
      if (result == SQLITE_OK) ++shared->saved[process];
      if (result == SQLITE_CORRUPT || result == SQLITE_NOTADB) ++shared->damaged;
      if (result != SQLITE_OK) connection.run("ROLLBACK");
    }
  }
  static void checkpoint(const std::string& path, Shared& shared) {
    const Unsynced unsynced(*shared);
    const PlainConnection connection(path);
    for (int i = 0; !shared->isOver; ++i) {
      connection.checkpoint(i % 4 == 0 ? SQLITE_CHECKPOINT_RESTART : SQLITE_CHECKPOINT_PASSIVE);
      ++shared->folds;
    }
  }
  /// What a look at the file afterwards says of it, added to what the processes saw.
  static void look(const std::string& path, Tally& tally) {
    const PlainConnection connection(path);
    if (connection.number("SELECT integrity_check='ok' FROM pragma_integrity_check") != 1) {
      ++tally.damaged;
    }
    for (int i = 0; i < kWriters; ++i) {
      const std::string own = " WHERE process=" + std::to_string(i);
      const std::int64_t missing =
          tally.saved[i] - connection.number("SELECT count(*) FROM log" + own);
      tally.lost += std::max<std::int64_t>(missing, 0);
    }
  }
};

/// For comparison: what the library's own way of folding does under the same load. Nothing is asked
/// of it; the outcome is printed.
TEST_F(PlainLog, IsRunBesideIt) {
  const support::TemporaryDirectory directory;
  Outcome outcome;
  runFor(timeGiven(), [&](auto time) {
    const std::string path =
        (directory.path() / ("plain" + std::to_string(outcome.rounds))).string();
    {
      const PlainConnection connection(path);
      connection.run("CREATE TABLE progress(process INTEGER PRIMARY KEY, number, text)");
      connection.run("CREATE TABLE log(id INTEGER PRIMARY KEY, process, number)");
      connection.run("CREATE INDEX byProcess ON log(process, number)");
      connection.run("INSERT INTO progress VALUES(0, 0, ''), (1, 0, '')");
    }
    Shared shared;
    runRound(
        shared, time, [&](int process) { write(path, shared, process); },
        [&](int) { checkpoint(path, shared); });
    look(path, *shared);
    outcome.add(*shared);
  });
  outcome.print(("SQLite " + std::string(sqlite3_libversion()) + " by default").c_str());
  EXPECT_GT(outcome.saves, 0);
}

}  // namespace
