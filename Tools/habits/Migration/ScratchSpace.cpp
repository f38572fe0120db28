#include "Tools/habits/Migration/ScratchSpace.h"

#include <utility>

#include "CoreDataStack/BuildIdentifiers.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Error.h"

namespace habits {

using foundation::TemporaryDirectory;

void requireApartFromPhotos(const TemporaryDirectory& directory) {
  const auto container =
      foundation::FileManager::defaultManager().containerURL(coredatastack::appGroupIdentifier());
  if (container) directory.requireApart(*container);
}

ScratchSpace::ScratchSpace(foundation::URL store)
    : store_(std::move(store)),
      directory_(TemporaryDirectory::ofProcess()),
      guard_(directory_.lock()) {
  requireApartFromPhotos(directory_);
  directory_.removeContents(store_);
}

ScratchSpace::~ScratchSpace() {
  try {
    directory_.removeContents(store_);
  } catch (const foundation::Error&) {
    // Whoever uses the directory next empties it first, and says so if that fails.
  }
}

}  // namespace habits
