#pragma once

#include <optional>

#include "CoreData/Object/ManagedObjectProperties.h"
#include "Domain/Photo.h"
#include "Foundation/Values/Data.h"

namespace coredatastack {

class CDCheckin;
class CDPhotoInfo;

/// A picture attached to a day.
///
/// Threading: belongs to its context's queue.
class CDPhoto final : public coredata::NSManagedObject {
  CD_ENTITY(CDPhoto, "Photo")
  CD_DATE(createdDate, setCreatedDate)
  CD_DATA(data, setData)
  CD_DATE(modifiedDate, setModifiedDate)
  CD_TO_ONE(CDCheckin, checkin, setCheckin)
  CD_TO_ONE(CDPhotoInfo, info, setInfo)

 public:
  /// A new photo with the encoded image, if there is one. It belongs to no day yet.
  CDPhoto(coredata::NSManagedObjectContext& context, const std::optional<foundation::Data>& data,
          const foundation::Ref<CDPhotoInfo>& info);

  /// The photo as a value. Its `id` is the text of the object's URI, which stays only once the
  /// photo is saved. Without a check-in whose day can be read its day is today; its other two dates
  /// are always the present moment.
  [[nodiscard]] domain::Photo asPhoto() const;

 private:
  /// The start of the check-in's day.
  [[nodiscard]] std::optional<foundation::Date> day() const;
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDCheckin.h"
#include "CoreDataStack/Model/CDPhotoInfo.h"
