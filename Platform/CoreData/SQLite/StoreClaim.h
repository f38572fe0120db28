#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreData/SQLite/SideLock.h"
#include "Foundation/Values/URL.h"

namespace coredata {

class Connection;

/// A state of a store's content, told apart from every other without reading it.
struct StoreState {
  /// SQLite's own count of what happened to the file, as one connection sees it.
  std::uint32_t version = 0;
  HistoryPosition newest;

  friend bool operator==(const StoreState&, const StoreState&) = default;
};

/// Of the connection's transaction, which must be reading already. Unlike the pragma's number it
/// also changes with commits of the connection's own, and it can be asked in the middle of a copy.
[[nodiscard]] std::uint32_t fileVersion(Connection& connection);

/// Held by whoever makes a store into something else - migrates it, replaces it, destroys it - from
/// before it is looked at to the end: nobody else does any of that meanwhile, in this process or
/// another. It does not keep others from opening the store, reading it and saving to it.
///
/// The claim is an advisory lock on a file beside the store. Its holder removes the file before
/// letting go; those who waited for it notice, and lock the next one.
///
/// A replacement on the claim's thread finds it. If the claim was marked as read, the replacement
/// is refused once anybody else has committed since: it would take the place of rows that it does
/// not hold.
///
/// Threading: belongs to the thread that made it. Claims of other threads are like those of other
/// processes.
class StoreClaim {
 public:
  /// Waits for the claim's present holder. The store need not exist, but its directory must. Throws
  /// `foundation::Error`: `StoreErrorCode::busy` when the wait takes longer than `limit`, which is
  /// also how long the claim's connection will wait for writers.
  StoreClaim(const foundation::URL& url, std::chrono::milliseconds limit);
  ~StoreClaim();
  StoreClaim(const StoreClaim&) = delete;
  StoreClaim& operator=(const StoreClaim&) = delete;

  /// Remembers the store as it stands now. To be called before the first row is read of what is to
  /// become the replacement, and after everything that the claim's holder itself writes. Keeps a
  /// connection to the store open from then on. Throws when there is no store to be read.
  void markRead();
  /// Lets go of that: a replacement is no longer refused.
  void forgetRead() noexcept { read_.reset(); }

  // For this folder.

  /// The claim of this thread on the store of that path; null when there is none.
  [[nodiscard]] static StoreClaim* find(const std::string& path);
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  /// The connection that watched the store since it was read; opened now if it was not.
  [[nodiscard]] Connection& connection();
  /// Closes the connection, folding the log first. What another one sees cannot be compared with
  /// what this one saw, so a store that was read counts as changed from then on.
  void disconnect() noexcept;
  /// Throws `StoreErrorCode::changedMeanwhile` when the store was read in another state than this,
  /// which `connection()` sees.
  void requireUnchanged(const std::optional<StoreState>& now) const;
  [[nodiscard]] bool isRead() const noexcept { return read_.has_value(); }
  [[noreturn]] void throwChanged() const;

 private:
  /// Which store, whether or not it exists: a file's own number changes when it is exchanged.
  struct Place {
    std::uint64_t device;
    std::uint64_t directory;
    std::string name;
    friend bool operator==(const Place&, const Place&) = default;
  };
  [[nodiscard]] static Place placeOf(const std::string& path);
  /// A process that was forked off has no part in its parent's claims.
  [[nodiscard]] bool isOurs() const noexcept;

  const std::string path_;
  const Place place_;
  const std::chrono::milliseconds limit_;
  const SideLock lock_;
  SideLock::Guard held_;
  const std::uint64_t forkGeneration_;
  std::unique_ptr<Connection> connection_;
  std::optional<StoreState> read_;
  /// The serial of the connection that saw it.
  std::uint64_t readBy_ = 0;
};

/// This thread's claim on a store: the one that it holds already, or else one for as long as this
/// lives. Throws as making a claim does.
class HeldClaim {
 public:
  HeldClaim(const foundation::URL& url, std::chrono::milliseconds limit);

  StoreClaim& operator*() const noexcept { return *claim_; }
  StoreClaim* operator->() const noexcept { return claim_; }

 private:
  std::optional<StoreClaim> own_;
  StoreClaim* claim_;
};

/// What a connection sees, in a read transaction of its own; none when the file is empty. Throws
/// when it is no store.
[[nodiscard]] std::optional<StoreState> stateOf(Connection& connection, const std::string& path);

}  // namespace coredata
