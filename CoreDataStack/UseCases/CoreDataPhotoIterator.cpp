#include "CoreDataStack/UseCases/CoreDataPhotoIterator.h"

#include <string>
#include <utility>

#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using domain::Photo;
using foundation::IndexPath;
using foundation::Ref;

CoreDataPhotoIterator::CoreDataPhotoIterator() {
  foundation::fatalError(
      "Use of unimplemented initializer 'init()' for class 'CoreDataStack.CoreDataPhotoIterator'");
}

CoreDataPhotoIterator::CoreDataPhotoIterator(Ref<NSManagedObjectContext> context,
                                             const NSFetchRequest<CDPhoto>& request)
    : context_(std::move(context)),
      fetchedResultsController_(foundation::make<Controller>(request, context_)) {
  try {
    fetchedResultsController_->performFetch();
  } catch (const foundation::Error& error) {
    foundation::print(error.description());
  }
}

std::size_t CoreDataPhotoIterator::numberOfSections() const {
  return fetchedResultsController_->sections().size();
}

std::size_t CoreDataPhotoIterator::numberOfItems(std::size_t at) const {
  const auto sections = fetchedResultsController_->sections();
  if (sections.empty()) return 0;
  if (at >= sections.size()) {
    foundation::fatalError("the photos have no section " + std::to_string(at));
  }
  return sections[at].numberOfObjects;
}

std::optional<Photo> CoreDataPhotoIterator::operator[](const IndexPath& at) const {
  return fetchedResultsController_->object(at)->asPhoto();
}

}  // namespace coredatastack
