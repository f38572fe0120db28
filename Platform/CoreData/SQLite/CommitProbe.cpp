#include "CoreData/SQLite/CommitProbe.h"

#include <algorithm>
#include <utility>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMarks.h"

namespace coredata {

using foundation::Ref;

namespace {
/// Somebody who waits for the probe to end does not wait for a writer.
constexpr std::chrono::milliseconds kPatience{50};
}  // namespace

CommitProbe::CommitProbe(Ref<SQLiteStore> store, std::int64_t since)
    : store_(std::move(store)), newest_(since) {
  if (store_->options().historyTracking) return;
  // Without a history a connection tells only of what was committed after it looked first.
  connect();
  connection_->seenDataVersion = connection_->dataVersion();
}

CommitProbe::~CommitProbe() = default;

std::optional<std::int64_t> CommitProbe::newestTransaction() const noexcept {
  return store_->options().historyTracking ? std::optional(newest_) : std::nullopt;
}

void CommitProbe::disconnect() noexcept { connection_.reset(); }

void CommitProbe::connect() {
  const ConnectionPool& pool = store_->core().pool();
  ConnectionSettings settings = pool.settings();
  settings.busyTimeout = kPatience;
  connection_ = std::make_unique<Connection>(pool.path(), settings);
}

bool CommitProbe::hasNews() {
  const ConnectionPool& pool = store_->core().pool();
  if (pool.isClosed())
    throw storeError(StoreErrorCode::removed, "The store " + pool.path() + " was removed.");
  pool.requireSameFile();
  try {
    if (!connection_) connect();
    return look();
  } catch (const foundation::Error& error) {
    if (connection_ && !connection_->isUsable()) disconnect();
    throwMeaning(error, pool.path());
  }
}

bool CommitProbe::look() {
  const std::int64_t version = connection_->dataVersion();
  if (version == connection_->seenDataVersion) return false;
  store_->core().requireSameStore(*connection_);
  bool hasNews = true;
  if (store_->options().historyTracking) {
    const std::int64_t newest = newestRecordIn(*connection_);
    hasNews = newest > newest_;
    newest_ = std::max(newest, newest_);
  }
  // Only now, when all of it was read.
  connection_->seenDataVersion = version;
  return hasNews;
}

}  // namespace coredata
