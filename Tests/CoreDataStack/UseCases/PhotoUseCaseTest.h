#pragma once

#include "CoreDataStack/Model/CDPhotoInfo.h"
#include "CoreDataStack/UseCases/CoreDataPhotoUseCase.h"
#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"
#include "Tests/Support/SqlTrace.h"

namespace coredatastack {

/// Check-ins with photos.
class PhotoUseCaseTest : public UseCaseTest {
 protected:
  using Names = std::vector<std::string>;

  /// A saved photo whose image is the name.
  foundation::Ref<CDPhoto> addPhoto(const foundation::Ref<CDCheckin>& checkin,
                                    std::string_view name) const {
    auto photo =
        foundation::make<CDPhoto>(context(), foundation::Data::fromText(name),
                                  foundation::make<CDPhotoInfo>(context(), domain::PhotoInfo{}));
    checkin->addPhotosObject(photo);
    context().save();
    return photo;
  }
  [[nodiscard]] static Names names(const std::vector<domain::Photo>& photos) {
    Names result;
    for (const domain::Photo& photo : photos) {
      result.emplace_back(photo.data.value_or(foundation::Data()).text());
    }
    return result;
  }
  /// Whether a query reads the rows of photos, images included.
  [[nodiscard]] static bool readsPhoto(std::string_view query) {
    return support::readsRows(query, "Photo");
  }

  CoreDataPhotoUseCase photos_{contextHandle()};
};

}  // namespace coredatastack
