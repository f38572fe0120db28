#include "Tools/habits/Migration/Rehearsal.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/MigrationSpace.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "CoreDataStack/SetAsidePhotos.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Error.h"
#include "Tools/habits/Migration/EntityTrail.h"
#include "Tools/habits/Migration/Interruption.h"
#include "Tools/habits/Migration/RehearsalStage.h"
#include "Tools/habits/Migration/ScratchSpace.h"
#include "Tools/habits/Migration/StoreReading.h"
#include "Tools/habits/Migration/WatchedWork.h"

namespace habits {

using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::ObjectKey;
using coredatastack::CoreDataMigrator;
using foundation::FileManager;
using foundation::URL;
using Version = coredatastack::CoreDataMigrationVersion;

namespace {

/// What the copies take, and beside them the migration of the copy with its end.
std::uint64_t spaceFor(const URL& store, const Steps& steps) {
  std::uint64_t copies = coredatastack::spaceOfStore(store);
  if (const auto photos = coredatastack::SetAsidePhotos::ofStore(store)) {
    const FileManager& files = FileManager::defaultManager();
    copies += files.size(photos->directory().filePath().value_or(""));
    const URL container = photos->directory().deletingLastPathComponent();
    for (const std::string_view kind : coredatastack::kPhotoDirectories) {
      copies += files.size(container.appendingPathComponent(kind).filePath().value_or(""));
    }
  }
  return copies + spaceForSteps(store, steps) + spaceForNewStore(store);
}

/// An entity as it was, with the rows that have nothing in an attribute.
struct EntityBefore {
  EntityTrail trail;
  std::int64_t rows = 0;
  std::map<std::string, std::vector<ObjectKey>> absent;
};

std::vector<EntityBefore> countBefore(const URL& store, const Steps& steps) {
  const StoreReading reading(store, steps.front().sourceModel);
  std::vector<EntityBefore> entities;
  for (EntityTrail& trail : trailsThrough(steps)) {
    EntityBefore entity{std::move(trail), 0, {}};
    entity.rows = reading.rows(entity.trail.before);
    for (const auto& [attribute, after] : entity.trail.attributes) {
      entity.absent[attribute] = reading.keysWithout(attribute, entity.trail.before);
    }
    entities.push_back(std::move(entity));
  }
  return entities;
}

std::int64_t filledIn(const EntityBefore& entity, const StoreReading& after) {
  std::int64_t filled = 0;
  for (const auto& [attribute, name] : entity.trail.attributes) {
    const std::vector<ObjectKey>& before = entity.absent.at(attribute);
    const std::vector<ObjectKey> still = after.keysWithout(name, *entity.trail.after);
    filled += std::ranges::count_if(
        before, [&](ObjectKey key) { return !std::ranges::binary_search(still, key); });
  }
  return filled;
}

std::vector<EntityBalance> balanceOf(const std::vector<EntityBefore>& entities,
                                     const StoreReading& reading, const Steps& steps) {
  std::vector<EntityBalance> balances;
  std::set<std::string> known;
  for (const EntityBefore& entity : entities) {
    const auto& [before, after, attributes] = entity.trail;
    EntityBalance balance{after.value_or(before), entity.rows, std::nullopt, 0};
    if (after) {
      known.insert(*after);
      balance.rowsAfter = reading.rows(*after);
      balance.valuesFilledIn = filledIn(entity, reading);
    }
    balances.push_back(std::move(balance));
  }
  for (const auto* entity : steps.back().destinationModel->entities()) {
    if (known.contains(entity->name())) continue;
    balances.push_back({entity->name(), std::nullopt, reading.rows(entity->name()), 0});
  }
  std::ranges::sort(balances, {}, &EntityBalance::name);
  return balances;
}

bool isThere(const URL& container, const std::string& name) {
  try {
    const auto path = coredatastack::photoFile(container, name).filePath();
    const FileManager& files = FileManager::defaultManager();
    return path && files.fileExists(*path) && !files.isDirectory(*path);
  } catch (const foundation::Error&) {
    return false;  // The name leads elsewhere, which the migration takes for missing too.
  }
}

/// The names of photo files that are missing, each replaced by one that is there.
std::vector<std::string> replaceMissingPhotos(const RehearsalStage& stage) {
  constexpr const char* kStandIn = "stands-in-for-missing-photos";
  std::vector<std::string> missing;
  const auto context =
      contextOver(stage.store(), coredatastack::model(Version::version6.rawValue()), false);
  context->performBlockAndWait([&] {
    for (const auto& photo : context->fetch(NSFetchRequest<NSManagedObject>("Photo"))) {
      const foundation::Value value = photo->valueForKey("filename");
      const std::string name = value.text() == nullptr ? "" : *value.text();
      if (isThere(stage.container(), name)) continue;
      missing.push_back(name);
      photo->setValue(kStandIn, "filename");
    }
    context->save();
  });
  closeStores(*context);
  if (missing.empty()) return missing;
  const FileManager& files = FileManager::defaultManager();
  const URL standIn = coredatastack::photoFile(stage.container(), kStandIn);
  files.createDirectory(standIn.deletingLastPathComponent(), true);
  files.write(foundation::Data(std::vector<std::uint8_t>{0}), standIn);
  return missing;
}

}  // namespace

Balance rehearse(const URL& store, const Steps& steps) {
  const Interruption interruption;
  const ScratchSpace scratch(store);
  coredatastack::requireSpace(spaceFor(store, steps), scratch.url(), "to rehearse the migration");
  const RehearsalStage stage(store, scratch.url());
  const std::vector<EntityBefore> before = countBefore(stage.store(), steps);

  Balance balance;
  CoreDataMigrator migrator;
  if (steps.size() > 1) {
    doWatched("Rehearsing", [&] { migrator.migrateStore(stage.store(), Version::version6); });
  }
  balance.filesMissing = replaceMissingPhotos(stage);
  doWatched("Rehearsing the last step",
            [&] { migrator.migrateStore(stage.store(), Version::newest()); });

  const StoreReading reading(stage.store(), steps.back().destinationModel);
  balance.entities = balanceOf(before, reading, steps);
  balance.photosFolded = reading.rows("Photo") -
                         static_cast<std::int64_t>(reading.keysWithout("data", "Photo").size() +
                                                   balance.filesMissing.size());
  return balance;
}

}  // namespace habits
