#pragma once

#include "CoreData/Context/FetchedObjects.h"
#include "CoreDataStack/UseCases/CheckinWriter.h"
#include "Domain/ActivityUseCase.h"

namespace coredatastack {

/// Serves one activity in a context. Keeps nothing but the two: every call looks at the store.
///
/// A save or fetch that fails throws the store's error as it came, and what a check-in was to write
/// stays pending in the context.
///
/// Threading: use it on the context's queue.
class CoreDataActivityUseCase final
    : public domain::ActivityUseCase<CDCheckin, coredata::NSArray<CDCheckin>> {
 public:
  CoreDataActivityUseCase(foundation::Ref<CDActivity> activity,
                          foundation::Ref<coredata::NSManagedObjectContext> context);

  void addCheckin(foundation::Date at, domain::CheckinType with) override;
  foundation::Ref<CDCheckin> addCheckinCount(double amount, foundation::Date date) override;
  void deleteCheckin(foundation::Date at) override;
  /// One fetch that looks at every check-in there is; unsaved changes take part.
  [[nodiscard]] coredata::NSArray<CDCheckin> checkinsOfOverCount(double threshold) override;
  /// Works on the store directly, in one transaction of its own: nothing that is pending in the
  /// context is saved with it, and objects that were loaded before go on to show the check-ins
  /// until they are refreshed. Check-ins that were never saved stay.
  void eraseAllData() override;

 private:
  CheckinWriter writer_;
};

}  // namespace coredatastack
