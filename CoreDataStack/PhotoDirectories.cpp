#include "CoreDataStack/PhotoDirectories.h"

#include "Foundation/Files/FileManager.h"

namespace coredatastack {

std::uint64_t spaceOfPhotos(const foundation::URL& container) {
  const auto path = container.appendingPathComponent(kPhotoDirectory).filePath();
  return path ? foundation::FileManager::defaultManager().size(*path) : 0;
}

}  // namespace coredatastack
