#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Benchmarks/HandWrittenStore.h"
#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreDataStack/Model/CDActivity.h"

namespace benchmarks {

/// Whether a store is watched for what others commit.
enum class RemoteChanges : std::uint8_t { unwatched, watched };

/// A store of the library with the history on, opened by one container, and a private-queue context
/// over it.
class EngineStore {
 public:
  /// Opens the store, and makes it if it is not there.
  EngineStore(const std::string& path, Durability durability,
              RemoteChanges remoteChanges = RemoteChanges::unwatched);

  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return *context_; }
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& contextHandle() const {
    return context_;
  }
  /// The container's own context, which belongs to the main thread.
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& viewContext() const {
    return container_->viewContext();
  }
  /// Runs the block in the context's turn.
  template <typename F>
  decltype(auto) inBlock(F&& block) const {
    return context_->performBlockAndWait(std::forward<F>(block));
  }

 private:
  foundation::Ref<coredata::NSPersistentContainer> container_;
  foundation::Ref<coredata::NSManagedObjectContext> context_;
};

/// The activity that was made first.
[[nodiscard]] coredata::NSFetchRequest<coredatastack::CDActivity> firstActivity();

}  // namespace benchmarks
