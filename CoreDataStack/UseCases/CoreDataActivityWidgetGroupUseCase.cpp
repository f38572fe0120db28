#include "CoreDataStack/UseCases/CoreDataActivityWidgetGroupUseCase.h"

#include <utility>
#include <vector>

#include "Foundation/Predicate/PredicateTemplate.h"

namespace coredatastack {

using coredata::NSArray;
using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using domain::ActivityWidgetSize;
using foundation::PredicateTemplate;
using foundation::Ref;
using foundation::SortDescriptors;

CoreDataActivityWidgetGroupUseCase::CoreDataActivityWidgetGroupUseCase(
    Ref<NSManagedObjectContext> context)
    : context_(std::move(context)) {}

NSArray<CDActivityWidgetGroup> CoreDataActivityWidgetGroupUseCase::list(ActivityWidgetSize by) {
  static constinit PredicateTemplate ofSize{"type = %d"};
  static const SortDescriptors inOrder{{"order", true}};
  NSFetchRequest<CDActivityWidgetGroup> request = CDActivityWidgetGroup::fetchRequest();
  request.setPredicate(ofSize.bind(by.value()));
  request.setSortDescriptors(inOrder);
  return context_->fetch(request);
}

Ref<CDActivityWidgetGroup> CoreDataActivityWidgetGroupUseCase::find(const foundation::UUID& by) {
  static constinit PredicateTemplate ofIdentity{"uuid == %@"};
  NSFetchRequest<CDActivityWidgetGroup> request = CDActivityWidgetGroup::fetchRequest();
  request.setPredicate(ofIdentity.bind(by));
  return context_->fetchFirst(request);
}

void CoreDataActivityWidgetGroupUseCase::add(const Ref<CDActivityWidgetGroup>& /*group*/) {
  context_->save();
}

void CoreDataActivityWidgetGroupUseCase::update(const Ref<CDActivityWidgetGroup>& /*group*/) {
  context_->save();
}

void CoreDataActivityWidgetGroupUseCase::remove(const Ref<CDActivityWidgetGroup>& group) {
  context_->delete_(group);
}

}  // namespace coredatastack
