#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace coredata {

/// A SQLite file layer over the one that stores are opened through, which leaves no trace: whatever
/// SQLite asks for, a store's files are opened for reading only, and none is made, written, cut or
/// removed. A log that is not there reads as an empty one.
///
/// Registered under a name of its own while it lives; it must outlive what was opened through it.
class TracelessFiles {
 public:
  /// Where the index of a log is, without which the log cannot be read.
  enum class LogIndex : std::uint8_t {
    /// In the file that all who have the store open share. Open with `readonly_shm=1`, so that it
    /// is not written to either.
    shared,
    /// In memory, made from the log: for a store that nobody has open.
    own
  };

  explicit TracelessFiles(LogIndex index);
  ~TracelessFiles();
  TracelessFiles(const TracelessFiles&) = delete;
  TracelessFiles& operator=(const TracelessFiles&) = delete;

  [[nodiscard]] const std::string& name() const noexcept { return name_; }

 private:
  friend struct TracelessCalls;

  const LogIndex index_;
  sqlite3_vfs* const below_;
  const std::string name_;
  sqlite3_vfs vfs_;
};

}  // namespace coredata
