#include "CoreData/Coordinator/NSPersistentStore.h"

#include <atomic>

#include "CoreData/Coordinator/NSPersistentStoreDescription.h"

namespace coredata {

namespace {
std::uint64_t nextSerial() noexcept {
  static std::atomic<std::uint64_t> counter{0};
  return counter.fetch_add(1, std::memory_order_relaxed) + 1;
}
}  // namespace

NSPersistentStore::NSPersistentStore(foundation::URL url, foundation::Ref<SQLiteStore> engine,
                                     std::optional<std::string> configuration)
    : url_(std::move(url)),
      engine_(std::move(engine)),
      configuration_(std::move(configuration)),
      identifier_(engine_->identifier().uuidString()),
      serial_(nextSerial()) {}

std::string_view NSPersistentStore::type() const noexcept { return NSSQLiteStoreType; }

}  // namespace coredata
