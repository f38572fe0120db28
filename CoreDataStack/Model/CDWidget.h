#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"

namespace coredatastack {

class CDActivity;

/// Where an activity stands among those that widgets show.
///
/// Threading: belongs to its context's queue.
class CDWidget final : public coredata::NSManagedObject {
  CD_ENTITY(CDWidget, "Widget")
  CD_INTEGER16(priority, setPriority)
  CD_TO_ONE(CDActivity, activity, setActivity)
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
