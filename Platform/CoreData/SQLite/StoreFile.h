#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/URL.h"

namespace coredata {

// The file behind a store, as far as it is to be known without opening it: nothing but SQLite opens
// a store's file, because closing it would give the locks of the whole process away.

/// What stands beside a store while a connection uses it, each under the store's name with one of
/// these behind it.
inline constexpr std::array<std::string_view, 3> kCompanions = {"-wal", "-shm", "-journal"};
/// Locked by whoever copies the log into the store.
inline constexpr std::string_view kLogLockSuffix = "-lock";
/// Locked by whoever makes a store into something else: see `StoreClaim`.
inline constexpr std::string_view kClaimSuffix = "-migration";
/// Touched after each commit: see `StoreBell`.
inline constexpr std::string_view kBellSuffix = "-bell";
/// A store in the making that is to replace this one.
inline constexpr std::string_view kIncomingSuffix = "-incoming";

/// Which file a path names. Another file moved to the same path is not the same.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;

  /// Looks at the path without opening it; none when nothing is there. Throws when that cannot be
  /// found out.
  [[nodiscard]] static std::optional<FileIdentity> find(const std::string& path);
  /// Throws as `find`, and `StoreErrorCode::replaced` when nothing is there.
  [[nodiscard]] static FileIdentity of(const std::string& path);
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// The path of the store that a URL names, with a link at its end followed: all that lies beside a
/// store lies beside the file itself. Throws `StoreErrorCode::invalidOption` for a URL that names
/// no file.
[[nodiscard]] std::string pathOf(const foundation::URL& url);
[[nodiscard]] std::string directoryOf(const std::string& path);

/// None when there is nothing. Throws when that cannot be found out.
[[nodiscard]] std::optional<struct stat> statusOf(const std::string& path);

/// Throws unless there is a file of more than one byte, or none and `mayCreate`, or an empty one. A
/// file that is to be created is there afterwards, empty.
void requireFile(const std::string& path, bool mayCreate);
/// Throws `StoreErrorCode::missingDirectory`.
void requireDirectoryOf(const std::string& path);

/// Makes an empty file that only its owner may read, and leaves one alone that is there. Nobody can
/// have opened a file that did not exist, so closing this descriptor takes nobody's locks away.
void createFile(const std::string& path);
/// Throws when something is there and stays.
void removeFile(const std::string& path);
/// Makes what was created, renamed and removed in the directory of the path survive a loss of
/// power.
void syncDirectoryOf(const std::string& path);

/// What a failed call of the system's means for a store.
[[nodiscard]] foundation::Error fileError(std::string message, int number, const char* call);
/// Whether the error is SQLite's, of a lock that somebody else holds.
[[nodiscard]] bool saysBusy(const foundation::Error& error);
/// What SQLite's failure means for somebody who wants to open a store. Called where the error was
/// caught; throws it on when it says enough by itself.
[[noreturn]] void throwMeaning(const foundation::Error& error, const std::string& path);

}  // namespace coredata
