#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"
#include "Domain/PhotoInfo.h"

namespace coredatastack {

class CDPhoto;

/// What a picture's source told about it.
///
/// Threading: belongs to its context's queue.
class CDPhotoInfo final : public coredata::NSManagedObject {
  CD_ENTITY(CDPhotoInfo, "PhotoInfo")
  CD_DATE(createdDate, setCreatedDate)
  CD_NUMBER(latitude, setLatitude)
  CD_NUMBER(longitude, setLongitude)
  CD_DATE(modifiedDate, setModifiedDate)
  CD_INTEGER64(pixelHeight, setPixelHeight)
  CD_INTEGER64(pixelWidth, setPixelWidth)
  CD_TO_ONE(CDPhoto, photo, setPhoto)

 public:
  /// A new record of the value, of no photo yet.
  CDPhotoInfo(coredata::NSManagedObjectContext& context, const domain::PhotoInfo& info);

  /// The record as a value. It has a coordinate only when both halves of it are stored.
  [[nodiscard]] domain::PhotoInfo asPhotoInfo() const;
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDPhoto.h"
