#include "CoreDataStack/Model/CDGroup.h"

namespace coredatastack {

using coredata::NSManagedObjectContext;
using foundation::Ref;

namespace {

constexpr std::size_t kBatchSize = 20;

}  // namespace

Ref<CDGroup> CDGroup::create(NSManagedObjectContext& in) {
  auto group = foundation::make<CDGroup>(in);
  group->setCreatedDate(foundation::Date::now());
  return group;
}

coredata::NSFetchRequest<CDGroup> CDGroup::listFetchRequest(NSManagedObjectContext& /*with*/) {
  auto request = fetchRequest();
  request.setSortDescriptors({{"priority", true}, {"createdDate", false}});
  request.setFetchBatchSize(kBatchSize);
  return request;
}

}  // namespace coredatastack
