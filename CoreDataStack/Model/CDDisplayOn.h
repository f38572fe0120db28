#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"

namespace coredatastack {

class CDActivity;

/// The days of the week on which an activity is shown.
///
/// Threading: belongs to its context's queue.
class CDDisplayOn final : public coredata::NSManagedObject {
  CD_ENTITY(CDDisplayOn, "DisplayOn")
  CD_INTEGER16(days, setDays)
  CD_TO_ONE(CDActivity, activity, setActivity)
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
