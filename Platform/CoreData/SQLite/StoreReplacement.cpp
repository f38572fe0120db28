#include "CoreData/SQLite/StoreReplacement.h"

#include <algorithm>
#include <optional>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreBell.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreData/SQLite/StoreCopy.h"
#include "CoreData/SQLite/StoreExchange.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "CoreData/SQLite/WriteAheadLog.h"
#include "Foundation/Internal/TestPoint.h"

namespace coredata {

using foundation::Date;
using foundation::Error;
using foundation::TestPoint;
using foundation::URL;

namespace {
/// Somebody who commits between each of our looks and the lock that follows it has to stop some
/// time.
constexpr int kAttempts = 10;

HistoryPosition larger(const HistoryPosition& a, const HistoryPosition& b) {
  return {std::max(a.number, b.number), std::max(a.timestamp, b.timestamp)};
}

bool isDamage(const Error& error) {
  const auto code = error.code() & 0xff;
  return error.domain() == foundation::kSQLiteErrorDomain &&
         (code == SQLITE_CORRUPT || code == SQLITE_NOTADB);
}

class Replacement {
 public:
  Replacement(StoreClaim& claim, Connection& from)
      : claim_(claim), from_(from), newestOfSource_(newestTransactionIn(from)) {}

  void run() {
    if (!isDatabase()) return exchange();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      if (copy()) return;
    }
    throw storeError(StoreErrorCode::busy,
                     "The store " + claim_.path() + " is written to all the time.");
  }

 private:
  [[nodiscard]] const std::string& path() const noexcept { return claim_.path(); }

  /// Whether SQLite can begin to read the file, or make a store of it. Everything else that keeps
  /// it from doing so than the file's own header is thrown.
  [[nodiscard]] bool isDatabase() {
    const auto status = statusOf(path());
    if (status && S_ISREG(status->st_mode) && status->st_size == 1) return false;
    requireFile(path(), true);
    if (!status) syncDirectoryOf(path());
    try {
      Connection& connection = claim_.connection();
      requireWritable(connection, path());
      const Snapshot snapshot(connection);
      static_cast<void>(contentOf(connection, path()));
      return true;
    } catch (const Error& error) {
      if (!isDamage(error)) throw;
      return false;
    }
  }

  /// The destination as it stands. One whose history cannot be read any more has none later than
  /// now.
  [[nodiscard]] StoreState stateOfDestination() {
    Connection& connection = claim_.connection();
    try {
      const std::optional<StoreState> state = stateOf(connection, path());
      claim_.requireUnchanged(state);
      return state.value_or(StoreState{fileVersion(connection), {}});
    } catch (const Error& error) {
      if (!isDamage(error)) throw;
      if (claim_.isRead()) claim_.throwChanged();
      return {fileVersion(connection), {0, Date::now()}};
    }
  }

  /// False when somebody committed after the destination was looked at.
  [[nodiscard]] bool copy() {
    const StoreState before = stateOfDestination();
    const HistoryPosition floor = larger(before.newest, newestOfSource_);
    if (floor == newestOfSource_) return copyFrom(from_, before);
    // The marks must come with the same commit as the content, and the source is not ours to write
    // to.
    IncomingStore marked(path(), from_, floor, IncomingStore::Durability::scratch);
    return copyFrom(marked.connection(), before);
  }

  [[nodiscard]] bool copyFrom(Connection& source, const StoreState& before) {
    Connection& destination = claim_.connection();
    {
      StoreCopy copy(source, destination);
      copy.lockDestination();
      if (fileVersion(destination) != before.version) {
        if (claim_.isRead()) claim_.throwChanged();
        return false;
      }
      finish(copy);
    }
    WriteAheadLog(path()).fold(destination);
    return true;
  }

  void finish(StoreCopy& copy) {
    try {
      copy.finish();
    } catch (const Error&) {
      withdraw(copy);
      throw;
    }
  }

  /// A commit that the disk did not confirm may turn up later, unless another takes its place while
  /// the connection that made it is still there.
  void withdraw(StoreCopy& copy) noexcept {
    copy.undo();
    try {
      Connection other(path(), ConnectionSettings());
      if (stateOf(other, path())) other.commitUnchanged();
    } catch (const std::exception&) {
      // The disk goes on failing; the error that is thrown says that much.
    }
    claim_.disconnect();
  }

  void exchange() {
    if (claim_.isRead()) claim_.throwChanged();
    foundation::reach(TestPoint::fallbackReplacement);
    claim_.disconnect();
    IncomingStore incoming(path(), from_, larger(newestOfSource_, {0, Date::now()}),
                           IncomingStore::Durability::synced);
    incoming.close();
    exchangeFile(incoming.path(), path());
  }

  StoreClaim& claim_;
  Connection& from_;
  const HistoryPosition newestOfSource_;
};

/// A store that may replace another, in a transaction that reads it.
std::unique_ptr<Connection> openSource(const std::string& path) {
  try {
    std::unique_ptr<Connection> connection = openForReading(path);
    if (!storeIdentifier(readMetadata(*connection)))
      throw storeError(StoreErrorCode::damaged, "The store " + path + " has no identifier.");
    return connection;
  } catch (const Error& error) {
    throwMeaning(error, path);
  }
}
}  // namespace

void replaceStore(const URL& at, const URL& with, std::chrono::milliseconds patience) {
  const std::string path = pathOf(at);
  const std::string sourcePath = pathOf(with);
  const std::unique_ptr<Connection> from = openSource(sourcePath);
  if (FileIdentity::find(path) == FileIdentity::of(sourcePath)) {
    foundation::reach(TestPoint::selfReplacement);
    return;
  }
  const HeldClaim claim(at, patience);
  try {
    Replacement(*claim, *from).run();
    // Those who have the old store open learn that it is gone.
    StoreBell(path).ringIfThere();
  } catch (const Error& error) {
    throwMeaning(error, path);
  }
}

}  // namespace coredata
