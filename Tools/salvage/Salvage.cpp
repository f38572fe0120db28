#include "Tools/salvage/Salvage.h"

#include <fcntl.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "CoreData/SQLite/StoreSchema.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Internal/FileSystem.h"
#include "Tools/salvage/LinkMending.h"
#include "Tools/salvage/SalvagedStore.h"

namespace salvage {

using coredata::NSManagedObjectModel;
using coredata::StoreErrorCode;
using coredatastack::CoreDataMigrationVersion;
using foundation::Ref;
using foundation::URL;

namespace {

bool isThere(const std::string& path) {
  return foundation::FileSystem::current()
      .status(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW)
      .has_value();
}

void requireNothingAt(const std::string& place) {
  if (!isThere(place)) return;
  throw coredata::storeError(StoreErrorCode::exists,
                             "There is something at " + place + " already.");
}

[[noreturn]] void throwPartOf(const std::string& store, const std::string& place) {
  throw coredata::storeError(StoreErrorCode::exists,
                             place + " would be taken for a part of " + store + ".");
}

/// Early, since what follows takes its time; `publish` makes sure that nothing came to the place
/// since. SQLite takes files for a store's log and journal by their names alone: neither may the
/// new store find such a file beside it, nor become one for another store.
void requirePlaceForAStore(const std::string& place) {
  requireNothingAt(place);
  for (const std::string_view suffix : coredata::kCompanions) {
    requireNothingAt(place + std::string(suffix));
    if (!place.ends_with(suffix)) continue;
    const std::string other = place.substr(0, place.size() - suffix.size());
    if (isThere(other)) throwPartOf(other, place);
  }
}

/// How many entities of the model have exactly their table.
std::size_t countFittingTables(const StoredTables& tables, const NSManagedObjectModel& model) {
  return static_cast<std::size_t>(
      std::ranges::count_if(model.entities(), [&](const coredata::NSEntityDescription* entity) {
        const auto table = tables.find(entity->name());
        return !entity->isAbstract() && table != tables.end() &&
               table->second.sql == coredata::tableOf(*entity).sql;
      }));
}

/// The version with the highest count, the newest of several; none where all are 0.
template <typename Count>
std::optional<CoreDataMigrationVersion> versionWithMost(Count&& count) {
  std::optional<CoreDataMigrationVersion> result;
  std::size_t most = 1;
  for (const CoreDataMigrationVersion& version : CoreDataMigrationVersion::allCases()) {
    const std::size_t found = count(*coredatastack::model(version.rawValue()));
    if (found < most) continue;
    most = found;
    result = version;
  }
  return result;
}

class Salvage {
 public:
  Salvage(const URL& damaged, std::string to)
      : damaged_(damaged), to_(std::move(to)), directory_(to_) {}

  SalvageReport run() {
    const PrivateCopy copy = copyStore(damaged_, directory_);
    const StoreRecords records = storeRecords(copy.path);
    const PageFile file(copy.path, copy.pageSize);
    const StoredTables tables = storedTables(file);
    report_.hadSoundHeader = copy.hadSoundHeader;
    report_.problem = copy.problem;
    if (const auto identifier = coredata::storeIdentifier(records.metadata))
      report_.identifier = identifier->uuidString();
    report_.version = versionOf(file, tables, records).rawValue();
    const Ref<const NSManagedObjectModel> model = coredatastack::model(report_.version);
    RowSearch rows(file, tables, *model);
    mendLinks(rows.entities());
    const std::string finished = makeStore(model, records, rows, directory_);
    report_.unknownPages = rows.unknownPages();
    for (FoundRows& found : rows.entities()) report_.entities.push_back(std::move(found.report));
    publish(finished, to_);
    return std::move(report_);
  }

 private:
  CoreDataMigrationVersion versionOf(const PageFile& file, const StoredTables& tables,
                                     const StoreRecords& records) {
    if (const auto version = CoreDataMigrationVersion::storeVersion(records.metadata))
      return *version;
    requireNotNewer(records);
    report_.versionSource = VersionSource::tables;
    const auto byTables = versionWithMost(
        [&](const NSManagedObjectModel& model) { return countFittingTables(tables, model); });
    if (byTables) return *byTables;
    report_.versionSource = VersionSource::rows;
    const auto byRows = versionWithMost(
        [&](const NSManagedObjectModel& model) { return countFittingRows(file, model); });
    // Where a list of tables can be read, it is one of another program's.
    if (byRows && tables.empty()) return *byRows;
    throw coredata::storeError(StoreErrorCode::notAStore,
                               "There is nothing of a store in " + damaged_.path() + ".");
  }

  void requireNotNewer(const StoreRecords& records) const {
    const auto newest = coredatastack::model(CoreDataMigrationVersion::newest().rawValue());
    if (!coredata::isNewer(records.metadata, *newest)) return;
    throw coredata::storeError(
        StoreErrorCode::newerVersion,
        "The store " + damaged_.path() + " was written by a newer version of this program.");
  }

  const URL& damaged_;
  const std::string to_;
  const WorkDirectory directory_;
  SalvageReport report_;
};

}  // namespace

SalvageReport salvageStore(const URL& damaged, const URL& to) {
  coredata::requireFile(coredata::pathOf(damaged), false);
  requirePlaceForAStore(to.path());
  return Salvage(damaged, to.path()).run();
}

}  // namespace salvage
