#include "CoreDataStack/UseCases/CoreDataGroupUseCase.h"

#include <utility>

#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSArray;
using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using foundation::Error;
using foundation::Ref;

CoreDataGroupUseCase::CoreDataGroupUseCase(Ref<NSManagedObjectContext> context,
                                           Ref<logger::Loggable> logger)
    : context_(std::move(context)), logger_(std::move(logger)) {}

NSArray<CDGroup> CoreDataGroupUseCase::list() {
  NSFetchRequest<CDGroup> request = CDGroup::listFetchRequest(*context_);
  // All at once: a group that cannot be read is to be reported here, not where it is looked at.
  request.setFetchBatchSize(0);
  try {
    return context_->fetch(request);
  } catch (const Error& error) {
    foundation::print(error.description());
    logger_->error(error);
    return {};
  }
}

std::int64_t CoreDataGroupUseCase::numberOfGroups() {
  try {
    return context_->count(CDGroup::fetchRequest());
  } catch (const Error& error) {
    logger_->error(error);
    return 0;
  }
}

void CoreDataGroupUseCase::add(const Ref<CDGroup>& /*group*/) {}

void CoreDataGroupUseCase::update(const Ref<CDGroup>& /*group*/) {}

void CoreDataGroupUseCase::remove(const Ref<CDGroup>& /*group*/) {}

}  // namespace coredatastack
