#include "CoreData/Model/NSEntityDescription.h"

namespace coredata {

NSEntityDescription::~NSEntityDescription() {
  for (const auto& [name, property] : properties_) property->release();
  for (const auto* index : indexes_) index->release();
}

const NSPropertyDescription* NSEntityDescription::property(std::string_view name) const noexcept {
  const auto found = properties_.find(name);
  return found == properties_.end() ? nullptr : found->second;
}

// A slot knows the kind of what it holds; only what is not stored has to be asked itself.

const NSAttributeDescription* NSEntityDescription::attribute(std::string_view name) const noexcept {
  const auto* found = property(name);
  const bool isStored = found != nullptr && found->slot() != kNoSlot;
  return isStored ? slots_[found->slot()].attribute
                  : dynamic_cast<const NSAttributeDescription*>(found);
}

const NSRelationshipDescription* NSEntityDescription::relationship(
    std::string_view name) const noexcept {
  const auto* found = property(name);
  const bool isStored = found != nullptr && found->slot() != kNoSlot;
  return isStored ? slots_[found->slot()].relationship
                  : dynamic_cast<const NSRelationshipDescription*>(found);
}

}  // namespace coredata
