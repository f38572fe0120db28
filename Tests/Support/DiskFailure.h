#pragma once

#include <ostream>
#include <string>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Tests/Support/FileFaults.h"

namespace support {

/// A way in which the disk says no to whatever is done with a store of a version, under the name of
/// the test that tries it.
struct DiskFailure {
  std::string name;
  coredatastack::CoreDataMigrationVersion version;
  FileTrouble trouble;

  friend std::ostream& operator<<(std::ostream& stream, const DiskFailure& failure) {
    return stream << failure.name;
  }
};

}  // namespace support
