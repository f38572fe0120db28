#include "CoreDataStack/UseCases/CoreDataPhotoUseCase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "Domain/PhotoError.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/URL.h"
#include "Tests/CoreDataStack/UseCases/PhotoUseCaseTest.h"
#include "Tests/Support/SqlTrace.h"

namespace coredatastack {
namespace {

using domain::ActivityStatus;
using domain::Photo;
using domain::PhotoError;
using domain::PhotoInfo;
using foundation::Data;
using foundation::Date;
using foundation::Ref;
using support::localDate;
using uikit::UIImage;

const PhotoInfo kInfo{.pixelWidth = 2,
                      .pixelHeight = 1,
                      .coordinate = PhotoInfo::Coordinate{.longitude = 126.98, .latitude = 37.57},
                      .createdDate = Date::fromReference(10),
                      .modifiedDate = Date::fromReference(20)};

UIImage twoPixels() {
  return UIImage::fromPixels(2, 1, Data(std::vector<std::uint8_t>{0, 0, 0, 255, 9, 9, 9, 255}))
      .value();
}

class CoreDataPhotoUseCaseTest : public PhotoUseCaseTest {
 protected:
  [[nodiscard]] static Photo withIdentifier(std::string id) {
    Photo photo;
    photo.id = std::move(id);
    return photo;
  }
  void expectRefusal(const Photo& photo, const Ref<CDCheckin>& checkin) {
    try {
      photos_.delete_(photo, checkin);
      FAIL() << photo.id;
    } catch (const PhotoError& error) {
      EXPECT_EQ(error, PhotoError::notFound());
    }
  }

