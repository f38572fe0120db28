#include "CoreData/SQLite/ReadSession.h"

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowAccess.h"
#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMarks.h"

namespace coredata {

using foundation::Ref;

ReadSession::ReadSession(Ref<SQLiteStore> store) : store_(std::move(store)) {}

void ReadSession::end() noexcept {
  inBlock_ = false;
  if (isWriting_) return;
  stopReading();
  giveBack();
}

void ReadSession::refresh() noexcept {
  if (!isWriting_) stopReading();
}

void ReadSession::takeLease() {
  if (!lease_) lease_ = store_->core().lease();
}

void ReadSession::startReading() {
  takeLease();
  try {
    holdState();
  } catch (...) {
    giveBack();
    throw;
  }
}

void ReadSession::holdState() {
  StoreCore& core = store_->core();
  const CacheEpoch before = core.rows().epoch();
  isReading_ = true;
  try {
    lease_->beginReading();
    epoch_ = core.notice(*lease_, before);
  } catch (...) {
    stopReading();
    throw;
  }
}

bool ReadSession::keepState(Statement& answered, CacheEpoch before) {
  if (!answered.isRunning()) {
    const std::int64_t version = lease_->lastDataVersion();
    holdState();
    return lease_->dataVersion() == version;
  }
  isReading_ = true;
  lease_->keepReading(answered);
  epoch_ = store_->core().notice(*lease_, before);
  return true;
}

void ReadSession::stopReading() noexcept {
  if (!isReading_) return;
  isReading_ = false;
  epoch_ = kNoEpoch;
  lease_->rollBack();
}

void ReadSession::giveBack() noexcept { lease_.end(); }

Reading::Reading(ReadSession& session, Beginning beginning)
    : session_(session),
      endsReading_(!session.isReading_ && !session.inBlock_ && !session.isWriting_) {
  if (beginning == Beginning::atOnce) {
    begin();
  } else {
    session_.takeLease();
  }
}

void Reading::begin() {
  if (!session_.isReading_ && !session_.isWriting_) session_.startReading();
}

void Reading::answer(Statement& statement, foundation::FunctionRef<void()> run) {
  if (session_.isReading_ || session_.isWriting_) return run();
  const CacheEpoch before = core().rows().epoch();
  isGivenUp_ = true;
  try {
    run();
    if (!session_.keepState(statement, before)) {
      statement.reset();
      run();
    }
  } catch (const foundation::Error& error) {
    explain(error);
    throw;
  }
  isGivenUp_ = false;
}

void Reading::readOnce(foundation::FunctionRef<void()> run) {
  if (!endsReading_ || session_.isReading_) {
    begin();
    return run();
  }
  const CacheEpoch before = core().rows().epoch();
  try {
    run();
    static_cast<void>(core().notice(connection(), before));
  } catch (const foundation::Error& error) {
    explain(error);
    throw;
  }
}

void Reading::explain(const foundation::Error& error) {
  // The statement may have met another store's content, which says more than its own failure.
  if (connection().isUsable() && !saysBusy(error)) core().requireSameStore(connection());
}

Reading::~Reading() {
  if (!endsReading_ && !isGivenUp_) return;
  session_.stopReading();
  session_.giveBack();
}

Ref<Row> ReadSession::row(const NSEntityDescription& entity, ObjectKey key) {
  StoreCore& core = store_->core();
  if (!isReading_ && !inBlock_ && !isWriting_) {
    // A read by itself sees the newest state, which is the cache's own.
    if (Ref<Row> cached = core.rows().find(entity, key, core.rows().epoch())) return cached;
  }
  const Reading reading(*this);
  if (Ref<Row> cached = core.rows().find(entity, key, epoch_)) return cached;
  Ref<Row> row = selectRow(reading.connection(), core.columns(entity), key);
  if (row && epoch_ != kNoEpoch) core.rows().add(row, epoch_);
  return row;
}

void ReadSession::rows(const NSEntityDescription& entity, std::span<const ObjectKey> keys,
                       std::vector<Ref<Row>>& out) {
  const Reading reading(*this);
  const std::size_t first = out.size();
  store_->core().rows().find(entity, keys, epoch_, out);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!out[first + i]) out[first + i] = row(entity, keys[i]);
  }
}

bool ReadSession::holdsMostOf(const NSEntityDescription& entity) const noexcept {
  return epoch_ != kNoEpoch && store_->core().rows().holdsMostOf(entity);
}

void ReadSession::keepAll(const NSEntityDescription& entity, std::span<const Ref<Row>> rows) {
  if (epoch_ != kNoEpoch) store_->core().rows().addAll(entity, rows, epoch_);
}

std::vector<ObjectKey> ReadSession::members(const NSRelationshipDescription& toMany,
                                            ObjectKey owner) {
  const Reading reading(*this);
  return selectMembers(reading.connection(), toMany, owner);
}

HistoryPosition ReadSession::newestTransaction() {
  const Reading reading(*this);
  return newestTransactionIn(reading.connection());
}

}  // namespace coredata
