#include "CoreDataStack/Model/CDPhotoInfo.h"

#include <gtest/gtest.h>

#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::PhotoInfo;
using foundation::Date;
using foundation::make;
using foundation::NSNumber;

/// What the store gives back for a value.
PhotoInfo storedAndRead(const PhotoInfo& info) {
  support::TemporaryStore store;
  const auto made = make<CDPhotoInfo>(store.context(), info);
  store.context().save();
  store.reopen();
  return store.context().fetch(CDPhotoInfo::fetchRequest()).first()->asPhotoInfo();
}

TEST(CDPhotoInfo, KeepsEverythingTheSourceTold) {
  const PhotoInfo info{.pixelWidth = 4000,
                       .pixelHeight = 3000,
                       .coordinate = PhotoInfo::Coordinate{.longitude = 126.98, .latitude = 37.57},
                       .createdDate = Date::fromReference(10.25),
                       .modifiedDate = Date::fromReference(-20.5)};

  EXPECT_EQ(storedAndRead(info), info);
}

TEST(CDPhotoInfo, KeepsTheAbsenceOfCoordinateAndDates) {
  const PhotoInfo info{.pixelWidth = 1,
                       .pixelHeight = 2,
                       .coordinate = std::nullopt,
                       .createdDate = std::nullopt,
                       .modifiedDate = std::nullopt};

  EXPECT_EQ(storedAndRead(info), info);
}

TEST(CDPhotoInfo, KeepsLatitudeAndLongitudeApart) {
  const support::TemporaryStore store;
  PhotoInfo value;
  value.coordinate = {.longitude = 126.98, .latitude = 37.57};

  const auto info = make<CDPhotoInfo>(store.context(), value);

  EXPECT_EQ(info->latitude(), NSNumber(37.57));
  EXPECT_EQ(info->longitude(), NSNumber(126.98));
}

TEST(CDPhotoInfo, TellsTheCoordinateZeroFromNone) {
  PhotoInfo value;
  value.coordinate = PhotoInfo::Coordinate{};

  EXPECT_EQ(storedAndRead(value).coordinate, PhotoInfo::Coordinate{});
}

TEST(CDPhotoInfo, DropsALoneHalfOfACoordinate) {
  const support::TemporaryStore store;
  const auto north = make<CDPhotoInfo>(store.context());
  north->setLatitude(NSNumber(37.57));
  const auto east = make<CDPhotoInfo>(store.context());
  east->setLongitude(NSNumber(126.98));

  EXPECT_FALSE(north->asPhotoInfo().coordinate.has_value());
  EXPECT_FALSE(east->asPhotoInfo().coordinate.has_value());
}

}  // namespace
}  // namespace coredatastack
