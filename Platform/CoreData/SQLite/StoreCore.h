#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "CoreData/SQLite/ConnectionPool.h"
#include "CoreData/SQLite/HistoryWriter.h"
#include "CoreData/SQLite/RowCache.h"
#include "CoreData/SQLite/RowColumns.h"
#include "CoreData/SQLite/StoreBell.h"
#include "CoreData/SQLite/StoreCounters.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "CoreData/SQLite/WriterGate.h"

namespace coredata {

/// What the sessions and transactions of one open store share.
///
/// Threading: use it on any thread; what only the writer inside the gate may touch says so.
class StoreCore {
 public:
  StoreCore(StoreOptions options, foundation::Ref<const NSManagedObjectModel> model,
            OpenedStore opened);

  [[nodiscard]] const StoreOptions& options() const noexcept { return options_; }
  [[nodiscard]] const NSManagedObjectModel& model() const noexcept { return *model_; }
  [[nodiscard]] const foundation::UUID& identifier() const noexcept { return identifier_; }
  [[nodiscard]] std::int64_t newestAtOpening() const noexcept { return newestAtOpening_; }
  [[nodiscard]] const RowColumns& columns(const NSEntityDescription& entity) const noexcept {
    return columns_[entity.index()];
  }
  [[nodiscard]] ConnectionPool& pool() const noexcept { return *pool_; }
  [[nodiscard]] RowCache& rows() noexcept { return rows_; }
  [[nodiscard]] const StoreBell& bell() const noexcept { return bell_; }
  [[nodiscard]] WriterGate& gate() noexcept { return gate_; }

  /// Inside the gate only, as the two below. On whose behalf history is written.
  [[nodiscard]] const std::string& bundleIdentifier();
  [[nodiscard]] StoreCounters& counters() noexcept { return counters_; }
  [[nodiscard]] HistoryWriter& history() noexcept { return history_; }

  /// A connection of the store. Throws when the store was closed, replaced, or opened before a
  /// fork.
  [[nodiscard]] ConnectionLease lease();

  /// Closes the connections, those that are lent as they come back.
  void close() noexcept;

  /// To be called at the start of each transaction of a connection, with the cache's epoch from
  /// before it: if others have committed since the connection's last one, forgets the rows that
  /// they may have changed and makes sure that it is still the same store. Gives the epoch of the
  /// transaction's snapshot.
  [[nodiscard]] CacheEpoch notice(Connection& connection, CacheEpoch epochBefore);
  /// Throws `StoreErrorCode::replaced`, as everything does from then on, when the connection sees
  /// the content of another store.
  void requireSameStore(Connection& connection);

 private:
  /// Rows of a store that must not be used any more are not to be had from the cache either.
  void forgetRows() noexcept;
  [[noreturn]] void throwReplaced() const;

  const StoreOptions options_;
  const foundation::Ref<const NSManagedObjectModel> model_;
  const foundation::UUID identifier_;
  const std::int64_t schemaVersion_;
  const std::int64_t newestAtOpening_;
  std::vector<RowColumns> columns_;
  RowCache rows_;
  WriterGate gate_;
  StoreCounters counters_;
  HistoryWriter history_;
  std::optional<std::string> bundleIdentifier_;
  std::atomic<bool> replaced_{false};
  const std::unique_ptr<ConnectionPool> pool_;
  const StoreBell bell_;
};

}  // namespace coredata
