#include "Tools/storecheck/ContentHash.h"

#include <gtest/gtest.h>

#include <set>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Tests/Tools/storecheck/CheckedStore.h"

namespace storecheck {

namespace {

using coredata::NSAttributeType;
using coredata::NSEntityDescription;
using coredata::Slot;

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

foundation::Ref<const coredata::NSManagedObjectModel> newestModel() {
  return coredatastack::model(coredatastack::CoreDataMigrationVersion::newest().rawValue());
}

/// SQL for another value of the slot's kind.
std::string otherValue(const Slot& slot) {
  const std::string column = quoted(slot.property->name());
  if (slot.attribute == nullptr) return "coalesce(" + column + ", 0) + 1";
  switch (slot.attribute->attributeType()) {
    case NSAttributeType::string:
      return "coalesce(" + column + ", '') || 'x'";
    case NSAttributeType::binaryData:
    case NSAttributeType::uuid:
      return "CAST(coalesce(" + column + ", x'') || x'00' AS BLOB)";
    default:
      return "coalesce(" + column + ", 0) + 1";
  }
}

TEST(ContentHash, IsTheSameForTheSameRowsWrittenInAnotherOrder) {
  const CheckedStore store;
  const std::string before = store.contentHash();
  const auto model = newestModel();
  for (const NSEntityDescription* entity : model->entities()) {
    const std::string table = quoted(entity->name());
    store.execute("CREATE TEMP TABLE rows AS SELECT * FROM " + table + "; DELETE FROM " + table +
                  "; INSERT INTO " + table + " SELECT * FROM temp.rows ORDER BY _id DESC");
  }

  EXPECT_EQ(store.contentHash(), before);

  store.execute("VACUUM");
  EXPECT_EQ(store.contentHash(), before);
}

TEST(ContentHash, IsTheSameHoweverOftenRowsWereWrittenAndWhateverLiesBesideThem) {
  const CheckedStore store;
  const std::string before = store.contentHash();

  store.execute(
      "UPDATE Checkin SET _version=_version + 5; DELETE FROM _change; DELETE FROM _transaction;"
      "DROP INDEX MonthlyReview_byDate");

  EXPECT_EQ(store.contentHash(), before);
}

TEST(ContentHash, IsTheSameForTwoStoresWithTheSameRows) {
  EXPECT_EQ(CheckedStore().contentHash(), CheckedStore().contentHash());
}

TEST(ContentHash, IsAnotherAfterAnyOneChange) {
  const CheckedStore store;
  const std::string bytes = store.bytes();
  std::set<std::string> hashes{store.contentHash()};
  std::size_t changes = 0;
  const auto model = newestModel();
  for (const NSEntityDescription* entity : model->entities()) {
    const std::string table = quoted(entity->name());
    std::vector<std::string> statements{
        "DELETE FROM " + table + " WHERE _id=1",
        "UPDATE " + table + " SET _id=1000 WHERE _id=1",
        "INSERT INTO " + table + "(_id, _version) VALUES(2000, 1)",
    };
    for (const Slot& slot : entity->slots()) {
      const std::string column = quoted(slot.property->name());
      statements.push_back("UPDATE " + table + " SET " + column + "=" + otherValue(slot) +
                           " WHERE _id=1");
      statements.push_back("UPDATE " + table + " SET " + column + "=NULL WHERE _id=1");
    }
    for (const std::string& sql : statements) {
      SCOPED_TRACE(sql);
      store.setBytes(bytes);
      store.execute(sql);
      ++changes;
      EXPECT_TRUE(hashes.insert(store.contentHash()).second);
    }
  }
  EXPECT_GT(changes, 100U);
}

TEST(ContentHash, TellsAbsentFromEmptyAndFromZero) {
  std::set<std::string> hashes;
  for (const char* value : {"NULL", "''", "x''", "0", "'0'"}) {
    const CheckedStore store;
    store.execute("UPDATE Photo SET data=" + std::string(value) + " WHERE _id=1");
    hashes.insert(store.contentHash());
  }

  EXPECT_EQ(hashes.size(), 5U);
}

TEST(ContentHash, StaysWhatItEverWas) {
  // Whoever kept one compares it with one of a later build.
  EXPECT_EQ(check(foundation::URL::fileURL(GOLDEN_DIRECTORY "/Tessaline 7.sqlite")).contentHash,
            "3f50ea61ab429799bb9ba288fab97a0bbf9991a9185e4ed0bcb2bb6b1519b668");
}

}  // namespace

}  // namespace storecheck
