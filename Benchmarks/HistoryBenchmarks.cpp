#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <thread>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Fixture.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "CoreData/SQLite/SQLiteStoreError.h"

namespace benchmarks {

using coredata::NSPersistentHistoryChangeRequest;
using coredata::NSPersistentHistoryChangeType;
using coredata::NSPersistentHistoryResult;
using foundation::Date;
using foundation::NSPredicate;

namespace {

constexpr double kMicroseconds = 1e6;
constexpr double kMilliseconds = 1e3;
constexpr int kChangesOfEach = 5;
constexpr int kQuestions = 100;
constexpr const char* kOwn = "app";
constexpr const char* kForeign = "share";

/// Adds transactions to the history of a store that nobody has open: numbers and stamps from
/// `first` on, five updates of check-ins each.
void addHistory(sqlite3* database, std::int64_t first, std::int64_t count, const char* author) {
  const std::string name = std::string("(SELECT id FROM _name WHERE text='") + author + "')";
  if (count == 0) return;
  const std::string from = std::to_string(first);
  const std::string end = std::to_string(first + count);
  execute(database,
          std::string("INSERT OR IGNORE INTO _name(text) VALUES('Checkin'), ('") + author + "')");
  execute(database, "WITH RECURSIVE n(i) AS (SELECT " + from +
                        " UNION ALL SELECT i+1 FROM n WHERE i+1<" + end +
                        ") INSERT INTO _transaction(number, timestamp, author, process) "
                        "SELECT i, i, " +
                        name + ", 1 FROM n");
  execute(database, "WITH RECURSIVE s(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM s WHERE i<" +
                        std::to_string(kChangesOfEach) +
                        ") INSERT INTO _change SELECT number, i, (SELECT id FROM _name WHERE "
                        "text='Checkin'), number, 1, 2 FROM _transaction, s WHERE number>=" +
                        from);
}

/// A store whose history begins with what others saved and goes on with what is one's own.
class WrittenHistory : public StoreDirectory {
 public:
  WrittenHistory(std::int64_t foreign, std::int64_t own) : foreign_(foreign), own_(own) {
    { const EngineStore made(ourPath(), Durability::full); }
    const Database database = openDatabase(ourPath());
    execute(database.get(), "BEGIN");
    addHistory(database.get(), 1, foreign, kForeign);
    addHistory(database.get(), foreign + 1, own, kOwn);
    // As the library keeps them: up to where the other author reaches.
    execute(database.get(), "INSERT INTO _mark SELECT '_author ' || id, " +
                                std::to_string(foreign) + " FROM _name WHERE text='" + kForeign +
                                "'");
    execute(database.get(), "INSERT INTO _mark VALUES('_author', 0)");
    execute(database.get(), "COMMIT");
  }

  [[nodiscard]] std::int64_t foreign() const noexcept { return foreign_; }
  [[nodiscard]] std::int64_t transactions() const noexcept { return foreign_ + own_; }

 private:
  std::int64_t foreign_;
  std::int64_t own_;
};

coredata::NSPersistentHistoryChangeRequest newsAfter(double stamp) {
  auto request =
      NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(Date::fromReference(stamp));
  auto which = coredata::NSPersistentHistoryTransaction::fetchRequest();
  which->setPredicate(NSPredicate::format("author != %@", kOwn));
  request.setFetchRequest(which);
  return request;
}

NSPersistentHistoryResult::Transactions news(const EngineStore& store, double after) {
  const auto result = store.inBlock([&] { return store.context().execute(newsAfter(after)); });
  return std::get<NSPersistentHistoryResult::Transactions>(
      dynamic_cast<const NSPersistentHistoryResult&>(*result).result());
}

/// What somebody would keep of a transaction and its changes.
struct Change {
  std::int64_t entity;
  std::int64_t key;
  std::int64_t kind;
  std::int64_t columns;
};
struct Transaction {
  std::int64_t number;
  double stamp;
  std::string author;
  std::int64_t process;
  std::vector<Change> changes;
};

/// All that others saved, each property read: a pass of the application over its history.
class Pass {
 public:
  explicit Pass(std::int64_t transactions)
      : history_(transactions, transactions),
        ours_(history_.ourPath(), Durability::full),
        database_(openDatabase(history_.ourPath())),
        transactions_(database_.get(),
                      "SELECT number, timestamp, text, process FROM _transaction LEFT JOIN _name "
                      "ON id=author WHERE timestamp>? AND text IS NOT ? ORDER BY number"),
        changes_(database_.get(),
                 "SELECT \"transaction\", entity, key, kind, changed FROM _change WHERE "
                 "\"transaction\">=? AND \"transaction\"<=? ORDER BY \"transaction\", sequence") {}

