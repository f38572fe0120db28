#include "Tools/habits/Backup/StoreDuplicate.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "CoreData/SQLite/StoreBackup.h"

namespace habits {

using foundation::URL;

StoreDuplicate::StoreDuplicate(const std::string& of, std::string path) : path_(std::move(path)) {
  coredata::backUpStore(URL::fileURL(of), URL::fileURL(path_));
}

StoreDuplicate::~StoreDuplicate() {
  std::error_code failure;
  if (!isKept_) std::filesystem::remove(path_, failure);
}

}  // namespace habits
