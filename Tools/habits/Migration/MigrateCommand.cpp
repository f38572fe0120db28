#include <filesystem>

#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/LeftoverPhotos.h"
#include "Foundation/Files/FileManager.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Migration/OldStore.h"
#include "Tools/habits/Migration/PlannedMigration.h"
#include "Tools/habits/Migration/Rehearsal.h"
#include "Tools/habits/Session.h"

namespace habits {

using foundation::FileManager;
using foundation::URL;
using foundation::ValueDictionary;
using foundation::ValueList;
using Version = coredatastack::CoreDataMigrationVersion;

namespace {

void takePhotosFrom(const std::string& named) {
  const std::string path = named.empty() ? "" : std::filesystem::absolute(named).string();
  if (!FileManager::defaultManager().isDirectory(path)) {
    throw UsageError("--photos needs a directory, the one that holds the directory of photos; \"" +
                     named + "\" is none.");
  }
  FileManager::defaultManager().registerApplicationGroup(coredatastack::appGroupIdentifier(),
                                                         URL::fileURL(path + "/"));
}

Answer answerOf(const std::string& path, const Version& from, const Steps& steps) {
  ValueList names;
  for (const auto& step : steps) {
    names.emplace_back(*step.destinationModel->versionIdentifiers().begin());
  }
  const std::string was(from.rawValue());
  const std::string is(Version::newest().rawValue());
  std::string text = steps.empty() ? path + " is of version " + is + " already; nothing to do."
                                   : "Brought " + path + " from " + was + " to " + is + ".";
  return {
      std::move(text),
      ValueDictionary{{"store", path}, {"from", was}, {"to", is}, {"versions", std::move(names)}}};
}

}  // namespace

Answer migrate(const std::string& path, const MigrationWish& wish) {
  if (wish.photos) takePhotosFrom(*wish.photos);
  const URL store = URL::fileURL(path);
  if (!FileManager::defaultManager().itemKind(store)) {
    throw Refusal("There is no store at " + path + ".");
  }
  const auto version = olderVersion(store);
  if (!version) {
    requireNewest(store);
    if (!wish.isOnlyLookedAt()) coredatastack::discardLeftoverPhotos(store);
    return answerOf(path, Version::newest(), {});
  }
  const Steps steps = coredatastack::CoreDataMigrator().migrationSteps(*version, Version::newest());
  if (wish.plansOnly) return answerOf(planned(store, steps), path);
  if (wish.rehearses) return answerOf(rehearse(store, steps), path);
  bringForward(*stackOver(path), path);
  return answerOf(path, *version, steps);
}

}  // namespace habits