  Run ours() {
    std::int64_t sum = 0;
    const Cost cost = costOf([&] {
      for (const auto& transaction : news(ours_, 0)) {
        sum += transaction->transactionNumber() +
               static_cast<std::int64_t>(transaction->author()->size());
        for (const auto& change : transaction->changes()) {
          sum += change.changedObjectID()->key();
          if (change.changeType() == NSPersistentHistoryChangeType::update) ++sum;
        }
      }
    });
    return {cost * kMilliseconds, sum};
  }

  Run byHand() {
    std::int64_t sum = 0;
    const Cost cost = costOf([&] {
      for (const Transaction& transaction : readByHand()) {
        sum += transaction.number + static_cast<std::int64_t>(transaction.author.size());
        for (const Change& change : transaction.changes) {
          sum += change.key;
          if (change.kind == 1) ++sum;
        }
      }
    });
    return {cost * kMilliseconds, sum};
  }

 private:
  std::vector<Transaction> readByHand() {
    std::vector<Transaction> found;
    transactions_.bind(1, 0.0);
    transactions_.bind(2, std::string_view(kOwn));
    while (transactions_.step()) {
      found.push_back({transactions_.integer(0),
                       transactions_.real(1),
                       std::string(transactions_.text(2)),
                       transactions_.integer(3),
                       {}});
    }
    transactions_.reset();
    if (found.empty()) return found;
    changes_.bind(1, found.front().number);
    changes_.bind(2, found.back().number);
    auto owner = found.begin();
    while (changes_.step()) {
      while (owner->number < changes_.integer(0)) ++owner;
      owner->changes.push_back(
          {changes_.integer(1), changes_.integer(2), changes_.integer(3), changes_.integer(4)});
    }
    changes_.reset();
    return found;
  }

  WrittenHistory history_;
  EngineStore ours_;
  Database database_;
  PreparedStatement transactions_;
  PreparedStatement changes_;
};

/// Asks again and again whether others saved anything since the last of theirs. By hand it is the
/// one question of the newest number, which is the least that anybody can ask.
class NothingNew {
 public:
  explicit NothingNew(std::int64_t own)
      : history_(1, own),
        ours_(history_.ourPath(), Durability::full),
        database_(openDatabase(history_.ourPath())),
        newest_(database_.get(),
                "SELECT number, author FROM _transaction ORDER BY number DESC LIMIT 1") {}

  Run ours() {
    std::int64_t found = 0;
    const Cost cost = costOf([&] {
      for (int i = 0; i < kQuestions; ++i) {
        found += static_cast<std::int64_t>(news(ours_, 1).size());
      }
    });
    return {cost * (kMicroseconds / kQuestions), found};
  }

  Run byHand() {
    std::int64_t found = 0;
    const Cost cost = costOf([&] {
      for (int i = 0; i < kQuestions; ++i) {
        if (!newest_.step() || newest_.integer(0) != history_.transactions()) ++found;
        newest_.reset();
      }
    });
    return {cost * (kMicroseconds / kQuestions), found};
  }

 private:
  WrittenHistory history_;
  EngineStore ours_;
  Database database_;
  PreparedStatement newest_;
};

/// The whole of a long history deleted, of which each round gets a copy.
class Deletion {
 public:
  explicit Deletion(std::int64_t transactions) : history_(0, transactions) {}

  Run ours() {
    return timed([](const std::string& path) { deleteOurs(path); });
  }
  Run byHand() {
    return timed([](const std::string& path) { deleteByHand(path); });
  }
  /// The longest save of somebody else meanwhile.
  Run longestWaitOfOurs() {
    return waited([](const std::string& path) { deleteOurs(path); });
  }
  Run longestWaitByHand() {
    return waited([](const std::string& path) { deleteByHand(path); });
  }

