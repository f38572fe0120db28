#include "CoreData/SQLite/StoreVFS.h"

#include <atomic>

namespace coredata {

namespace {
std::atomic<const char*> current{nullptr};
}  // namespace

const char* storeVFS() noexcept { return current.load(std::memory_order_acquire); }

StoreVFSOverride::StoreVFSOverride(const char* name) noexcept : previous_(current.exchange(name)) {}

StoreVFSOverride::~StoreVFSOverride() { current.store(previous_); }

}  // namespace coredata
