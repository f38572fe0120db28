#include "CoreData/Model/ModelBuilder.h"

#include <algorithm>
#include <utility>

#include "CoreData/Model/ModelChecks.h"

namespace coredata {
namespace {

using foundation::Ref;

/// Hands the handle's count over to a plain pointer that an owner already keeps.
template <typename T>
void handOver(Ref<T>& owned) noexcept {
  static_cast<void>(owned.leak());
}

template <typename Named>
std::size_t placeOf(const std::vector<Named>& sorted, std::string_view name) {
  const auto found = std::ranges::lower_bound(sorted, name, {}, &Named::name);
  return static_cast<std::size_t>(found - sorted.begin());
}

}  // namespace

Ref<NSManagedObjectModel> NSManagedObjectModel::empty() { return ModelBuilder::build({}); }

Ref<NSManagedObjectModel> ModelBuilder::build(ModelSource source) {
  source.normalize();
  checkModel(source);
  return assemble(source, versionHashes(source));
}

Ref<NSManagedObjectModel> ModelBuilder::build(ModelSource source, const VersionHashes& hashes) {
  source.normalize();
  checkModel(source);
  return assemble(source, hashes);
}

Ref<NSManagedObjectModel> ModelBuilder::assemble(const ModelSource& checked,
                                                 const VersionHashes& hashes) {
  ModelBuilder builder(checked);
  builder.addEntities(hashes);
  for (auto& draft : builder.drafts_) {
    builder.addAttributes(draft);
    builder.addRelationships(draft);
    builder.numberProperties(draft);
    builder.addIndexes(draft);
  }
  for (auto& draft : builder.drafts_) builder.connect(draft);
  builder.addConfigurations();
  return std::move(builder.model_);
}

void ModelBuilder::addEntities(const VersionHashes& hashes) {
  model_ = Ref<NSManagedObjectModel>::adopt(new NSManagedObjectModel());
  model_->fingerprint_ = hashes.fingerprint;
  model_->versionIdentifiers_.insert(source_.identifiers.begin(), source_.identifiers.end());
  model_->entities_.reserve(source_.entities.size());
  drafts_.reserve(source_.entities.size());
  for (const auto& source : source_.entities) {
    auto entity = Ref<NSEntityDescription>::adopt(new NSEntityDescription());
    entity->name_ = source.name;
    entity->className_ = source.className;
    entity->renamingIdentifier_ = source.renamedFrom;
    entity->model_ = model_.get();
    entity->index_ = static_cast<EntityIndex>(drafts_.size());
    entity->abstract_ = source.abstract;
    entity->versionHash_ = hashes.entities.at(drafts_.size());
    drafts_.push_back({&source, entity.get(), {}, {}});
    model_->entities_.push_back(entity.get());
    handOver(entity);
  }
}

template <typename Source>
void ModelBuilder::describe(NSPropertyDescription& property, const Source& source, Draft& draft) {
  property.renamingIdentifier_ = source.renamedFrom;
  property.optional_ = source.optional;
  property.entity_ = draft.entity;
}

void ModelBuilder::addAttributes(Draft& draft) {
  auto& properties = draft.entity->properties_;
  draft.attributes.reserve(draft.source->attributes.size());
  for (const auto& source : draft.source->attributes) {
    auto attribute = Ref<NSAttributeDescription>::adopt(new NSAttributeDescription(source.name));
    describe(*attribute, source, draft);
    attribute->type_ = source.type;
    attribute->scalar_ = source.scalar;
    attribute->transient_ = source.transient;
    attribute->defaultValue_ = source.defaultValue;
    attribute->hashModifier_ = source.hashModifier;
    draft.attributes.push_back(attribute.get());
    properties.emplace_hint(properties.end(), source.name, attribute.get());
    handOver(attribute);
  }
}

void ModelBuilder::addRelationships(Draft& draft) {
  draft.relationships.reserve(draft.source->relationships.size());
  for (const auto& source : draft.source->relationships) {
    auto relationship =
        Ref<NSRelationshipDescription>::adopt(new NSRelationshipDescription(source.name));
    describe(*relationship, source, draft);
    relationship->toMany_ = source.toMany;
    relationship->deleteRule_ = source.deleteRule;
    draft.relationships.push_back(relationship.get());
    draft.entity->properties_.emplace(source.name, relationship.get());
    handOver(relationship);
  }
}

void ModelBuilder::numberProperties(Draft& draft) {
  auto& entity = *draft.entity;
  entity.slots_.reserve(draft.attributes.size() + draft.relationships.size());
  // Both lists are in the order of names, and the numbers go by it.
  auto attribute = draft.attributes.begin();
  for (auto* relationship : draft.relationships) {
    for (; attribute != draft.attributes.end(); ++attribute) {
      if ((*attribute)->name() > relationship->name()) break;
      number(entity, **attribute);
    }
    number(entity, *relationship);
  }
  for (; attribute != draft.attributes.end(); ++attribute) number(entity, **attribute);
}

void ModelBuilder::number(NSEntityDescription& entity, NSAttributeDescription& attribute) {
  if (attribute.isTransient()) return;
  attribute.slot_ = static_cast<SlotIndex>(entity.slots_.size());
  entity.slots_.push_back({&attribute, &attribute, nullptr});
}

void ModelBuilder::number(NSEntityDescription& entity, NSRelationshipDescription& relationship) {
  if (relationship.isToMany()) {
    relationship.toManyIndex_ = static_cast<ToManyIndex>(entity.toMany_.size());
    entity.toMany_.push_back(&relationship);
    return;
  }
  relationship.slot_ = static_cast<SlotIndex>(entity.slots_.size());
  entity.toOneSlots_.push_back(relationship.slot_);
  entity.slots_.push_back({&relationship, nullptr, &relationship});
}

void ModelBuilder::addIndexes(Draft& draft) {
  auto& entity = *draft.entity;
  entity.indexes_.reserve(draft.source->indexes.size());
  for (const auto& source : draft.source->indexes) {
    auto index = Ref<NSFetchIndexDescription>::adopt(new NSFetchIndexDescription(source.name));
    for (const auto& name : source.properties)
      index->slots_.push_back(entity.property(name)->slot());
    entity.indexes_.push_back(index.get());
    handOver(index);
  }
}

void ModelBuilder::connect(Draft& draft) {
  for (std::size_t i = 0; i < draft.relationships.size(); ++i) {
    const auto& source = draft.source->relationships[i];
    auto& destination = draftOf(source.destination);
    draft.relationships[i]->destination_ = destination.entity;
    if (source.inverse.empty()) continue;
    const auto inverse = placeOf(destination.source->relationships, source.inverse);
    draft.relationships[i]->inverse_ = destination.relationships[inverse];
  }
}

void ModelBuilder::addConfigurations() {
  for (const auto& source : source_.configurations) {
    auto& entities = model_->configurations_[source.name];
    for (const auto& name : source.entities) entities.push_back(draftOf(name).entity->index());
  }
}

ModelBuilder::Draft& ModelBuilder::draftOf(std::string_view entityName) {
  return drafts_[placeOf(source_.entities, entityName)];
}

Ref<NSManagedObjectModel> modelFromSource(std::string_view json) {
  return ModelBuilder::build(ModelSource::parse(json));
}

}  // namespace coredata
