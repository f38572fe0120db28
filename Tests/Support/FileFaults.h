#pragma once

#include <cstddef>

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/FaultyFileSystem.h"

namespace support {

/// How many operations on files a run makes: those of SQLite, and all others. As points they are
/// counted one behind the other, SQLite's first.
struct FileOperationCount {
  std::size_t sqlite = 0;
  std::size_t others = 0;
  [[nodiscard]] std::size_t total() const noexcept { return sqlite + others; }
};

/// What happens at a point.
struct FileTrouble {
  FileFault fault = FileFault::killProcess;
  /// What SQLite's file layer answers, and what other calls do.
  int sqliteCode = SQLITE_IOERR;
  int errorNumber = 5;
  FileOperations watched = kMutating;
};

/// Every file of the process under watch while it lives, with trouble at one point, if any.
class FileFaults {
 public:
  /// Counts only.
  explicit FileFaults(const FileTrouble& trouble);
  FileFaults(const FileTrouble& trouble, std::size_t point, const FileOperationCount& of);

  [[nodiscard]] FileOperationCount count() const;
  [[nodiscard]] FaultVFS& sqlite() noexcept { return sqlite_; }

 private:
  FaultVFS sqlite_;
  coredata::StoreVFSOverride override_;
  FaultyFileSystem others_;
};

}  // namespace support
