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

const NSAttributeDescription* NSEntityDescription::attribute(std::string_view name) const noexcept {
  return dynamic_cast<const NSAttributeDescription*>(property(name));
}

const NSRelationshipDescription* NSEntityDescription::relationship(
    std::string_view name) const noexcept {
  return dynamic_cast<const NSRelationshipDescription*>(property(name));
}

}  // namespace coredata
