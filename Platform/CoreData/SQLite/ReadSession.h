#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/CacheEpoch.h"
#include "CoreData/SQLite/ConnectionLease.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FunctionRef.h"

namespace coredata {

class Statement;
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

  void takeLease();
  void startReading();
  /// Begins to read on the leased connection, which is kept when it throws.
  void holdState();
  /// Keeps the state that a statement was just run in. False where it could not be kept and another
  /// one is kept now. Throws as `holdState`.
  [[nodiscard]] bool keepState(Statement& answered, CacheEpoch before);
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
  explicit Reading(ReadSession& session) : Reading(session, Beginning::atOnce) {}
  /// One that begins with its first answer, or with `begin`. Until then there is a connection, but
  /// nothing may be read.
  [[nodiscard]] static Reading withAnswer(ReadSession& session) {
    return Reading(session, Beginning::withAnswer);
  }
  ~Reading();
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  [[nodiscard]] Connection& connection() const noexcept { return *session_.lease_; }
  [[nodiscard]] StoreCore& core() const noexcept { return session_.store_->core(); }

  void begin();
  /// Runs the statement by `run`, which stops at the row that it wants. If nobody reads yet the
  /// statement stays on that row, and that keeps the state that it was read in: there is no need of
  /// another statement for it. One that gave no row keeps nothing; then the state is begun, and
  /// `run` is called again should the store have changed in between.
  void answer(Statement& statement, foundation::FunctionRef<void()> run);
  /// Runs what reads all that this use reads, by one statement. If nobody reads yet and the session
  /// is in no block, no state is kept for it: the statement's own is one.
  void readOnce(foundation::FunctionRef<void()> run);

 private:
  enum class Beginning : std::uint8_t { atOnce, withAnswer };
  Reading(ReadSession& session, Beginning beginning);

  /// For what failed before a state was held: throws what says more than the error, if anything
  /// does.
  void explain(const foundation::Error& error);

  ReadSession& session_;
  bool endsReading_;
  /// Whether the first answer failed: the connection is given back with the use, since statements
  /// of it are still in use before.
  bool isGivenUp_ = false;
};

}  // namespace coredata
