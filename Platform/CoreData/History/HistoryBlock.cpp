#include "CoreData/History/HistoryBlock.h"

#include "CoreData/Coordinator/ObjectIDTable.h"

namespace coredata {

using foundation::Ref;

HistoryBlock::HistoryBlock(HistoryRecords found, Ref<ObjectIDTable> identifiers,
                           Ref<NSPersistentStore> store, Ref<const NSManagedObjectModel> model)
    : records(std::move(found)),
      identifiers_(std::move(identifiers)),
      store_(std::move(store)),
      model_(std::move(model)) {}

HistoryBlock::~HistoryBlock() = default;

Ref<NSManagedObjectID> HistoryBlock::identifier(const HistoryChangeRecord& change) const {
  return identifiers_->identifier(store_, entity(change), change.key);
}

}  // namespace coredata
