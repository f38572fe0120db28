#pragma once

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "Domain/CheckinType.h"
#include "Foundation/Values/Date.h"

namespace coredatastack {

/// The writes that use cases share which check one activity in and out. What each means, and what
/// it throws, is `domain::CheckinRecorder`'s to say.
///
/// A save that fails leaves what was to be written pending in the context.
///
/// Threading: use it on the context's queue.
class CheckinWriter {
 public:
  CheckinWriter(foundation::Ref<CDActivity> activity,
                foundation::Ref<coredata::NSManagedObjectContext> context);

  void addCheckin(foundation::Date at, domain::CheckinType with) const;
  [[nodiscard]] foundation::Ref<CDCheckin> addCheckinCount(foundation::Date date) const;
  void deleteCheckin(foundation::Date at) const;

  [[nodiscard]] const foundation::Ref<CDActivity>& activity() const noexcept { return activity_; }
  [[nodiscard]] coredata::NSManagedObjectContext& context() const noexcept { return *context_; }

 private:
  /// A new check-in of the activity on the day of the date.
  [[nodiscard]] foundation::Ref<CDCheckin> insertCheckin(foundation::Date date,
                                                         domain::CheckinType type) const;
  void saveIfChanged() const;

  foundation::Ref<CDActivity> activity_;
  foundation::Ref<coredata::NSManagedObjectContext> context_;
};

}  // namespace coredatastack
