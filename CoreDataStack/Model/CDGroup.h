#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"

namespace coredatastack {

class CDActivity;

/// A named group of activities.
///
/// Threading: belongs to its context's queue.
class CDGroup final : public coredata::NSManagedObject {
  CD_ENTITY(CDGroup, "Group")
  CD_DATE(createdDate, setCreatedDate)
  CD_INTEGER16(priority, setPriority)
  CD_TEXT(title, setTitle)
  CD_TO_MANY(CDActivity, activities, setActivities, addActivitiesObject, removeActivitiesObject)

 public:
  /// A new group without title and priority.
  [[nodiscard]] static foundation::Ref<CDGroup> create(coredata::NSManagedObjectContext& in);
  /// All groups by priority, the newest first among equals, read in batches of 20. The request may
  /// be run in any context.
  [[nodiscard]] static coredata::NSFetchRequest<CDGroup> listFetchRequest(
      coredata::NSManagedObjectContext& with);
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
