#include "CoreData/Model/NSManagedObjectModel.h"

#include <algorithm>

namespace coredata {
namespace {

using foundation::Value;
using foundation::ValueDictionary;

bool isHash(const Value& value, const VersionHash& hash) {
  const auto* data = value.data();
  return data != nullptr && std::ranges::equal(data->bytes(), hash);
}

}  // namespace

NSManagedObjectModel::~NSManagedObjectModel() {
  for (const auto* entity : entities_) entity->release();
}

const NSEntityDescription* NSManagedObjectModel::entity(std::string_view name) const noexcept {
  const auto found = std::ranges::lower_bound(entities_, name, {}, &NSEntityDescription::name);
  return found == entities_.end() || (*found)->name() != name ? nullptr : *found;
}

std::vector<std::string> NSManagedObjectModel::configurations() const {
  std::vector<std::string> names;
  names.reserve(configurations_.size());
  for (const auto& [name, entities] : configurations_) names.push_back(name);
  return names;
}

std::optional<std::vector<const NSEntityDescription*>> NSManagedObjectModel::entities(
    std::string_view configuration) const {
  const auto found = configurations_.find(configuration);
  if (found == configurations_.end()) return std::nullopt;
  std::vector<const NSEntityDescription*> entities;
  entities.reserve(found->second.size());
  for (const auto index : found->second) entities.push_back(entities_[index]);
  return entities;
}

ValueDictionary NSManagedObjectModel::entityVersionHashesByName() const {
  ValueDictionary hashes;
  for (const auto* entity : entities_) {
    hashes.emplace(entity->name(), foundation::Data(std::span(entity->versionHash())));
  }
  return hashes;
}

bool NSManagedObjectModel::isConfiguration(
    const std::optional<std::string>& configuration,
    const ValueDictionary& compatibleWithStoreMetadata) const {
  const auto expected = configuration ? entities(*configuration) : entities_;
  const auto found = compatibleWithStoreMetadata.find(NSStoreModelVersionHashesKey);
  if (!expected || found == compatibleWithStoreMetadata.end()) return false;
  const auto* hashes = found->second.dictionary();
  if (hashes == nullptr || hashes->size() != expected->size()) return false;
  return std::ranges::all_of(*expected, [&](const NSEntityDescription* entity) {
    const auto hash = hashes->find(entity->name());
    return hash != hashes->end() && isHash(hash->second, entity->versionHash());
  });
}

}  // namespace coredata
