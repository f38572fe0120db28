#include "CoreData/Migration/Mapping/NSMappingModel.h"

#include <algorithm>
#include <utility>

namespace coredata {

NSMappingModel::NSMappingModel(MappingContent content) {
  entityMappings_.reserve(content.entityMappings.size());
  for (auto& mapping : content.entityMappings) {
    entityMappings_.push_back(foundation::make<NSEntityMapping>(std::move(mapping)));
  }
}

const NSEntityMapping* NSMappingModel::entityMapping(std::string_view name) const noexcept {
  const auto found =
      std::ranges::find(entityMappings_, name,
                        [](const auto& mapping) -> std::string_view { return mapping->name(); });
  return found == entityMappings_.end() ? nullptr : found->get();
}

}  // namespace coredata
