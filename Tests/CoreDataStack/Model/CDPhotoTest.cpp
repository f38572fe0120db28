#include "CoreDataStack/Model/CDPhoto.h"

#include <gtest/gtest.h>

#include "Foundation/Internal/ManualClock.h"
#include "Tests/Support/LocalDate.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::PhotoInfo;
using foundation::Data;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using support::localDate;

const PhotoInfo kSeoul{.pixelWidth = 4000,
                       .pixelHeight = 3000,
                       .coordinate = PhotoInfo::Coordinate{.longitude = 126.98, .latitude = 37.57},
                       .createdDate = Date::fromReference(10),
                       .modifiedDate = Date::fromReference(20)};

class CDPhotoTest : public testing::Test {
 protected:
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  [[nodiscard]] Ref<CDPhoto> photo(const std::optional<Data>& data = Data::fromText("jpeg")) const {
    return make<CDPhoto>(context(), data, make<CDPhotoInfo>(context(), kSeoul));
  }
  [[nodiscard]] Ref<CDPhoto> photoOfDay(std::optional<std::string> day) const {
    auto result = photo();
    auto checkin = make<CDCheckin>(context());
    checkin->setDate(std::move(day));
    checkin->addPhotosObject(result);
    return result;
  }

  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  support::TemporaryStore store_;
  foundation::ManualClock clock_{700000000};
};

TEST_F(CDPhotoTest, IsMadeWithItsImageAndInfo) {
  const auto info = make<CDPhotoInfo>(context(), kSeoul);
  const auto made = make<CDPhoto>(context(), Data::fromText("jpeg"), info);

  EXPECT_EQ(made->data(), Data::fromText("jpeg"));
  EXPECT_EQ(made->info(), info);
  EXPECT_EQ(info->photo(), made);
  EXPECT_EQ(made->createdDate(), Date::fromReference(700000000));
  EXPECT_EQ(made->modifiedDate(), Date::fromReference(700000000));
}

TEST_F(CDPhotoTest, IsMadeWithoutImage) {
  EXPECT_FALSE(photo(std::nullopt)->data().has_value());
  EXPECT_FALSE(photo(std::nullopt)->asPhoto().data.has_value());
}

TEST_F(CDPhotoTest, IsAValueOfItsImageAndInfo) {
  const auto value = photo()->asPhoto();

  EXPECT_EQ(value.data, Data::fromText("jpeg"));
  EXPECT_EQ(value.info, kSeoul);
}

TEST_F(CDPhotoTest, IsAValueWithAnEmptyInfoWhenItHasNone) {
  const auto made = photo();
  made->setInfo(nullptr);

  EXPECT_EQ(made->asPhoto().info, PhotoInfo{});
}

TEST_F(CDPhotoTest, BelongsToTheDayOfItsCheckin) {
  EXPECT_EQ(photoOfDay("2024-02-10")->asPhoto().date, localDate(2024, 2, 10));
}

TEST_F(CDPhotoTest, BelongsToTheFirstInstantOfADayWithoutMidnight) {
  const support::ScopedSettings settings("en_US", "America/Sao_Paulo");

  EXPECT_EQ(photoOfDay("2018-11-04")->asPhoto().date, localDate(2018, 11, 4, 1));
}

TEST_F(CDPhotoTest, BelongsToTodayWithoutACheckin) {
  EXPECT_EQ(photo()->asPhoto().date, Date::fromReference(700000000));
}

TEST_F(CDPhotoTest, BelongsToTodayWhenItsCheckinHasNoDayThatCanBeRead) {
  EXPECT_EQ(photoOfDay(std::nullopt)->asPhoto().date, Date::fromReference(700000000));
  EXPECT_EQ(photoOfDay("2024-02-30")->asPhoto().date, Date::fromReference(700000000));
  EXPECT_EQ(photoOfDay("someday")->asPhoto().date, Date::fromReference(700000000));
}

TEST_F(CDPhotoTest, IsAValueOfThePresentMoment) {
  const auto made = photo();
  clock_.set(800000000);

  const auto value = made->asPhoto();

  EXPECT_EQ(value.createdDate, Date::fromReference(800000000));
  EXPECT_EQ(value.modifiedDate, Date::fromReference(800000000));
}

TEST_F(CDPhotoTest, IsNamedByAUriThatLeadsBackToIt) {
  const auto made = photo();
  context().save();

  const auto uri = foundation::URL::parse(made->asPhoto().id);
  ASSERT_TRUE(uri.has_value());
  const auto found =
      store_.container().persistentStoreCoordinator()->managedObjectIDForURIRepresentation(*uri);
  EXPECT_EQ(found, made->objectID());
}

TEST_F(CDPhotoTest, KeepsItsNameOnceItIsSaved) {
  const auto made = photo();
  context().save();
  const auto name = made->asPhoto().id;

  made->setModifiedDate(Date::fromReference(1));
  context().save();

  EXPECT_EQ(made->asPhoto().id, name);
}

}  // namespace
}  // namespace coredatastack
