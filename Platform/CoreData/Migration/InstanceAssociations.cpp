#include "CoreData/Migration/InstanceAssociations.h"

namespace coredata {

void InstanceAssociations::add(ObjectKey source, foundation::Ref<NSManagedObjectID> destination) {
  const std::size_t position = pairs_.size();
  byDestination_.emplace(destination.get(), source);
  pairs_.push_back({source, std::move(destination)});
  next_.push_back(kNone);
  const auto [found, isNew] = bySource_.emplace(source, {position, position});
  if (isNew) return;
  next_[found->second.second] = position;
  found->second.second = position;
}

ObjectKey InstanceAssociations::sourceOf(const NSManagedObjectID& destination) const {
  const auto found = byDestination_.find(&destination);
  return found == byDestination_.end() ? kNoObject : found->second;
}

}  // namespace coredata