 private:
  static void deleteOurs(const std::string& path) {
    const EngineStore store(path, Durability::full);
    store.inBlock([&] {
      (void)store.context().execute(
          NSPersistentHistoryChangeRequest::deleteHistoryBeforeDate(Date::distantFuture()));
    });
  }
  static void deleteByHand(const std::string& path) {
    const Database database = openDatabase(path);
    execute(database.get(),
            "PRAGMA busy_timeout=60000; BEGIN IMMEDIATE; DELETE FROM _change WHERE "
            "\"transaction\"<1e9; "
            "DELETE FROM _transaction WHERE number<1e9; COMMIT");
  }

  template <typename Delete>
  Run timed(Delete&& work) {
    const StoreDirectory copy;
    std::filesystem::copy_file(history_.ourPath(), copy.ourPath());
    return {costOf([&] { work(copy.ourPath()); }) * kMilliseconds, 0};
  }

  /// Saves as often as it takes: whoever deletes at one go holds others up for longer than a save
  /// waits.
  static void saveInTheEnd(const EngineStore& store) {
    store.inBlock([&] {
      (void)coredatastack::CDActivity::create(store.context(), "green");
      while (store.context().hasChanges()) {
        try {
          store.context().save();
        } catch (const foundation::Error& error) {
          if (error.code() != static_cast<std::int64_t>(coredata::StoreErrorCode::busy)) throw;
        }
      }
    });
  }

  template <typename Delete>
  Run waited(Delete&& work) {
    const StoreDirectory copy;
    std::filesystem::copy_file(history_.ourPath(), copy.ourPath());
    const EngineStore writer(copy.ourPath(), Durability::full);
    std::atomic<bool> isDone = false;
    std::jthread deletion([&] {
      work(copy.ourPath());
      isDone = true;
    });
    Cost longest;
    while (!isDone) {
      const Cost cost = costOf([&] { saveInTheEnd(writer); });
      if (cost.elapsed > longest.elapsed) longest = cost;
      // Nobody saves without a pause, and who deletes is to come to his turn too.
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return {longest * kMilliseconds, 0};
  }

  WrittenHistory history_;
};

}  // namespace

Comparison historyPass() {
  return {"history pass", "ms", 1.3, 15, Clock::processor, [](const Workload& workload) {
            const auto pass = std::make_shared<Pass>(workload.foreignTransactions);
            return Sides{[=] { return pass->ours(); }, [=] { return pass->byHand(); }};
          }};
}

namespace {

Comparison nothingNew(const char* name, std::int64_t Workload::*own) {
  return {name, "us", 10, 41, Clock::processor, [own](const Workload& workload) {
            const auto asking = std::make_shared<NothingNew>(workload.*own);
            return Sides{[=] { return asking->ours(); }, [=] { return asking->byHand(); }};
          }};
}

}  // namespace

Comparison nothingNewAfterFew() {
  return nothingNew("nothing new, few own", &Workload::foreignTransactions);
}

Comparison nothingNewAfterMany() {
  return nothingNew("nothing new, many own", &Workload::ownTransactions);
}

Comparison deletionOfHistory() {
  constexpr double kMost = 10'000;
  return {"deletion of history",
          "ms",
          10,
          3,
          Clock::elapsed,
          [](const Workload& workload) {
            const auto deletion = std::make_shared<Deletion>(workload.ownTransactions);
            return Sides{[=] { return deletion->ours(); }, [=] { return deletion->byHand(); }};
          },
          kMost};
}

Comparison waitForDeletion() {
  constexpr double kMost = 1000;
  return {"wait for a deletion",
          "ms",
          10,
          3,
          Clock::elapsed,
          [](const Workload& workload) {
            const auto deletion = std::make_shared<Deletion>(workload.ownTransactions);
            return Sides{[=] { return deletion->longestWaitOfOurs(); },
                         [=] { return deletion->longestWaitByHand(); }};
          },
          kMost};
}

}  // namespace benchmarks
