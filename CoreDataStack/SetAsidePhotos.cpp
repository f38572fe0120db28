#include "CoreDataStack/SetAsidePhotos.h"

#include <algorithm>

#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "Foundation/Files/FileManager.h"

namespace coredatastack {

using foundation::FileManager;
using foundation::URL;

namespace {

constexpr std::string_view kAsidePrefix = "photos-of-";

FileManager& files() { return FileManager::defaultManager(); }

/// What cannot be examined is not taken for missing: photos would stay where nobody looks for them,
/// or others' go along.
std::optional<FileManager::ItemKind> kindOf(const URL& url) {
  return url.filePath() ? files().itemKind(url) : std::nullopt;
}

bool exists(const URL& url) { return kindOf(url).has_value(); }
bool isDirectory(const URL& url) { return kindOf(url) == FileManager::ItemKind::directory; }

/// Whether nothing but those files lies in the directory, so that it can go as a whole.
bool holdsOnly(const URL& directory, const std::set<std::string>& names) {
  if (!isDirectory(directory)) return true;
  return std::ranges::all_of(files().contentsOfDirectory(directory), [&](const URL& entry) {
    return names.contains(entry.lastPathComponent());
  });
}

void move(const URL& from, const URL& to) {
  files().createDirectory(to.deletingLastPathComponent(), true);
  files().moveItem(from, to);
}

/// Moves what is in the way of nothing, and removes the directory when it is empty then.
void merge(const URL& from, const URL& to) {
  if (!exists(to)) return move(from, to);
  if (!isDirectory(from) || !isDirectory(to)) return;
  for (const URL& entry : files().contentsOfDirectory(from)) {
    merge(entry, to.appendingPathComponent(entry.lastPathComponent()));
  }
  if (files().contentsOfDirectory(from).empty()) files().removeItem(from);
}

/// Makes what was moved into a directory and out of it survive a loss of power.
void syncEntries(const URL& directory) {
  if (isDirectory(directory)) {
    coredata::syncDirectoryOf(*directory.appendingPathComponent(kPhotoDirectory).filePath());
  }
}

}  // namespace

std::optional<SetAsidePhotos> SetAsidePhotos::ofStore(const URL& store) {
  const auto container = files().containerURL(appGroupIdentifier());
  const auto metadata = storeMetadata(store);
  if (!container || !metadata) return std::nullopt;
  const auto identifier = coredata::storeIdentifier(*metadata);
  return identifier ? std::optional(SetAsidePhotos(*container, identifier->uuidString()))
                    : std::nullopt;
}

SetAsidePhotos::SetAsidePhotos(const URL& container, std::string_view storeIdentifier)
    : container_(container),
      aside_(container.appendingPathComponent(std::string(kAsidePrefix) +
                                              std::string(storeIdentifier))) {}

bool SetAsidePhotos::othersAreAside() const {
  if (!isDirectory(container_)) return false;
  return std::ranges::any_of(files().contentsOfDirectory(container_), [&](const URL& entry) {
    const std::string name = entry.lastPathComponent();
    return name.starts_with(kAsidePrefix) && name != aside_.lastPathComponent();
  });
}

void SetAsidePhotos::setAside(const std::set<std::string>& names) const {
  const bool takesAll =
      !othersAreAside() && holdsOnly(container_.appendingPathComponent(kPhotoDirectory), names);
  for (const std::string_view kind : kPhotoDirectories) {
    const URL from = container_.appendingPathComponent(kind);
    const URL to = aside_.appendingPathComponent(kind);
    if (!exists(from)) continue;
    if (takesAll) {
      move(from, to);
      continue;
    }
    for (const std::string& name : names) {
      const URL file = from.appendingPathComponent(name);
      if (exists(file)) move(file, to.appendingPathComponent(name));
    }
  }
  if (exist()) sync();
}

void SetAsidePhotos::sync() const {
  for (const URL& whole : {container_, aside_}) {
    syncEntries(whole);
    for (const std::string_view kind : kPhotoDirectories) {
      syncEntries(whole.appendingPathComponent(kind));
    }
  }
}

void SetAsidePhotos::putBack() const {
  if (!exist()) return;
  for (const std::string_view kind : kPhotoDirectories) {
    const URL from = aside_.appendingPathComponent(kind);
    if (exists(from)) merge(from, container_.appendingPathComponent(kind));
  }
  if (files().contentsOfDirectory(aside_).empty()) files().removeItem(aside_);
}

void SetAsidePhotos::discard() const {
  if (exist()) files().removeItem(aside_);
}

bool SetAsidePhotos::exist() const { return exists(aside_); }

}  // namespace coredatastack
