#include "CoreData/Context/FetchedObjects.h"

#include <algorithm>
#include <span>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/FetchedContent.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "Foundation/Values/Error.h"

namespace coredata {

using foundation::Ref;

FetchedObjects::FetchedObjects() = default;
FetchedObjects::FetchedObjects(const FetchedObjects&) = default;
FetchedObjects::FetchedObjects(FetchedObjects&&) noexcept = default;
FetchedObjects& FetchedObjects::operator=(const FetchedObjects&) = default;
FetchedObjects& FetchedObjects::operator=(FetchedObjects&&) noexcept = default;
FetchedObjects::~FetchedObjects() = default;

FetchedObjects::FetchedObjects(std::shared_ptr<FetchedContent> content)
    : content_(std::move(content)) {}

std::size_t FetchedObjects::size() const noexcept { return content_ ? content_->size() : 0; }

std::span<const ObjectKey> FetchedObjects::keys() const noexcept {
  return content_ ? std::span<const ObjectKey>(content_->keys) : std::span<const ObjectKey>();
}

Ref<Row> FetchedContent::row(std::size_t index, NSManagedObjectContext& context) {
  ContextState& state = *context.state_;
  const bool isCurrent = state.rowEpoch(*entity) == rowEpoch;
  if (!rows.empty()) return isCurrent ? rows[index] : nullptr;
  if (batchSize == 0) return nullptr;
  const bool isInBatch = index >= batchStart && index < batchStart + batch.size();
  if (!isInBatch || !isCurrent) {
    batchStart = index - index % batchSize;
    const std::size_t count = std::min(batchSize, keys.size() - batchStart);
    batch.clear();
    state.session().rows(*entity, std::span(keys).subspan(batchStart, count), batch);
    rowEpoch = state.rowEpoch(*entity);
  }
  return batch[index - batchStart];
}

Ref<NSManagedObject> FetchedObjects::at(std::size_t index) const {
  NSManagedObjectContext* context = content_->registry->context();
  if (context == nullptr) return nullptr;
  context->assertQueue();
  if (!content_->pinned.empty()) {
    if (const auto found = content_->pinned.find(index); found != content_->pinned.end())
      return found->second;
  }
  Ref<Row> row;
  try {
    row = content_->row(index, *context);
  } catch (const foundation::Error& error) {
    // Looking at an element cannot throw; the fault that is given instead tries again when it is
    // looked at.
    ContextState::report("cannot read a batch of " + content_->entity->name() + ": " +
                         error.description());
  }
  return context->state_->object(*content_->entity, content_->key(index), std::move(row));
}

}  // namespace coredata
