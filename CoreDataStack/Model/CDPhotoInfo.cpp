#include "CoreDataStack/Model/CDPhotoInfo.h"

namespace coredatastack {

using domain::PhotoInfo;
using foundation::NSNumber;

CDPhotoInfo::CDPhotoInfo(coredata::NSManagedObjectContext& context, const PhotoInfo& info)
    : CDPhotoInfo(context) {
  setCreatedDate(info.createdDate);
  setModifiedDate(info.modifiedDate);
  setPixelWidth(info.pixelWidth);
  setPixelHeight(info.pixelHeight);
  if (info.coordinate) {
    setLatitude(NSNumber(info.coordinate->latitude));
    setLongitude(NSNumber(info.coordinate->longitude));
  }
}

PhotoInfo CDPhotoInfo::asPhotoInfo() const {
  PhotoInfo info{.pixelWidth = pixelWidth(),
                 .pixelHeight = pixelHeight(),
                 .coordinate = std::nullopt,
                 .createdDate = createdDate(),
                 .modifiedDate = modifiedDate()};
  const auto east = longitude();
  const auto north = latitude();
  if (east && north) {
    info.coordinate = {.longitude = east->doubleValue(), .latitude = north->doubleValue()};
  }
  return info;
}

}  // namespace coredatastack
