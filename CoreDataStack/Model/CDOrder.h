#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"

namespace coredatastack {

class CDActivity;

/// Where an activity stands in a list.
///
/// Threading: belongs to its context's queue.
class CDOrder final : public coredata::NSManagedObject {
  CD_ENTITY(CDOrder, "Order")
  CD_INTEGER16(priority, setPriority)
  CD_INTEGER16(type, setType)
  CD_TO_ONE(CDActivity, activity, setActivity)
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
