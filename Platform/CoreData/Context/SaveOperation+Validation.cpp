#include "CoreData/Context/SaveError.h"
#include "CoreData/Context/SaveOperation.h"

namespace coredata {

using foundation::Error;
using foundation::Ref;

namespace {

SlotMask mandatorySlots(const NSEntityDescription& entity) {
  SlotMask result = 0;
  for (const Slot& slot : entity.slots()) {
    if (!slot.property->isOptional()) result |= SlotMask{1} << slot.property->slot();
  }
  return result;
}

}  // namespace

void SaveOperation::validate() const {
  std::vector<Error> errors;
  const NSEntityDescription* entity = nullptr;
  SlotMask mandatory = 0;
  for (const auto* objects : {&inserted_, &updated_}) {
    for (const Ref<NSManagedObject>& object : *objects) {
      if (entity != &object->entity()) {
        entity = &object->entity();
        mandatory = state_.savesUnfinished ? 0 : mandatorySlots(*entity);
      }
      if (mandatory != 0 && object->row_) validateValues(*object, mandatory, errors);
    }
  }
  for (const Ref<NSManagedObject>& object : deleted_) validateDeletion(*object, errors);
  if (!errors.empty()) throwSaveErrors(errors);
}

void SaveOperation::validateValues(const NSManagedObject& object, SlotMask mandatory,
                                   std::vector<Error>& errors) {
  for (const Slot& slot : object.entity().slots()) {
    const SlotIndex index = slot.property->slot();
    if ((mandatory >> index & 1) == 0 || !object.row_->isNone(index)) continue;
    errors.push_back(missingValueError(slot.property->name(), object.description()));
  }
}

void SaveOperation::validateDeletion(const NSManagedObject& object,
                                     std::vector<Error>& errors) const {
  for (const auto& [name, property] : object.entity().propertiesByName()) {
    const auto* relationship = dynamic_cast<const NSRelationshipDescription*>(property);
    if (relationship == nullptr || relationship->deleteRule() != NSDeleteRule::deny) continue;
    bool leadsSomewhere = false;
    if (relationship->isToMany()) {
      const ObjectSet members = object.toMany(relationship->toManyIndex());
      for (std::size_t i = 0; i < members.count() && !leadsSomewhere; ++i) {
        const Ref<NSManagedObject> member = members.at(i);
        leadsSomewhere = member && !member->isDeleted();
      }
    } else {
      const Ref<NSManagedObject> target = object.toOne(relationship->slot());
      leadsSomewhere = target && !target->isDeleted();
    }
    if (leadsSomewhere) {
      errors.push_back(saveError(
          SaveErrorCode::deletionDenied,
          object.description() + " cannot be deleted while its \"" + name + "\" leads anywhere."));
    }
  }
}

}  // namespace coredata
