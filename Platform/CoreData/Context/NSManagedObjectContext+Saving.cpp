#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Context/SaveOperation.h"

namespace coredata {

const foundation::NSNotification::Name& NSManagedObjectContext::didSaveNotification() {
  static constexpr foundation::NSNotificationName kName{
      "NSManagedObjectContextDidSaveNotification"};
  return kName;
}

void NSManagedObjectContext::save() {
  assertQueue();
  processPendingChanges();
  if (!state_->hasChanges()) return;
  SaveOperation(*state_).run();
}

}  // namespace coredata
