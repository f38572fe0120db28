#include "CoreDataStack/CoreDataMigrationVersion.h"

#include <algorithm>

#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

namespace {

using Version = CoreDataMigrationVersion;

constexpr Version kAllCases[] = {Version::version1, Version::version2, Version::version3,
                                 Version::version4, Version::version5, Version::version6,
                                 Version::version7};

// Crash reports are grouped by this position. It is not this file's and never changes.
constexpr std::string_view kVersionSource = "CoreDataStack/CoreDataMigrationVersion";
constexpr int kNoVersionsLine = 17;

}  // namespace

std::span<const Version> CoreDataMigrationVersion::allCases() noexcept { return kAllCases; }

Version CoreDataMigrationVersion::newest() { return newest(allCases()); }

Version CoreDataMigrationVersion::newest(std::span<const Version> of) {
  if (of.empty()) {
    foundation::fatalError("no model versions found", kVersionSource, kNoVersionsLine);
  }
  return of.back();
}

std::optional<Version> CoreDataMigrationVersion::storeVersion(
    const foundation::ValueDictionary& forMetadata) {
  const auto found = std::ranges::find_if(kAllCases, [&](const Version& version) {
    return model(version.rawValue())->isConfiguration(std::nullopt, forMetadata);
  });
  return found == std::end(kAllCases) ? std::nullopt : std::optional(*found);
}

std::optional<Version> CoreDataMigrationVersion::next() const noexcept {
  const auto* const following = std::ranges::find(kAllCases, *this) + 1;
  return following == std::end(kAllCases) ? std::nullopt : std::optional(*following);
}

}  // namespace coredatastack
