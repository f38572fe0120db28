#pragma once

#include <span>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/CacheEpoch.h"
#include "CoreData/SQLite/ConnectionLease.h"
#include "CoreData/SQLite/SQLiteStore.h"

namespace coredata {

class StoreCore;

/// A context's view of a store. Between `begin` and `end` every read sees one state of the store,
/// that of the first read; outside, each read sees the newest.
///
/// A connection is leased at the first read after `begin` and given back by `end`, so an idle
/// session costs nothing.
///
/// Threading: belongs to one context and is used by one thread at a time.
class ReadSession {
 public:
  explicit ReadSession(foundation::Ref<SQLiteStore> store);
  ~ReadSession() { end(); }
  ReadSession(const ReadSession&) = delete;
  ReadSession& operator=(const ReadSession&) = delete;

  [[nodiscard]] const foundation::Ref<SQLiteStore>& store() const noexcept { return store_; }

  void begin() noexcept { inBlock_ = true; }
  void end() noexcept;
  /// Lets the next read of the block see what was committed since the first one.
  void refresh() noexcept;

  /// The row of that key, or null when the store has none. Throws `foundation::Error`, as every
  /// read here.
  [[nodiscard]] foundation::Ref<Row> row(const NSEntityDescription& entity, ObjectKey key);
  /// Appends the rows of the keys in their order, null for one that is gone.
  void rows(const NSEntityDescription& entity, std::span<const ObjectKey> keys,
            std::vector<foundation::Ref<Row>>& out);
  /// Whether the keys of an entity's rows are all that has to be read, most rows being at hand. To
  /// be asked while reading.
  [[nodiscard]] bool holdsMostOf(const NSEntityDescription& entity) const noexcept;
  /// Keeps what was read as the rows that an entity has, all of them, in the state that is being
  /// read.
  void keepAll(const NSEntityDescription& entity, std::span<const foundation::Ref<Row>> rows);
  /// The keys of a to-many's members, ascending.
  [[nodiscard]] std::vector<ObjectKey> members(const NSRelationshipDescription& toMany,
                                               ObjectKey owner);
  [[nodiscard]] HistoryPosition newestTransaction();

 private:
  friend class Reading;
  friend class WriteTransaction;

  void startReading();
  void stopReading() noexcept;
  void giveBack() noexcept;

  foundation::Ref<SQLiteStore> store_;
  ConnectionLease lease_;
  /// Which state of the row cache the session's snapshot may take from and add to.
  CacheEpoch epoch_ = kNoEpoch;
  bool inBlock_ = false;
  bool isReading_ = false;
  bool isWriting_ = false;
};

/// The use of a session's connection by this folder: in the session's read transaction, which is
/// started if need be and ended with the use when the session is in no block. Nests.
class Reading {
 public:
  explicit Reading(ReadSession& session);
  ~Reading();
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  [[nodiscard]] Connection& connection() const noexcept { return *session_.lease_; }
  [[nodiscard]] StoreCore& core() const noexcept { return session_.store_->core(); }

 private:
  ReadSession& session_;
  bool endsReading_;
};

}  // namespace coredata
