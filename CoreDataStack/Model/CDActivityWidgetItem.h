#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"

namespace coredatastack {

class CDActivity;
class CDActivityWidgetGroup;

/// One activity's place in a widget group.
///
/// Threading: belongs to its context's queue.
class CDActivityWidgetItem final : public coredata::NSManagedObject {
  CD_ENTITY(CDActivityWidgetItem, "ActivityWidgetItem")
  CD_INTEGER16(order, setOrder)
  CD_UUID(uuid, setUuid)
  CD_TO_ONE(CDActivity, activity, setActivity)
  CD_TO_ONE(CDActivityWidgetGroup, group, setGroup)
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDActivityWidgetGroup.h"
