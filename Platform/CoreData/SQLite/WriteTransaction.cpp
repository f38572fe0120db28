#include "CoreData/SQLite/WriteTransaction.h"

#include <algorithm>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowAccess.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "Foundation/Internal/HashTables.h"
#include "Foundation/Internal/TestPoint.h"

namespace coredata {

using foundation::Error;
using foundation::Ref;
using foundation::TestPoint;

namespace {
Error busyError(const StoreCore& core, const Error* cause) {
  return storeError(StoreErrorCode::busy,
                    "The store " + core.pool().path() +
                        " was being written by somebody else for longer than " +
                        std::to_string(core.options().busyTimeout.count()) + " ms.",
                    cause == nullptr ? nullptr : cause->clone());
}

/// A row that is handed to the cache is shared from then on, and nobody writes a shared row.
Ref<Row> shared(const Row& row) { return Ref<Row>(const_cast<Row*>(&row)); }
}  // namespace

WriteTransaction::WriteTransaction(ReadSession& session) : session_(session) {
  StoreCore& store = core();
  if (store.options().readOnly) {
    throw storeError(StoreErrorCode::notWritable,
                     "The store " + store.pool().path() + " was opened for reading only.");
  }
  session_.stopReading();
  if (!store.gate().enter(store.options().busyTimeout)) throw busyError(store, nullptr);
  session_.isWriting_ = true;
  isOpen_ = true;
  try {
    begin();
  } catch (...) {
    finish();
    throw;
  }
}

void WriteTransaction::begin() {
  StoreCore& store = core();
  if (!session_.lease_) session_.lease_ = store.lease();
  try {
    connection().beginWriting();
  } catch (const Error& error) {
    if (saysBusy(error)) throw busyError(store, &error);
    throw;
  }
  static_cast<void>(store.notice(connection(), store.rows().epoch()));
  store.counters().beginUsing(connection());
  store.pool().log().makeRoom(connection());
}

WriteTransaction::~WriteTransaction() {
  if (!isOpen_) return;
  // The keys that it was given are nobody's: the next one is to have them.
  core().counters().forget();
  finish();
}

void WriteTransaction::finish() noexcept {
  isOpen_ = false;
  if (session_.lease_) session_.lease_->rollBack();
  core().history().rolledBack();
  session_.isWriting_ = false;
  // Before the gate opens: the next writer is to find the connection that knows most.
  if (!session_.inBlock_ || (session_.lease_ && !session_.lease_->isUsable())) session_.giveBack();
  core().gate().leave();
}

ObjectKey WriteTransaction::reserveKeys(const NSEntityDescription& entity, std::size_t count) {
  return core().counters().reserve(connection(), entity, count);
}

bool WriteTransaction::exists(const NSEntityDescription& entity, ObjectKey key) {
  return rowExists(connection(), entity, key);
}

Ref<Row> WriteTransaction::row(const NSEntityDescription& entity, ObjectKey key) {
  return selectRow(connection(), core().columns(entity), key);
}

std::vector<ObjectKey> WriteTransaction::members(const NSRelationshipDescription& toMany,
                                                 ObjectKey owner) {
  return selectMembers(connection(), toMany, owner);
}

void WriteTransaction::insert(const Row& row) {
  insertRow(connection(), row);
  note({&row.entity(), row.key(), RowChangeKind::insert, 0, shared(row)});
}

void WriteTransaction::insert(std::span<const Row* const> rows) {
  insertRows(connection(), rows);
  for (const Row* row : rows) {
    note({&row->entity(), row->key(), RowChangeKind::insert, 0, shared(*row)});
  }
}

bool WriteTransaction::update(const Row& row, SlotMask changed, std::int64_t expectedVersion) {
  if (!updateRow(connection(), row, changed, expectedVersion)) return false;
  note({&row.entity(), row.key(), RowChangeKind::update, changed, shared(row)});
  return true;
}

bool WriteTransaction::remove(const NSEntityDescription& entity, ObjectKey key,
                              std::int64_t expectedVersion) {
  if (!removeRow(connection(), entity, key, expectedVersion)) return false;
  note({&entity, key, RowChangeKind::remove, 0, nullptr});
  return true;
}

void WriteTransaction::keepMarks() {
  foundation::HashMap<const NSEntityDescription*, ObjectKey> removed;
  for (const RowChange& change : changes_) {
    if (change.kind != RowChangeKind::remove) continue;
    ObjectKey& highest = removed[change.entity];
    highest = std::max(highest, change.key);
  }
  for (const auto& [entity, highest] : removed) {
    if (highestKey(connection(), *entity) < highest) {
      raiseKeyMark(connection(), entity->name(), highest);
    }
  }
}

void WriteTransaction::recordHistory(const HistoryAuthor& author, CommitResult& result) {
  if (!core().options().historyTracking || changes_.empty()) return;
  // The stamp is taken here, with the write lock held. Two processes that read the clock first
  // could commit in the other order, and whoever asks for "after T" would never see the earlier
  // stamp.
  foundation::reach(TestPoint::beforeStamp);
  const HistoryTail& tail = core().counters().historyTail(connection());
  const HistoryPosition position{tail.newest.number + 1, nextTimestamp(tail.newest.timestamp)};
  const HistoryNameId recorded = core().history().write(
      connection(), position, {author.author, author.contextName, core().bundleIdentifier()},
      changes_);
  raiseAuthorMarks(connection(), tail, recorded);
  recorded_ = {position, recorded, true};
  result.transactionNumber = position.number;
  result.timestamp = position.timestamp;
  foundation::reach(TestPoint::afterStamp);
}

CommitResult WriteTransaction::commit(const HistoryAuthor& author) {
  CommitResult result;
  result.wroteChanges = !changes_.empty() || hasOtherChanges_;
  if (!result.wroteChanges) {
    finish();
    return result;
  }
  keepMarks();
  recordHistory(author, result);
  commitOrAbandon();
  core().history().committed();
  if (result.transactionNumber != 0) {
    core().counters().setHistoryTail(recorded_);
  }
  core().pool().log().committed(connection());
  finish();
  // Only now: whoever hears it looks at once, and is not to find anything locked.
  if (ringsBell(result)) core().bell().ring();
  return result;
}

bool WriteTransaction::ringsBell(const CommitResult& result) const noexcept {
  const StoreOptions& options = core().options();
  if (options.isScratch) return false;
  return result.transactionNumber != 0 || (options.announcesChanges && !changes_.empty());
}

void WriteTransaction::commitOrAbandon() {
  core().rows().willCommit(changes_);
  foundation::reach(TestPoint::beforeCommit);
  try {
    connection().commit();
  } catch (...) {
    // Nothing that this connection or we ourselves remember of the store counts any more.
    core().rows().commitFailed();
    core().counters().forget();
    connection().rollBack();
    connection().abandon();
    overwriteFailedCommit();
    finish();
    throw;
  }
  foundation::reach(TestPoint::afterCommit);
  core().rows().didCommit(changes_);
}

void WriteTransaction::overwriteFailedCommit() noexcept {
  try {
    const ConnectionLease other = core().lease();
    other->commitUnchanged();
  } catch (const std::exception&) {
    // A disk that fails this too leaves it open whether the save will turn up.
    foundation::reach(TestPoint::failedCommitLeft);
  }
}

}  // namespace coredata
