#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/ConnectionLease.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/WriteAheadLog.h"

namespace coredata {

/// The connections of one open store. Any of them reads or writes; the one given back last is lent
/// first, because its page cache knows most, and further ones are made when leases overlap.
///
/// That one lies apart from the other idle ones: as long as one thread at a time asks, lending and
/// giving back are an atomic exchange each, without the lock.
///
/// Threading: use it on any thread; `log()` as its own comment says.
class ConnectionPool final {
 public:
  /// Starts with a connection that is already open.
  ConnectionPool(std::string path, ConnectionSettings settings, std::unique_ptr<Connection> first);
  ~ConnectionPool();
  ConnectionPool(const ConnectionPool&) = delete;
  ConnectionPool& operator=(const ConnectionPool&) = delete;

  /// Throws when the pool is closed, belongs to a process that forked, or no connection can be
  /// made.
  [[nodiscard]] ConnectionLease lease();
  /// Closes what is not lent now, and the rest as it comes back; the last one folds the log.
  void close() noexcept;
  [[nodiscard]] bool isClosed() const noexcept { return closed_; }
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  [[nodiscard]] const ConnectionSettings& settings() const noexcept { return settings_; }
  [[nodiscard]] WriteAheadLog& log() noexcept { return log_; }
  /// Throws `StoreErrorCode::replaced` when the path leads to another file by now, or to none.
  void requireSameFile() const;
  /// Connections that exist, lent or idle.
  [[nodiscard]] std::size_t size() const;

 private:
  friend class ConnectionLease;
  void requireOpen() const;
  /// Null when every connection is lent; one more is counted as existing then.
  [[nodiscard]] std::unique_ptr<Connection> takeIdle();
  [[nodiscard]] std::unique_ptr<Connection> connect();
  void takeBack(std::unique_ptr<Connection> connection) noexcept;
  void endIdle() noexcept;
  [[nodiscard]] bool keep(std::unique_ptr<Connection>& connection) noexcept;
  /// Ends a connection that is lent no more, without the lock held: folding the log takes time.
  void retire(std::unique_ptr<Connection> connection) noexcept;

  static constexpr std::size_t kMaxIdle = 5;

  const std::string path_;
  const ConnectionSettings settings_;
  const FileIdentity file_;
  const std::uint64_t forkGeneration_;
  WriteAheadLog log_;
  /// The one given back last, owned; null while it is lent.
  std::atomic<Connection*> nearest_;
  std::atomic<bool> closed_{false};
  mutable std::mutex mutex_;
  // Guarded by mutex_.
  std::vector<std::unique_ptr<Connection>> idle_;
  std::size_t open_ = 1;
};

}  // namespace coredata
