#pragma once

#include <sqlite3.h>

#include <string>

#include "Tests/Reliability/Power/DiskOperation.h"

namespace power {

/// The system's SQLite file layer, which also writes down what SQLite changes on the disk. The
/// shared memory is no part of it: none survives a loss of power. Registered under a name of its
/// own while it lives. Syncs are written down and not made: this machine stays alive.
///
/// A journal or log is synced together with its directory the first time after it was opened, and
/// a removal is on request: so the system's layer does it.
///
/// Threading: use it on any thread.
class RecordingVFS {
 public:
  explicit RecordingVFS(DiskRecorder& recorder);
  ~RecordingVFS();
  RecordingVFS(const RecordingVFS&) = delete;
  RecordingVFS& operator=(const RecordingVFS&) = delete;

  [[nodiscard]] const char* name() const noexcept { return name_.c_str(); }

 private:
  friend struct RecordingCalls;

  DiskRecorder& recorder_;
  sqlite3_vfs* system_;
  std::string name_;
  sqlite3_vfs vfs_;
};

}  // namespace power
