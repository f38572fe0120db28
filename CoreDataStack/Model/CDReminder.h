#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"

namespace coredatastack {

class CDActivity;

/// On which days of the week and at what time of day an activity reminds its user.
///
/// Threading: belongs to its context's queue.
class CDReminder final : public coredata::NSManagedObject {
  CD_ENTITY(CDReminder, "Reminder")
  CD_INTEGER16(days, setDays)
  CD_TEXT(time, setTime)
  CD_TO_ONE(CDActivity, activity, setActivity)
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
