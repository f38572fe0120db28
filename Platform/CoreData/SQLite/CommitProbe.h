#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "CoreData/SQLite/SQLiteStore.h"

namespace coredata {

class Connection;

/// Finds out whether anybody has committed to an open store, through a connection of its own: one
/// that is lent by the store's readers and writers would be missing when they want it.
///
/// What counts is the newest transaction of the history where the store keeps one, and any commit
/// where it does not.
///
/// Threading: one thread at a time.
class CommitProbe {
 public:
  /// Counts from the transaction of that number, or from what is in the store now where it keeps no
  /// history. Throws when that cannot be read.
  CommitProbe(foundation::Ref<SQLiteStore> store, std::int64_t since);
  ~CommitProbe();
  CommitProbe(const CommitProbe&) = delete;
  CommitProbe& operator=(const CommitProbe&) = delete;

  /// Whether there was a commit since the last answer. Throws `foundation::Error` with a
  /// `StoreErrorCode`: `replaced` when the store is another one now, `removed` when it was closed,
  /// `busy` when somebody keeps it from being read.
  [[nodiscard]] bool hasNews();
  /// The newest transaction that was seen; none where no history is kept.
  [[nodiscard]] std::optional<std::int64_t> newestTransaction() const noexcept;
  /// Closes the connection. The next question opens another.
  void disconnect() noexcept;

 private:
  void connect();
  [[nodiscard]] bool look();

  const foundation::Ref<SQLiteStore> store_;
  std::unique_ptr<Connection> connection_;
  std::int64_t newest_;
};

}  // namespace coredata
