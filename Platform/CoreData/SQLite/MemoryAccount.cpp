#include "CoreData/SQLite/MemoryAccount.h"

#include <sqlite3.h>

namespace coredata {

void keepNoMemoryAccount() noexcept {
  // Refused once SQLite is at work.
  [[maybe_unused]] static const int result = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
}

}  // namespace coredata
