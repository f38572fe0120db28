#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "CoreDataStack/Model/CDPhoto.h"
#include "Domain/PhotoUsecase.h"

namespace coredatastack {

/// Stores, lists and counts the photos of check-ins in a context.
///
/// A save that fails throws the store's error as it came, and what was to be written stays pending
/// in the context. A list or number that fails prints the error to the standard output.
///
/// Threading: use it on the context's queue.
class CoreDataPhotoUseCase final : public domain::PhotoUsecase<CDActivity, CDCheckin> {
 public:
  explicit CoreDataPhotoUseCase(foundation::Ref<coredata::NSManagedObjectContext> with);

  /// A `CoreDataPhotoIterator`.
  [[nodiscard]] foundation::Ref<domain::Iterator<domain::Photo>> iterator(
      foundation::Date from, foundation::Date to, domain::ActivityStatus status) override;
  [[nodiscard]] std::vector<domain::Photo> load(const foundation::Ref<CDCheckin>& by) override;
  /// An image that cannot be encoded is stored as a photo without data.
  void save(const uikit::UIImage& image, const domain::PhotoInfo& info,
            const foundation::Ref<CDCheckin>& to) override;
  void delete_(const domain::Photo& photo, const foundation::Ref<CDCheckin>& from) override;
  [[nodiscard]] std::vector<domain::Photo> photos(const foundation::Ref<CDActivity>& by) override;
  [[nodiscard]] std::vector<domain::Photo> photos(foundation::Date from, foundation::Date to,
                                                  domain::ActivityStatus status) override;
  [[nodiscard]] std::int64_t numberOfPhotos(const foundation::Ref<CDActivity>& by,
                                            foundation::Date at) override;
  [[nodiscard]] std::int64_t numberOfAllPhotos() override;

 private:
  [[nodiscard]] std::vector<domain::Photo> list(foundation::NSPredicate predicate);
  [[nodiscard]] std::int64_t number(const coredata::NSFetchRequestBase& request);
  /// The stored photo of that identifier; throws `PhotoError` when it leads to none.
  [[nodiscard]] foundation::Ref<CDPhoto> stored(const std::string& id);

  foundation::Ref<coredata::NSManagedObjectContext> context_;
};

}  // namespace coredatastack
