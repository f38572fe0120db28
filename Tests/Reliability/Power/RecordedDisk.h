#pragma once

#include <filesystem>

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Reliability/Power/DiskOperation.h"
#include "Tests/Reliability/Power/RecordingFileSystem.h"
#include "Tests/Reliability/Power/RecordingVFS.h"

namespace power {

/// Every change of the files below a directory is written down while it lives, whoever makes it in
/// this process or one that it forks: SQLite or anybody else.
class RecordedDisk {
 public:
  RecordedDisk(const std::filesystem::path& directory, const std::filesystem::path& record)
      : recorder_(directory, record),
        sqlite_(recorder_),
        override_(sqlite_.name()),
        others_(recorder_) {}

  /// Says in the record that the work has come so far.
  void mark(int number) { recorder_.mark(number); }

 private:
  DiskRecorder recorder_;
  RecordingVFS sqlite_;
  coredata::StoreVFSOverride override_;
  RecordingFileSystem others_;
};

}  // namespace power
