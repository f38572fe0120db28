#pragma once

#include <cstddef>
#include <optional>

#include "CoreData/Results/NSFetchedResultsController.h"
#include "CoreDataStack/Model/CDPhoto.h"
#include "Domain/Iterator.h"
#include "Domain/Photo.h"

namespace coredatastack {

/// The photos of a period, to be looked at one by one: only of those is the image read. The list is
/// fixed when it is made; each photo is shown as it then is. Made by
/// `CoreDataPhotoUseCase::iterator`.
///
/// Threading: belongs to its context's queue.
class CoreDataPhotoIterator final : public domain::Iterator<domain::Photo> {
 public:
  /// Not to be used: stops the process.
  CoreDataPhotoIterator();

  /// One, or none when the fetch failed.
  [[nodiscard]] std::size_t numberOfSections() const override;
  /// 0 when the fetch failed; else stops the process for a section that there is not.
  [[nodiscard]] std::size_t numberOfItems(std::size_t at) const override;
  /// Never without a photo; stops the process for an index path that leads outside of the list.
  [[nodiscard]] std::optional<domain::Photo> operator[](
      const foundation::IndexPath& at) const override;

 private:
  friend class CoreDataPhotoUseCase;
  using Controller = coredata::NSFetchedResultsController<CDPhoto>;

  CoreDataPhotoIterator(foundation::Ref<coredata::NSManagedObjectContext> context,
                        const coredata::NSFetchRequest<CDPhoto>& request);
  ~CoreDataPhotoIterator() override = default;

  foundation::Ref<coredata::NSManagedObjectContext> context_;
  foundation::Ref<Controller> fetchedResultsController_;
};

}  // namespace coredatastack
