#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"
#include "Domain/ActivityWidgetGroup.h"

namespace coredatastack {

class CDActivityWidgetItem;

/// A set of activities shown together in one home-screen widget.
///
/// Threading: belongs to its context's queue.
class CDActivityWidgetGroup final : public coredata::NSManagedObject {
  CD_ENTITY(CDActivityWidgetGroup, "ActivityWidgetGroup")
  CD_DATE(createdDate, setCreatedDate)
  CD_DATE(modifiedDate, setModifiedDate)
  CD_TEXT(name, setName)
  CD_INTEGER16(order, setOrder)
  CD_INTEGER16(type, setType)
  CD_UUID(uuid, setUuid)
  CD_TO_MANY(CDActivityWidgetItem, items, setItems, addItemsObject, removeItemsObject)

 public:
  /// The group as a value, without its items. What is absent becomes the all-zero identifier, the
  /// empty name, the distant past; an unknown type becomes the small size.
  [[nodiscard]] domain::ActivityWidgetGroup asActivityWigetGroup() const;
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivityWidgetItem.h"
