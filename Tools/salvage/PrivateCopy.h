#pragma once

#include <string>

#include "Foundation/Values/URL.h"

namespace salvage {

/// A directory for this user alone, beside what is to be made there; removed with all that lies in
/// it.
class WorkDirectory {
 public:
  /// Throws `foundation::Error` when it cannot be made.
  explicit WorkDirectory(const std::string& beside);
  ~WorkDirectory();
  WorkDirectory(const WorkDirectory&) = delete;
  WorkDirectory& operator=(const WorkDirectory&) = delete;

  [[nodiscard]] std::string at(std::string_view name) const;

 private:
  std::string path_;
};

/// What a damaged store's pages hold, in a file that may be read in any way.
struct PrivateCopy {
  std::string path;
  std::size_t pageSize = 0;
  /// Whether the file's header was as it should be.
  bool hadSoundHeader = true;
  /// Why SQLite did not put the pages together, so that what is in the store's log is missing;
  /// empty when it did.
  std::string problem;
};

/// Copies a store into the directory, with what its log holds. The store is only read, and neither
/// locked nor opened as a database; should somebody write to it meanwhile, the copy begins anew.
///
/// Its process must not have the store open: closing the file here would end the locks there.
///
/// Throws `foundation::Error`: `StoreErrorCode::missing` and others when there is no file to be
/// read, `StoreErrorCode::busy` when it was written to each time.
[[nodiscard]] PrivateCopy copyStore(const foundation::URL& store, const WorkDirectory& into);

}  // namespace salvage
