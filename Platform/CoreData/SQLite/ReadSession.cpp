#include "CoreData/SQLite/ReadSession.h"

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowAccess.h"
#include "CoreData/SQLite/StoreCore.h"
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

void ReadSession::startReading() {
  StoreCore& core = store_->core();
  if (!lease_) lease_ = core.lease();
  const CacheEpoch before = core.rows().epoch();
  isReading_ = true;
  try {
    lease_->beginReading();
    epoch_ = core.notice(*lease_, before);
  } catch (...) {
    stopReading();
    giveBack();
    throw;
  }
}

void ReadSession::stopReading() noexcept {
  if (!isReading_) return;
  isReading_ = false;
  epoch_ = kNoEpoch;
  lease_->rollBack();
}

void ReadSession::giveBack() noexcept { lease_.end(); }

Reading::Reading(ReadSession& session)
    : session_(session),
      endsReading_(!session.isReading_ && !session.inBlock_ && !session.isWriting_) {
  if (!session_.isReading_ && !session_.isWriting_) session_.startReading();
}

Reading::~Reading() {
  if (!endsReading_) return;
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
