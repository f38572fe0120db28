#pragma once

#include "CoreData/Coordinator/NSManagedObjectID.h"
#include "CoreData/Coordinator/NSPersistentStore.h"
#include "CoreData/SQLite/HistoryRecords.h"

namespace coredata {

class ObjectIDTable;

/// Everything that one history request read, in one piece: the handles that the result gives out
/// hold it and know their place in it. Immutable; use it on any thread.
class HistoryBlock final : public foundation::Object {
 public:
  HistoryBlock(HistoryRecords found, foundation::Ref<ObjectIDTable> identifiers,
               foundation::Ref<NSPersistentStore> store,
               foundation::Ref<const NSManagedObjectModel> model);

  [[nodiscard]] const NSEntityDescription& entity(
      const HistoryChangeRecord& change) const noexcept {
    return model_->entity(change.entity);
  }
  [[nodiscard]] foundation::Ref<NSManagedObjectID> identifier(
      const HistoryChangeRecord& change) const;
  [[nodiscard]] const std::string& storeID() const noexcept { return store_->identifier(); }

  const HistoryRecords records;

 private:
  ~HistoryBlock() override;

  foundation::Ref<ObjectIDTable> identifiers_;
  foundation::Ref<NSPersistentStore> store_;
  foundation::Ref<const NSManagedObjectModel> model_;
};

}  // namespace coredata
