#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "CoreDataStack/SetAsidePhotos.h"
#include "Foundation/Values/Error.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/MigrationPlace.h"

namespace {

using coredatastack::SetAsidePhotos;

class SetAside : public testing::Test {
 protected:
  [[nodiscard]] SetAsidePhotos photosOf(const char* store) const {
    return {foundation::URL::fileURL(place_.container().string() + "/"), store};
  }
  void addThumbnail(const char* name) const {
    std::filesystem::create_directories(place_.container() / "thumbnail");
    std::ofstream(place_.container() / "thumbnail" / name) << "small " << name;
  }
  [[nodiscard]] bool has(const std::string& path) const {
    return std::filesystem::exists(place_.container() / path);
  }

  support::MigrationPlace place_;
};

TEST_F(SetAside, TakesBothDirectoriesAwayAndBringsThemBack) {
  place_.addPhotoFile("a.jpg", "A");
  addThumbnail("a_small.jpg");

  photosOf("ONE").setAside({"a.jpg"});

  EXPECT_FALSE(has("photo"));
  EXPECT_FALSE(has("thumbnail"));

  photosOf("ONE").putBack();

  EXPECT_TRUE(has("photo/a.jpg"));
  EXPECT_TRUE(has("thumbnail/a_small.jpg"));
  EXPECT_FALSE(has("photos-of-ONE"));
}

TEST_F(SetAside, IsGoneOnceItIsDiscarded) {
  place_.addPhotoFile("a.jpg", "A");
  photosOf("ONE").setAside({"a.jpg"});

  photosOf("ONE").discard();

  EXPECT_TRUE(std::filesystem::is_empty(place_.container()));
}

TEST_F(SetAside, BelongsToOneStoreOnly) {
  place_.addPhotoFile("a.jpg", "A");
  photosOf("ONE").setAside({"a.jpg"});

  photosOf("TWO").putBack();
  photosOf("TWO").discard();

  EXPECT_TRUE(has("photos-of-ONE/photo/a.jpg"));
  EXPECT_FALSE(has("photo"));
}

TEST_F(SetAside, LeavesFilesAloneThatTheStoreDoesNotKnow) {
  place_.addPhotoFile("a.jpg", "A");
  place_.addPhotoFile("2024/b.jpg", "B");
  place_.addPhotoFile("others.jpg", "O");
  addThumbnail("a.jpg");
  addThumbnail("others.jpg");

  photosOf("ONE").setAside({"a.jpg", "2024/b.jpg", "missing.jpg"});

  EXPECT_FALSE(has("photo/a.jpg"));
  EXPECT_FALSE(has("photo/2024/b.jpg"));
  EXPECT_FALSE(has("thumbnail/a.jpg"));
  EXPECT_TRUE(has("photo/others.jpg"));
  EXPECT_TRUE(has("thumbnail/others.jpg"));

  photosOf("ONE").putBack();

  EXPECT_TRUE(has("photo/a.jpg"));
  EXPECT_TRUE(has("photo/2024/b.jpg"));
  EXPECT_TRUE(has("thumbnail/a.jpg"));
  EXPECT_FALSE(has("photos-of-ONE"));
}

TEST_F(SetAside, LeavesTheThumbnailsOfAnotherStoreWhosePhotosAreHalfAside) {
  place_.addPhotoFile("a.jpg", "A");
  place_.addPhotoFile("../photos-of-TWO/photo/b.jpg", "B");
  addThumbnail("a.jpg");
  addThumbnail("b.jpg");

  photosOf("ONE").setAside({"a.jpg"});
  photosOf("ONE").discard();
  photosOf("TWO").putBack();

  EXPECT_FALSE(has("photo/a.jpg"));
  EXPECT_FALSE(has("thumbnail/a.jpg"));
  EXPECT_TRUE(has("photo/b.jpg"));
  EXPECT_TRUE(has("thumbnail/b.jpg"));
}

TEST_F(SetAside, NeedsNoContainer) {
  std::filesystem::remove(place_.container());

  photosOf("ONE").setAside({"a.jpg"});
  photosOf("ONE").putBack();
  photosOf("ONE").discard();

  EXPECT_FALSE(std::filesystem::exists(place_.container()));
}

TEST_F(SetAside, NeverOverwritesWhatCameInItsPlace) {
  place_.addPhotoFile("a.jpg", "old");
  place_.addPhotoFile("b.jpg", "old");
  photosOf("ONE").setAside({"a.jpg", "b.jpg"});
  place_.addPhotoFile("a.jpg", "new");

  photosOf("ONE").putBack();

  std::ifstream file(place_.container() / "photo" / "a.jpg");
  std::string bytes;
  file >> bytes;
  EXPECT_EQ(bytes, "new");
  EXPECT_TRUE(has("photo/b.jpg"));
  EXPECT_TRUE(has("photos-of-ONE/photo/a.jpg"));
}

TEST_F(SetAside, TakesAllOrSaysThatItCouldNotWhateverCannotBeExamined) {
  int failures = 0;
  for (std::size_t point = 1;; ++point) {
    SCOPED_TRACE(point);
    place_.addPhotoFile("a.jpg", "A");
    place_.addPhotoFile("2024/b.jpg", "B");
    place_.addPhotoFile("others.jpg", "O");
    addThumbnail("a.jpg");
    support::FaultyFileSystem faulty(support::FileFault::failOnce, point, EIO,
                                     support::bit(support::FileOperation::access));
    try {
      photosOf("ONE").setAside({"a.jpg", "2024/b.jpg"});
      EXPECT_FALSE(has("photo/a.jpg") || has("photo/2024/b.jpg") || has("thumbnail/a.jpg"));
      EXPECT_TRUE(has("photo/others.jpg"));
    } catch (const foundation::Error& error) {
      ++failures;
      EXPECT_EQ(error.code(), EIO);
    }
    const bool isReached = faulty.wasReached();
    faulty.restart(0);

    photosOf("ONE").putBack();

    EXPECT_TRUE(has("photo/a.jpg") && has("photo/2024/b.jpg") && has("thumbnail/a.jpg"));
    std::filesystem::remove_all(place_.container() / "photo");
    std::filesystem::remove_all(place_.container() / "thumbnail");
    if (!isReached) break;
  }
  EXPECT_GT(failures, 3);
}

TEST_F(SetAside, GoesOnWhereAnEarlierOneStopped) {
  place_.addPhotoFile("../photos-of-ONE/photo/a.jpg", "A");
  place_.addPhotoFile("b.jpg", "B");
  place_.addPhotoFile("others.jpg", "O");

  photosOf("ONE").setAside({"a.jpg", "b.jpg"});

  EXPECT_TRUE(has("photos-of-ONE/photo/a.jpg"));
  EXPECT_TRUE(has("photos-of-ONE/photo/b.jpg"));
  EXPECT_TRUE(has("photo/others.jpg"));
}

TEST_F(SetAside, IsNothingInAContainerThatIsNoDirectoryHere) {
  const SetAsidePhotos elsewhere(*foundation::URL::parse("https://example.org/"), "ONE");

  elsewhere.setAside({"a.jpg"});
  elsewhere.putBack();
  elsewhere.discard();

  EXPECT_FALSE(elsewhere.exist());
}

TEST_F(SetAside, NeverPutsADirectoryInThePlaceOfAFile) {
  place_.addPhotoFile("trip/a.jpg", "old");
  photosOf("ONE").setAside({"trip/a.jpg"});
  std::filesystem::remove(place_.container() / "photo" / "trip");
  place_.addPhotoFile("trip", "new");

  photosOf("ONE").putBack();

  EXPECT_TRUE(std::filesystem::is_regular_file(place_.container() / "photo" / "trip"));
  EXPECT_TRUE(has("photos-of-ONE/photo/trip/a.jpg"));
}

TEST_F(SetAside, IsNothingToPutBackOrDiscard) {
  photosOf("ONE").putBack();
  photosOf("ONE").discard();
  photosOf("ONE").setAside({});

  EXPECT_TRUE(std::filesystem::is_empty(place_.container()));
}

TEST_F(SetAside, BelongsToTheIdentifierOfTheStoreAtAURL) {
  std::string identifier;
  support::edit(place_.storeURL(), coredatastack::CoreDataMigrationVersion::version6,
                [&](coredata::NSManagedObjectContext& context) {
                  identifier = context.persistentStoreCoordinator()->store()->identifier();
                });
  place_.addPhotoFile("a.jpg", "A");

  const auto photos = SetAsidePhotos::ofStore(place_.storeURL());
  ASSERT_TRUE(photos);
  photos->setAside({"a.jpg"});

  EXPECT_TRUE(has("photos-of-" + identifier + "/photo/a.jpg"));
  EXPECT_FALSE(SetAsidePhotos::ofStore(place_.at("no such store")));
  const support::WithoutContainer alone;
  EXPECT_FALSE(SetAsidePhotos::ofStore(place_.storeURL()));
}

}  // namespace