  Ref<CDCheckin> checkin_ = addCheckin(savedActivity(), "2024-02-10");
};

TEST_F(CoreDataPhotoUseCaseTest, SavesAnImageAndLoadsIt) {
  photos_.save(twoPixels(), kInfo, checkin_);

  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(stored<CDPhoto>(), 1);
  const auto loaded = photos_.load(checkin_);
  ASSERT_EQ(loaded.size(), 1U);
  EXPECT_EQ(loaded[0].data, twoPixels().jpegData(1.0));
  EXPECT_EQ(loaded[0].info, kInfo);
  EXPECT_EQ(loaded[0].date, localDate(2024, 2, 10));
}

TEST_F(CoreDataPhotoUseCaseTest, GivesIdentifiersThatLeadBackToTheStoredPhoto) {
  photos_.save(twoPixels(), kInfo, checkin_);

  const auto url = foundation::URL::parse(photos_.load(checkin_)[0].id);

  ASSERT_TRUE(url.has_value());
  const auto identifier =
      context().persistentStoreCoordinator()->managedObjectIDForURIRepresentation(*url);
  ASSERT_NE(identifier, nullptr);
  EXPECT_TRUE(
      checkin_->photos().contains(foundation::as<CDPhoto>(context().objectWithID(*identifier))));
}

TEST_F(CoreDataPhotoUseCaseTest, SavesAPhotoWithoutDataWhenThereIsNoImage) {
  photos_.save(UIImage(), kInfo, checkin_);

  const auto loaded = photos_.load(checkin_);
  ASSERT_EQ(loaded.size(), 1U);
  EXPECT_EQ(loaded[0].data, std::nullopt);
  EXPECT_EQ(loaded[0].info, kInfo);
}

TEST_F(CoreDataPhotoUseCaseTest, ThrowsTheStoresErrorAndKeepsThePhotoPending) {
  breakWrites();

  EXPECT_EQ(errorDomain([&] { photos_.save(twoPixels(), kInfo, checkin_); }),
            foundation::kSQLiteErrorDomain);

  EXPECT_EQ(context().insertedObjects().size(), 2U);
  repairDisk();
  context().save();
  EXPECT_EQ(photos_.load(checkin_).size(), 1U);
}

TEST_F(CoreDataPhotoUseCaseTest, DeletesAPhotoWithWhatItsSourceTold) {
  addPhoto(checkin_, "kept");
  addPhoto(checkin_, "lost");

  for (const Photo& photo : photos_.load(checkin_)) {
    if (photo.data == Data::fromText("lost")) photos_.delete_(photo, checkin_);
  }

  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(names(photos_.load(checkin_)), Names{"kept"});
  EXPECT_EQ(checkin_->photos().count(), 1U);
  EXPECT_EQ(stored<CDPhoto>(), 1);
  EXPECT_EQ(stored<CDPhotoInfo>(), 1);
}

TEST_F(CoreDataPhotoUseCaseTest, DeletesAPhotoOfAnotherCheckinFromThatOne) {
  const auto other = addCheckin(savedActivity(), "2024-02-11");
  addPhoto(other, "lost");

  photos_.delete_(photos_.load(other)[0], checkin_);

  EXPECT_EQ(other->photos().count(), 0U);
  EXPECT_EQ(stored<CDPhoto>(), 0);
}

TEST_F(CoreDataPhotoUseCaseTest, RefusesIdentifiersThatLeadToNoPhoto) {
  const auto photo = addPhoto(checkin_, "kept");
  const std::string id = photos_.load(checkin_)[0].id;

  for (const std::string& wrong :
       {std::string(), std::string("no url"), std::string("https://photos.example/1"),
        std::string("x-coredata:///Photo/t1"), id + "/more", id + "9999",
        checkin_->objectID()->uriRepresentation().absoluteString()}) {
    expectRefusal(withIdentifier(wrong), checkin_);
  }

  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(stored<CDPhoto>(), 1);
}

TEST_F(CoreDataPhotoUseCaseTest, RefusesAPhotoThatIsGone) {
  addPhoto(checkin_, "lost");
  const Photo photo = photos_.load(checkin_)[0];
  photos_.delete_(photo, checkin_);

  expectRefusal(photo, checkin_);

  EXPECT_FALSE(context().hasChanges());
}

TEST_F(CoreDataPhotoUseCaseTest, DeletesAPhotoThatIsAboutToGo) {
  const auto photo = addPhoto(checkin_, "lost");
  const Photo value = photo->asPhoto();
  context().delete_(photo);

  photos_.delete_(value, checkin_);

  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(stored<CDPhoto>(), 0);
  expectRefusal(value, checkin_);
}

TEST_F(CoreDataPhotoUseCaseTest, ThrowsTheStoresErrorWhenADeletionCannotBeSaved) {
  addPhoto(checkin_, "kept");
  const Photo photo = photos_.load(checkin_)[0];
  breakWrites();

  EXPECT_EQ(errorDomain([&] { photos_.delete_(photo, checkin_); }), foundation::kSQLiteErrorDomain);

  repairDisk();
  EXPECT_EQ(stored<CDPhoto>(), 1);
}

TEST_F(CoreDataPhotoUseCaseTest, ListsTheCheckinsPhotosOnly) {
  const auto other = addCheckin(savedActivity(), "2024-02-11");
  addPhoto(checkin_, "mine");
  addPhoto(other, "other");

  EXPECT_EQ(names(photos_.load(checkin_)), Names{"mine"});
}

TEST_F(CoreDataPhotoUseCaseTest, ListsAnActivitysPhotosNewestDayFirst) {
  const auto activity = savedActivity();
  addPhoto(addCheckin(activity, "2024-02-10"), "middle");
  addPhoto(addCheckin(activity, "2024-02-11"), "newest");
  addPhoto(addCheckin(activity, "2023-12-31"), "oldest");
  addPhoto(checkin_, "another's");

  EXPECT_EQ(names(photos_.photos(activity)), (Names{"newest", "middle", "oldest"}));
}

TEST_F(CoreDataPhotoUseCaseTest, ListsAPeriodWithBothItsDays) {
  const auto activity = savedActivity();
  for (const char* day : {"2024-02-09", "2024-02-10", "2024-02-11", "2024-02-12"}) {
    addPhoto(addCheckin(activity, day), day);
  }

  EXPECT_EQ(names(photos_.photos(localDate(2024, 2, 10, 23), localDate(2024, 2, 11),
                                 ActivityStatus::active)),
            (Names{"2024-02-11", "2024-02-10"}));
  EXPECT_EQ(names(photos_.photos(localDate(2024, 2, 10), localDate(2024, 2, 10, 23),
                                 ActivityStatus::active)),
            Names{"2024-02-10"});
  EXPECT_TRUE(photos_.photos(localDate(2024, 2, 11), localDate(2024, 2, 10), ActivityStatus::active)
                  .empty());
}

TEST_F(CoreDataPhotoUseCaseTest, ListsPhotosOfTheStatusOnly) {
  addPhoto(checkin_, "active");
  addPhoto(addCheckin(savedActivity(ActivityStatus::achieved), "2024-02-10"), "achieved");
  addPhoto(addCheckin(savedActivity(ActivityStatus::archived), "2024-02-10"), "archived");
  const auto of = [&](ActivityStatus status) {
    return names(photos_.photos(localDate(2024, 2, 10), localDate(2024, 2, 10), status));
  };

  EXPECT_EQ(of(ActivityStatus::active), Names{"active"});
  EXPECT_EQ(of(ActivityStatus::achieved), Names{"achieved"});
  EXPECT_EQ(of(ActivityStatus::archived), Names{"archived"});
}

TEST_F(CoreDataPhotoUseCaseTest, ListsUnsavedPhotosToo) {
  addPhoto(checkin_, "saved");
  foundation::make<CDPhoto>(context(), Data::fromText("unsaved"), nullptr)->setCheckin(checkin_);

  EXPECT_EQ(names(photos_.load(checkin_)), (Names{"saved", "unsaved"}));
  EXPECT_EQ(photos_.numberOfAllPhotos(), 2);
}

TEST_F(CoreDataPhotoUseCaseTest, ReadsEveryPhotoOnceAndNotForTheList) {
  for (int i = 0; i < 45; ++i) addPhoto(checkin_, std::to_string(i));
  store_.reopen();
  const auto background = store_.newBackgroundContext();
  background->performBlockAndWait([&] {
    support::SqlTrace trace(*store_.container().persistentStoreCoordinator()->store()->engine());
    const auto activity = background->fetch(CDActivity::fetchRequest()).first();
    static_cast<void>(trace.takeQueries());

    EXPECT_EQ(CoreDataPhotoUseCase(background).photos(activity).size(), 45U);

    const auto queries = trace.takeQueries();
    EXPECT_FALSE(readsPhoto(queries.front())) << queries.front();
    EXPECT_EQ(std::ranges::count_if(queries, readsPhoto), 45);
  });
}

TEST_F(CoreDataPhotoUseCaseTest, ListsByKeysWhileAPhotoIsUnsaved) {
  const auto activity = savedActivity();
  for (const char* day : {"2024-02-10", "2024-02-12", "2024-02-14"}) {
    addPhoto(addCheckin(activity, day), day);
  }
  const auto unsaved = foundation::make<CDPhoto>(
      context(), Data::fromText("unsaved"), foundation::make<CDPhotoInfo>(context(), PhotoInfo{}));
  addCheckin(activity, "2024-02-13")->addPhotosObject(unsaved);
  support::SqlTrace trace(*store_.container().persistentStoreCoordinator()->store()->engine());

  EXPECT_EQ(names(photos_.photos(activity)),
            (Names{"2024-02-14", "unsaved", "2024-02-12", "2024-02-10"}));

  EXPECT_FALSE(readsPhoto(trace.takeQueries().front()));
}

TEST_F(CoreDataPhotoUseCaseTest, NeverWalksThroughPhotosOrCheckins) {
  const auto activity = savedActivity();
  const Date day = localDate(2024, 2, 10);
  support::SqlTrace trace(*store_.container().persistentStoreCoordinator()->store()->engine());

  static_cast<void>(photos_.photos(activity));
  static_cast<void>(photos_.photos(day, day, ActivityStatus::active));
  static_cast<void>(photos_.numberOfPhotos(activity, day));

  const auto queries = trace.takeQueries();
  EXPECT_EQ(queries.size(), 3U);
  for (const std::string& query : queries) {
    for (const std::string& step : trace.plan(query)) {
      EXPECT_FALSE(step.starts_with("SCAN t0") || step.starts_with("SCAN t1")) << query << step;
    }
  }
}

TEST_F(CoreDataPhotoUseCaseTest, CountsAnActivitysPhotosOfOneDay) {
  const auto activity = savedActivity();
  const auto day = addCheckin(activity, "2024-02-10");
  addPhoto(day, "a");
  addPhoto(day, "b");
  addPhoto(addCheckin(activity, "2024-02-11"), "next day");
  addPhoto(checkin_, "another's");

  EXPECT_EQ(photos_.numberOfPhotos(activity, localDate(2024, 2, 10, 23, 59)), 2);
  EXPECT_EQ(photos_.numberOfPhotos(activity, localDate(2024, 2, 12)), 0);
  EXPECT_EQ(photos_.numberOfAllPhotos(), 4);
}

/// That each question prints one line of an error, and is answered with nothing.
void expectNoAnswers(CoreDataPhotoUseCase& photos, const Ref<CDActivity>& activity,
                     const Ref<CDCheckin>& checkin) {
  const Date day = localDate(2024, 2, 10);
  const auto expectLine = [](const auto& ask) {
    testing::internal::CaptureStdout();
    ask();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(printed.starts_with("Error Domain=")) << printed;
    EXPECT_EQ(printed.find('\n'), printed.size() - 1) << printed;
  };

  expectLine([&] { EXPECT_TRUE(photos.load(checkin).empty()); });
  expectLine([&] { EXPECT_TRUE(photos.photos(activity).empty()); });
  expectLine([&] { EXPECT_TRUE(photos.photos(day, day, ActivityStatus::active).empty()); });
  expectLine([&] { EXPECT_EQ(photos.numberOfPhotos(activity, day), 0); });
  expectLine([&] { EXPECT_EQ(photos.numberOfAllPhotos(), 0); });
}

TEST_F(CoreDataPhotoUseCaseTest, PrintsThatThereIsNoStoreAndAnswersWithNothing) {
  const auto container = support::containerWithoutStore();
  CoreDataPhotoUseCase photos(container->viewContext());

  expectNoAnswers(photos, nullptr, nullptr);
}

TEST_F(CoreDataPhotoUseCaseTest, PrintsThatTheDiskFailsAndAnswersWithNothing) {
  addPhoto(checkin_, "unreadable");
  breakDisk();

  expectNoAnswers(photos_, checkin_->activity(), checkin_);

  repairDisk();
  EXPECT_EQ(names(photos_.load(checkin_)), Names{"unreadable"});
}

}  // namespace
}  // namespace coredatastack
