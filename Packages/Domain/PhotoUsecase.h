#pragma once

#include <cstdint>
#include <vector>

#include "Domain/ActivityStatus.h"
#include "Domain/Iterator.h"
#include "Domain/Photo.h"
#include "Domain/PhotoInfo.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/Ref.h"
#include "UIKit/UIImage.h"

namespace domain {

/// The photos of check-ins. `Activity` and `Checkin` are the classes that stand for the two
/// wherever the data is kept.
///
/// Every write is saved before it returns, and throws whatever the store throws, unchanged. Lists
/// and numbers never throw: one that fails answers with nothing. Periods include both days.
///
/// Threading: as the data underneath says.
template <typename Activity, typename Checkin>
class PhotoUsecase {
 public:
  PhotoUsecase() = default;
  PhotoUsecase(const PhotoUsecase&) = delete;
  PhotoUsecase& operator=(const PhotoUsecase&) = delete;
  virtual ~PhotoUsecase() = default;

  /// The photos of the period's days whose activity has the status, the newest day first. Each is
  /// made when it is looked at.
  [[nodiscard]] virtual foundation::Ref<Iterator<Photo>> iterator(foundation::Date from,
                                                                  foundation::Date to,
                                                                  ActivityStatus status) = 0;
  /// The photos of a check-in.
  [[nodiscard]] virtual std::vector<Photo> load(const foundation::Ref<Checkin>& by) = 0;

  /// Attaches an image to a check-in, in the best quality that its encoded form has.
  virtual void save(const uikit::UIImage& image, const PhotoInfo& info,
                    const foundation::Ref<Checkin>& to) = 0;
  /// Throws `PhotoError` when the photo's identifier does not lead to a stored photo.
  virtual void delete_(const Photo& photo, const foundation::Ref<Checkin>& from) = 0;

  /// The photos of an activity, the newest day first.
  [[nodiscard]] virtual std::vector<Photo> photos(const foundation::Ref<Activity>& by) = 0;
  /// As `iterator`, all made at once.
  [[nodiscard]] virtual std::vector<Photo> photos(foundation::Date from, foundation::Date to,
                                                  ActivityStatus status) = 0;
  /// How many photos the activity has on the day of the date.
  [[nodiscard]] virtual std::int64_t numberOfPhotos(const foundation::Ref<Activity>& by,
                                                    foundation::Date at) = 0;
  [[nodiscard]] virtual std::int64_t numberOfAllPhotos() = 0;
};

}  // namespace domain
