#include "CoreData/SQLite/StoreMetadata.h"

#include <gtest/gtest.h>

#include "CoreData/SQLite/StoreOpening.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {

using coredata::identifierOfStore;
using coredata::openForReading;
using foundation::UUID;
using shelf::StoreFile;

/// Opening a store asks this first, and reads the metadata whole only when it does not know.
class StoreIdentifier : public testing::Test {
 protected:
  StoreIdentifier() : identifier_(file_.open()->identifier()) {}

  [[nodiscard]] std::optional<UUID> found() const {
    return identifierOfStore(*openForReading(file_.path()), *shelf::model());
  }

  StoreFile file_;
  const UUID identifier_;
};

TEST_F(StoreIdentifier, IsFoundInAStoreOfTheModel) { EXPECT_EQ(found(), identifier_); }

TEST_F(StoreIdentifier, IsFoundBesideTheProgramsOwnMetadata) {
  file_.open()->setMetadata({{"note", "\"quoted\""}, {"when", foundation::Date::now()}});

  EXPECT_EQ(found(), identifier_);
}

TEST_F(StoreIdentifier, IsNotLookedForInAStoreOfAnotherModel) {
  const auto other = coredata::NSManagedObjectModel::empty();

  EXPECT_EQ(identifierOfStore(*openForReading(file_.path()), *other), std::nullopt);
}

TEST_F(StoreIdentifier, IsNotBelievedWithoutItsChecksum) {
  shelf::query(file_.path(),
               "UPDATE _metadata SET value=replace(value, '-', '+') "
               "WHERE key='NSStoreUUID'");

  EXPECT_EQ(found(), std::nullopt);
}

}  // namespace
