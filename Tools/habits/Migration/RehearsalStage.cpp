#include "Tools/habits/Migration/RehearsalStage.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "CoreDataStack/SetAsidePhotos.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Error.h"
#include "Tools/habits/Migration/Interruption.h"
#include "Tools/habits/Progress.h"

namespace habits {

using coredatastack::SetAsidePhotos;
using foundation::Error;
using foundation::FileManager;
using foundation::URL;

namespace {

FileManager& files() { return FileManager::defaultManager(); }

std::filesystem::path pathOf(const URL& url) {
  return url.filePath().value_or(url.absoluteString());
}

bool cannotBeRead(const Error& error) {
  return error.domain() == foundation::kPosixErrorDomain &&
         (error.code() == EACCES || error.code() == EPERM || error.code() == ENOENT);
}

/// A file that cannot be read stays out: the rehearsal finds it missing, as the migration would.
void copyFile(const std::filesystem::path& from, const std::filesystem::path& to) {
  std::optional<foundation::Data> bytes;
  try {
    bytes = files().contents(from.string());
  } catch (const Error& error) {
    if (!cannotBeRead(error)) throw;
    return;
  }
  files().write(*bytes, URL::fileURL(to.string()));
}

void copyDirectory(const URL& fromURL, const URL& toURL) {
  const std::filesystem::path from = pathOf(fromURL);
  const std::filesystem::path to = pathOf(toURL);
  if (!std::filesystem::is_directory(from)) return;
  std::filesystem::create_directories(to);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(from)) {
    Interruption::stopIfWanted();
    const auto copy = to / entry.path().lexically_relative(from);
    if (entry.is_directory() && !entry.is_symlink()) std::filesystem::create_directories(copy);
    if (entry.is_regular_file() && !exists(copy)) copyFile(entry.path(), copy);
  }
}

/// What a killed migration set aside counts as put back, where nothing else has taken its place.
void copyPhotos(const URL& from, const URL& to, const std::optional<SetAsidePhotos>& aside) {
  for (const std::string_view kind : coredatastack::kPhotoDirectories) {
    const URL copy = to.appendingPathComponent(kind);
    copyDirectory(from.appendingPathComponent(kind), copy);
    if (aside) copyDirectory(aside->directory().appendingPathComponent(kind), copy);
  }
}

}  // namespace

RehearsalStage::RehearsalStage(const URL& ofStore, const URL& within)
    : realContainer_(files().containerURL(coredatastack::appGroupIdentifier())),
      container_(within.appendingPathComponent("rehearsal")),
      store_(container_.appendingPathComponent("Model.sqlite")) {
  const Progress progress("Copying", 1);
  files().createDirectory(container_, false);
  foundation::make<coredata::NSPersistentStoreCoordinator>(coredata::NSManagedObjectModel::empty())
      ->replacePersistentStore(store_, {}, ofStore, {}, coredata::NSSQLiteStoreType);
  if (realContainer_) copyPhotos(*realContainer_, container_, SetAsidePhotos::ofStore(ofStore));
  files().registerApplicationGroup(coredatastack::appGroupIdentifier(), container_);
}

RehearsalStage::~RehearsalStage() {
  if (realContainer_) {
    files().registerApplicationGroup(coredatastack::appGroupIdentifier(), *realContainer_);
  }
}

}  // namespace habits
