#include "CoreData/Coordinator/NSManagedObjectID.h"

#include <functional>

#include "CoreData/Coordinator/ObjectIDTable.h"
#include "Foundation/Values/UUID.h"

namespace coredata {

using foundation::Ref;

namespace {
/// Sets the temporary keys of this process apart from those of any other.
const std::string& processMark() {
  static const auto* mark = new std::string(foundation::UUID().uuidString());
  return *mark;
}
}  // namespace

NSManagedObjectID::NSManagedObjectID(Ref<ObjectIDTable> table, Ref<NSPersistentStore> store,
                                     const NSEntityDescription& entity, ObjectKey key)
    : table_(std::move(table)), store_(std::move(store)), entity_(&entity), key_(key) {}

NSManagedObjectID::~NSManagedObjectID() = default;

void NSManagedObjectID::lastReferenceDropped() const noexcept {
  table_->remove(*this);
  delete this;
}

Ref<NSPersistentStore> NSManagedObjectID::persistentStore() const {
  return isTemporaryID() ? nullptr : store_;
}

foundation::URL NSManagedObjectID::uriRepresentation() const {
  const ObjectKey current = key();
  const std::string text = isTemporary(current)
                               ? "x-coredata:///" + entity_->name() + "/t" + processMark() + "-" +
                                     std::to_string(-current)
                               : "x-coredata://" + store_->identifier() + "/" + entity_->name() +
                                     "/p" + std::to_string(current);
  return *foundation::URL::parse(text);
}

bool NSManagedObjectID::isEqual(const foundation::Object& other) const noexcept {
  if (this == &other) return true;
  const auto* that = dynamic_cast<const NSManagedObjectID*>(&other);
  if (that == nullptr || key() != that->key() || entity_->name() != that->entity_->name())
    return false;
  return isTemporaryID() || store_->identifier() == that->store_->identifier();
}

std::size_t NSManagedObjectID::hash() const noexcept {
  return std::hash<ObjectKey>{}(key()) * 31 + std::hash<std::string>{}(entity_->name());
}

std::string NSManagedObjectID::description() const { return uriRepresentation().absoluteString(); }

}  // namespace coredata
