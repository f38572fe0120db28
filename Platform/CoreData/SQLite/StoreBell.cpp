#include "CoreData/SQLite/StoreBell.h"

#include <fcntl.h>

#include <cerrno>
#include <exception>

#include "CoreData/SQLite/StoreFile.h"

namespace coredata {

namespace {
// By its path at each ring: a descriptor that is kept would go on ringing a file that somebody
// removed.
foundation::FileResult<void> touch(const std::string& path) noexcept {
  return foundation::FileSystem::current().touch(AT_FDCWD, path.c_str());
}
}  // namespace

StoreBell::StoreBell(const std::string& storePath) : path_(storePath + std::string(kBellSuffix)) {}

void StoreBell::make() const noexcept {
  try {
    createFile(path_);
  } catch (const std::exception&) {
    // Then nobody hears of commits before they look.
  }
}

void StoreBell::ring() const noexcept {
  const auto rung = touch(path_);
  if (rung || rung.error() != ENOENT) return;
  make();
  // Somebody may have made it, and listened, just before.
  ringIfThere();
}

void StoreBell::ringIfThere() const noexcept { [[maybe_unused]] const auto rung = touch(path_); }

}  // namespace coredata
