#include "CoreDataStack/UseCases/CoreDataPhotoIterator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "Tests/CoreDataStack/UseCases/PhotoUseCaseTest.h"
#include "Tests/Support/SqlTrace.h"

namespace coredatastack {
namespace {

using domain::ActivityStatus;
using domain::Photo;
using foundation::Data;
using foundation::Ref;
using support::localDate;

class CoreDataPhotoIteratorTest : public PhotoUseCaseTest {
 protected:
  using Photos = Ref<domain::Iterator<Photo>>;

  [[nodiscard]] Photos february(coredata::NSManagedObjectContext& where) const {
    return CoreDataPhotoUseCase(Ref<coredata::NSManagedObjectContext>(&where))
        .iterator(localDate(2024, 2, 1), localDate(2024, 2, 29), ActivityStatus::active);
  }
  [[nodiscard]] Photos february() const { return february(context()); }
  [[nodiscard]] static Photo photoAt(const Photos& photos, std::size_t item) {
    return (*photos)[{0, item}].value();
  }
  [[nodiscard]] static Names all(const Photos& photos) {
    std::vector<Photo> result;
    for (std::size_t i = 0; i < photos->numberOfItems(0); ++i) {
      result.push_back(photoAt(photos, i));
    }
    return names(result);
  }

  Ref<CDActivity> activity_ = savedActivity();
};

TEST_F(CoreDataPhotoIteratorTest, GoesFromTheNewestDayToTheOldest) {
  addPhoto(addCheckin(activity_, "2024-02-01"), "first");
  addPhoto(addCheckin(activity_, "2024-02-29"), "last");
  addPhoto(addCheckin(activity_, "2024-02-10"), "middle");
  addPhoto(addCheckin(activity_, "2024-01-31"), "before");
  addPhoto(addCheckin(activity_, "2024-03-01"), "after");
  addPhoto(addCheckin(savedActivity(ActivityStatus::achieved), "2024-02-10"), "achieved");

  const auto photos = february();

  EXPECT_EQ(photos->numberOfSections(), 1U);
  EXPECT_EQ(all(photos), (Names{"last", "middle", "first"}));
}

TEST_F(CoreDataPhotoIteratorTest, HasOneEmptySectionWhenThereAreNoPhotos) {
  const auto photos = february();

  EXPECT_EQ(photos->numberOfSections(), 1U);
  EXPECT_EQ(photos->numberOfItems(0), 0U);
}

TEST_F(CoreDataPhotoIteratorTest, KeepsItsListAndShowsLivePhotos) {
  const auto checkin = addCheckin(activity_, "2024-02-10");
  const auto photo = addPhoto(checkin, "old");
  const auto photos = february();

  addPhoto(checkin, "late");
  photo->setData(Data::fromText("new"));
  context().save();

  EXPECT_EQ(all(photos), Names{"new"});
}

TEST_F(CoreDataPhotoIteratorTest, GivesValuesThatTheUseCaseTakes) {
  const auto checkin = addCheckin(activity_, "2024-02-10");
  addPhoto(checkin, "lost");
  const auto photos = february();

  photos_.delete_(photoAt(photos, 0), checkin);

  EXPECT_EQ(photos->numberOfItems(0), 1U);
  EXPECT_EQ(photoAt(photos, 0).data, std::nullopt);
  EXPECT_EQ(february()->numberOfItems(0), 0U);
}

TEST_F(CoreDataPhotoIteratorTest, ReadsTheImagesThatAreLookedAtAndNoOthers) {
  for (int i = 1; i <= 9; ++i) {
    addPhoto(addCheckin(activity_, "2024-02-0" + std::to_string(i)), std::to_string(i));
  }
  store_.reopen();
  const auto background = store_.newBackgroundContext();
  background->performBlockAndWait([&] {
    support::SqlTrace trace(*store_.container().persistentStoreCoordinator()->store()->engine());
    const auto readings = [&] { return std::ranges::count_if(trace.takeQueries(), readsPhoto); };

    const auto photos = february(*background);
    EXPECT_EQ(photos->numberOfItems(0), 9U);
    EXPECT_EQ(readings(), 0);

    EXPECT_EQ(photoAt(photos, 4).data, Data::fromText("5"));
    EXPECT_EQ(readings(), 1);
  });
}

TEST_F(CoreDataPhotoIteratorTest, FindsItsPhotosWithoutWalkingOverTheImages) {
  addPhoto(addCheckin(activity_, "2024-02-10"), "one");
  store_.reopen();
  const auto background = store_.newBackgroundContext();
  background->performBlockAndWait([&] {
    support::SqlTrace trace(*store_.container().persistentStoreCoordinator()->store()->engine());
    const auto photos = february(*background);
    const auto queries = trace.takeQueries();

    ASSERT_EQ(queries.size(), 1U);
    for (const std::string& step : trace.plan(queries[0])) {
      if (step.find("Photo") == std::string::npos) continue;
      EXPECT_NE(step.find("COVERING INDEX"), std::string::npos) << step;
    }
  });
}

TEST_F(CoreDataPhotoIteratorTest, PrintsAFailedFetchAndHasNoSections) {
  const auto container = support::containerWithoutStore();
  testing::internal::CaptureStdout();

  const auto photos = february(*container->viewContext());

  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_NE(printed.find("Error Domain="), std::string::npos) << printed;
  EXPECT_EQ(photos->numberOfSections(), 0U);
  EXPECT_EQ(photos->numberOfItems(0), 0U);
  EXPECT_EQ(photos->numberOfItems(7), 0U);
}

TEST_F(CoreDataPhotoIteratorTest, PrintsThatTheDiskFailsAndHasNoSections) {
  addPhoto(addCheckin(activity_, "2024-02-10"), "unreadable");
  breakDisk();
  testing::internal::CaptureStdout();

  const auto photos = february();

  EXPECT_TRUE(testing::internal::GetCapturedStdout().starts_with("Error Domain="));
  EXPECT_EQ(photos->numberOfSections(), 0U);
  repairDisk();
  EXPECT_EQ(all(february()), Names{"unreadable"});
}

TEST_F(CoreDataPhotoIteratorTest, GoesThroughThePhotosOfEachStatus) {
  const std::array statuses{ActivityStatus::active, ActivityStatus::achieved,
                            ActivityStatus::archived};
  for (const ActivityStatus status : statuses) {
    addPhoto(addCheckin(savedActivity(status), "2024-02-10"), std::to_string(status.value()));
  }

  for (const ActivityStatus status : statuses) {
    EXPECT_EQ(all(photos_.iterator(localDate(2024, 2, 1), localDate(2024, 2, 29), status)),
              Names{std::to_string(status.value())});
  }
}

using CoreDataPhotoIteratorDeathTest = CoreDataPhotoIteratorTest;

TEST_F(CoreDataPhotoIteratorDeathTest, IsNotMadeFromNothing) {
  EXPECT_DEATH(static_cast<void>(foundation::make<CoreDataPhotoIterator>()),
               "^Fatal error: Use of unimplemented initializer 'init\\(\\)' for class "
               "'CoreDataStack.CoreDataPhotoIterator'\n$");
}

TEST_F(CoreDataPhotoIteratorDeathTest, StopsOutsideOfItsList) {
  addPhoto(addCheckin(activity_, "2024-02-10"), "one");
  const auto photos = february();

  EXPECT_DEATH(static_cast<void>(photos->numberOfItems(1)), "no section 1");
  EXPECT_DEATH(static_cast<void>(photoAt(photos, 1)), "no object at item 1");
}

}  // namespace
}  // namespace coredatastack
