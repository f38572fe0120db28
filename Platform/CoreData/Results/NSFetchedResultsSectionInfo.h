#pragma once

#include <cstddef>
#include <string>

namespace coredata {

/// A run of a fetched list's objects that have the same value under the section key path.
struct NSFetchedResultsSectionInfo {
  /// The value as text; empty where it is absent, and without a section key path.
  std::string name;
  std::size_t numberOfObjects = 0;

  friend bool operator==(const NSFetchedResultsSectionInfo&,
                         const NSFetchedResultsSectionInfo&) = default;
};

}  // namespace coredata
