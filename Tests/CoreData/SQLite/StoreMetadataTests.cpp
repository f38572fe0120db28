#include "CoreData/SQLite/StoreMetadata.h"

#include <gtest/gtest.h>

#include "CoreData/SQLite/SQLiteStoreError.h"
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

TEST_F(StoreIdentifier, IsNoneInMetadataThatHasNoneOrSomethingElseThere) {
  EXPECT_EQ(coredata::storeIdentifier({}), std::nullopt);
  const std::string key(coredata::NSStoreUUIDKey);
  EXPECT_EQ(coredata::storeIdentifier({{key, 7}}), std::nullopt);
  EXPECT_EQ(coredata::storeIdentifier({{key, "seven"}}), std::nullopt);
  EXPECT_EQ(coredata::storeIdentifier({{key, identifier_.uuidString()}}), identifier_);
}

TEST_F(StoreIdentifier, IsNotReadFromATextTooShortForOne) {
  shelf::query(file_.path(), "UPDATE _metadata SET value='0' WHERE key='NSStoreUUID'");

  EXPECT_EQ(found(), std::nullopt);
}

TEST(StoreMetadata, OfTheProgramKeepsApartFromWhatTheStoreSaysOfItself) {
  const auto code = support::number(coredata::StoreErrorCode::invalidMetadata);
  for (const char* key : {"", "_checksum", "_"}) {
    EXPECT_EQ(support::errorCode([&] {
                static_cast<void>(coredata::mergedMetadata({{key, 1}}, {}));
              }),
              code)
        << key;
  }
  const std::string type(coredata::NSStoreTypeKey);
  const auto merged =
      coredata::mergedMetadata({{"note", "mine"}, {type, "XML"}}, {{type, "SQLite"}});
  EXPECT_EQ(merged.find(type)->second, foundation::Value("SQLite"));
  EXPECT_EQ(merged.find("note")->second, foundation::Value("mine"));
}

TEST(StoreMetadata, TellsANewerModelByTheNumberBehindItsName) {
  const auto isNewer = [](const foundation::Value& identifiers) {
    const std::string key(coredata::NSStoreModelVersionIdentifiersKey);
    return coredata::isNewer({{key, identifiers}}, *shelf::model());
  };
  using foundation::ValueList;

  EXPECT_TRUE(isNewer(ValueList{"Shelf 2"}));
  EXPECT_TRUE(isNewer(ValueList{"Garden 7", "Shelf 10"}));
  EXPECT_FALSE(isNewer(ValueList{"Shelf 1"}));
  EXPECT_FALSE(isNewer(ValueList{"Garden 2"}));
  EXPECT_FALSE(isNewer(ValueList{"Shelf "}));
  EXPECT_FALSE(isNewer(ValueList{"Shelf 1234567890"}));
  EXPECT_FALSE(isNewer(ValueList{2}));
  EXPECT_FALSE(isNewer("Shelf 2"));
  EXPECT_FALSE(coredata::isNewer({}, *shelf::model()));
}

}  // namespace
