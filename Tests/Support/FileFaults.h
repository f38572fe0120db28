#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/FaultyFileSystem.h"

namespace support {

/// How many operations on files a run makes: those of SQLite, and all others. As points they are
/// counted one behind the other, SQLite's first.
struct FileOperationCount {
  std::size_t sqlite = 0;
  std::size_t others = 0;
  /// By how much all files together had grown when they had grown most.
  std::int64_t bytes = 0;
  [[nodiscard]] std::size_t total() const noexcept { return sqlite + others; }
};

/// What happens at a point.
struct FileTrouble {
  FileFault fault = FileFault::killProcess;
  /// What SQLite's file layer answers, and what other calls do.
  int sqliteCode = SQLITE_IOERR;
  int errorNumber = 5;
  FileOperations watched = kMutating;
  /// How much of a write is done that is torn, rounded down to whole sectors.
  int tornBytes = 0;
  /// How far all files together may grow; nothing for as far as they like.
  std::optional<std::int64_t> room = std::nullopt;
};

/// Every file of the process under watch while it lives, with trouble at one point, if any, and on
/// a disk whose room can be limited.
class FileFaults {
 public:
  /// Counts only.
  explicit FileFaults(const FileTrouble& trouble);
  FileFaults(const FileTrouble& trouble, std::size_t point, const FileOperationCount& of);

  /// Counts anew, with trouble at that point.
  void restart(std::size_t point, const FileOperationCount& of);
  [[nodiscard]] FileOperationCount count() const;
  [[nodiscard]] bool wasReached() const;
  /// From now on nothing fails any more.
  void mend();
  [[nodiscard]] FaultVFS& sqlite() noexcept { return sqlite_; }
  [[nodiscard]] DiskSpace& space() noexcept { return space_; }

 private:
  void setSQLitePoint(std::size_t point);

  FileTrouble trouble_;
  DiskSpace space_;
  FaultVFS sqlite_;
  coredata::StoreVFSOverride override_;
  FaultyFileSystem others_;
};

}  // namespace support
