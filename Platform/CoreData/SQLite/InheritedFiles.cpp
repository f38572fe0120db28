#include "CoreData/SQLite/InheritedFiles.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include "CoreData/SQLite/ForkGeneration.h"

namespace coredata {

namespace {
/// Beyond the numbers that the system gives to devices.
constexpr dev_t kFarDevice = dev_t{1} << 48U;

/// SQLite knows a file by what this says its device and inode are, and looks at the device for
/// nothing else.
int statusOfOpenFile(int descriptor, struct stat* status) {
  const int result = ::fstat(descriptor, status);
  if (result == 0) status->st_dev += kFarDevice * forkGeneration();
  return result;
}
}  // namespace

void keepInheritedFilesApart() noexcept {
  if (forkGeneration() == 0) return;
  sqlite3_vfs* const system = sqlite3_vfs_find("unix");
  if (system == nullptr || system->iVersion < 3) return;
  system->xSetSystemCall(system, "fstat", reinterpret_cast<sqlite3_syscall_ptr>(statusOfOpenFile));
}

}  // namespace coredata
