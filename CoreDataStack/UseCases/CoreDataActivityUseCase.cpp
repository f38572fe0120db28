#include "CoreDataStack/UseCases/CoreDataActivityUseCase.h"

#include <utility>

#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "Foundation/Predicate/PredicateTemplate.h"

namespace coredatastack {

using coredata::NSArray;
using coredata::NSBatchDeleteRequest;
using coredata::NSBatchDeleteRequestResultType;
using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using domain::CheckinType;
using foundation::Date;
using foundation::PredicateTemplate;
using foundation::Ref;

CoreDataActivityUseCase::CoreDataActivityUseCase(Ref<CDActivity> activity,
                                                 Ref<NSManagedObjectContext> context)
    : writer_(std::move(activity), std::move(context)) {}

void CoreDataActivityUseCase::addCheckin(Date at, CheckinType with) {
  writer_.addCheckin(at, with);
}

Ref<CDCheckin> CoreDataActivityUseCase::addCheckinCount(double /*amount*/, Date date) {
  return writer_.addCheckinCount(date);
}

void CoreDataActivityUseCase::deleteCheckin(Date at) { writer_.deleteCheckin(at); }

NSArray<CDCheckin> CoreDataActivityUseCase::checkinsOfOverCount(double threshold) {
  static constinit PredicateTemplate overCount{"count > %lf"};
  NSFetchRequest<CDCheckin> request = CDCheckin::fetchRequest();
  request.setPredicate(overCount.bind(threshold));
  return writer_.context().fetch(request);
}

void CoreDataActivityUseCase::eraseAllData() {
  static constinit PredicateTemplate ofActivity{"activity = %@"};
  NSFetchRequest<CDCheckin> checkins = CDCheckin::fetchRequest();
  checkins.setPredicate(ofActivity.bind(writer_.activity()));
  NSBatchDeleteRequest request(std::move(checkins));
  request.setResultType(NSBatchDeleteRequestResultType::count);
  // How many there were is nobody's question here.
  static_cast<void>(writer_.context().execute(request));
}

}  // namespace coredatastack
