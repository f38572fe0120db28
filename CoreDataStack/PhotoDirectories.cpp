#include "CoreDataStack/PhotoDirectories.h"

#include <cerrno>

#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Error.h"

namespace coredatastack {

using foundation::URL;

URL photoFile(const URL& container, const std::string& named) {
  const std::string path = "/" + named + "/";
  if (path.find("/../") != std::string::npos || named.find('\0') != std::string::npos) {
    throw foundation::Error(
        std::string(foundation::kPosixErrorDomain), EPERM,
        "The photo file \"" + named + "\" does not lie in the directory of photos.");
  }
  return container.appendingPathComponent(std::string(kPhotoDirectory) + "/" + named);
}

std::uint64_t spaceOfPhotos(const URL& container) {
  const auto path = container.appendingPathComponent(kPhotoDirectory).filePath();
  return path ? foundation::FileManager::defaultManager().size(*path) : 0;
}

}  // namespace coredatastack
