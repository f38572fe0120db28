#include "CoreDataStack/LeftoverPhotos.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/SetAsidePhotos.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/MigrationPlace.h"

namespace {

using coredatastack::CoreDataMigrationVersion;
using coredatastack::SetAsidePhotos;

class LeftoverPhotos : public testing::Test {
 protected:
  void addStore(const CoreDataMigrationVersion& version) const {
    support::edit(place_.storeURL(), version, [](auto& context) {
      context.insertNewObject("Activity")->setValue("Run", "title");
    });
    place_.addPhotoFile("a.jpg", "A");
    photos().setAside({"a.jpg"});
    ASSERT_TRUE(photos().exist());
  }
  [[nodiscard]] SetAsidePhotos photos() const {
    return *SetAsidePhotos::ofStore(place_.storeURL());
  }

  support::MigrationPlace place_;
};

TEST_F(LeftoverPhotos, AreDiscardedForAStoreOfTheNewestVersion) {
  addStore(CoreDataMigrationVersion::newest());

  coredatastack::discardLeftoverPhotos(place_.storeURL());

  EXPECT_TRUE(std::filesystem::is_empty(place_.container()));
}

TEST_F(LeftoverPhotos, StayForAnOlderStore) {
  addStore(CoreDataMigrationVersion::version6);

  coredatastack::discardLeftoverPhotos(place_.storeURL());

  EXPECT_TRUE(photos().exist());
}

TEST_F(LeftoverPhotos, StayWhileSomebodyHasClaimedTheStore) {
  addStore(CoreDataMigrationVersion::newest());
  const coredata::StoreClaim claim(place_.storeURL(), std::chrono::seconds(1));

  std::jthread([&] { coredatastack::discardLeftoverPhotos(place_.storeURL()); }).join();

  EXPECT_TRUE(photos().exist());
}

TEST_F(LeftoverPhotos, OfAnotherStoreStay) {
  addStore(CoreDataMigrationVersion::newest());
  const SetAsidePhotos others = photos();
  support::edit(place_.at("Other.sqlite"), CoreDataMigrationVersion::newest(), [](auto&) {});

  coredatastack::discardLeftoverPhotos(place_.at("Other.sqlite"));

  EXPECT_TRUE(others.exist());
}

TEST_F(LeftoverPhotos, StayWhenTheyCannotBeRemovedAndGoTheNextTime) {
  addStore(CoreDataMigrationVersion::newest());
  {
    const support::FaultyFileSystem faults(support::FileFault::failOnce, 1, EIO,
                                           support::bit(support::FileOperation::remove));
    EXPECT_EQ(support::errorCode([&] { coredatastack::discardLeftoverPhotos(place_.storeURL()); }),
              EIO);
  }
  EXPECT_TRUE(photos().exist());

  coredatastack::discardLeftoverPhotos(place_.storeURL());

  EXPECT_TRUE(std::filesystem::is_empty(place_.container()));
}

TEST_F(LeftoverPhotos, OfAStoreKnownByItsIdentifierGoOrStayAsThoseOfOneAtAURL) {
  addStore(CoreDataMigrationVersion::newest());
  const SetAsidePhotos leftover = photos();
  const auto metadata = *coredatastack::storeMetadata(place_.storeURL());
  const std::string identifier = *metadata.find(coredata::NSStoreUUIDKey)->second.text();
  const auto discard = [&] { coredatastack::discardLeftoverPhotos(place_.storeURL(), identifier); };
  {
    const support::WithoutContainer alone;
    discard();
  }
  EXPECT_TRUE(leftover.exist());

  discard();

  EXPECT_FALSE(leftover.exist());
}

TEST_F(LeftoverPhotos, StayWhenTheirStoreIsGoneOrItsDirectory) {
  place_.addPhotoFile("a.jpg", "A");
  const SetAsidePhotos orphaned(foundation::URL::fileURL(place_.container().string() + "/"), "ONE");
  orphaned.setAside({"a.jpg"});

  coredatastack::discardLeftoverPhotos(place_.at("gone.sqlite"), "ONE");
  EXPECT_EQ(support::errorCode([&] {
              coredatastack::discardLeftoverPhotos(place_.at("gone/gone.sqlite"), "ONE");
            }),
            support::number(coredata::StoreErrorCode::missingDirectory));

  EXPECT_TRUE(orphaned.exist());
}

TEST_F(LeftoverPhotos, AreNoneWithoutAStore) {
  EXPECT_NO_THROW(coredatastack::discardLeftoverPhotos(place_.storeURL()));
}

}  // namespace
