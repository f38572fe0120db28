#include "CoreData/Coordinator/NSPersistentStoreDescription.h"

#include <gtest/gtest.h>

namespace {

using coredata::NSPersistentStoreDescription;
using foundation::URL;
using foundation::Value;
using Pragmas = std::map<std::string, std::string>;

TEST(NSPersistentStoreDescription, AsksForNothingUnusualAtFirst) {
  const NSPersistentStoreDescription description(URL::fileURL("/garden.sqlite"));

  EXPECT_EQ(description.url(), URL::fileURL("/garden.sqlite"));
  EXPECT_EQ(description.type(), "SQLite");
  EXPECT_EQ(description.configuration(), std::nullopt);
  EXPECT_FALSE(description.shouldMigrateStoreAutomatically());
  EXPECT_FALSE(description.shouldInferMappingModelAutomatically());
  EXPECT_FALSE(description.shouldAddStoreAsynchronously());
  EXPECT_FALSE(description.isReadOnly());
  EXPECT_TRUE(description.options().empty());
  EXPECT_EQ(description.sqlitePragmas(), Pragmas());
}

TEST(NSPersistentStoreDescription, KeepsOptionsByKey) {
  NSPersistentStoreDescription description;
  description.setOption("complete", coredata::NSPersistentStoreFileProtectionKey);
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);

  EXPECT_EQ(description.options().at(std::string(coredata::NSPersistentStoreFileProtectionKey)),
            Value("complete"));
  EXPECT_TRUE(description.isOn(coredata::NSPersistentHistoryTrackingKey));
  EXPECT_FALSE(description.isOn(coredata::NSPersistentStoreFileProtectionKey));
}

TEST(NSPersistentStoreDescription, ForgetsAnOptionThatIsSetToNone) {
  NSPersistentStoreDescription description;
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);

  description.setOption(Value(), coredata::NSPersistentHistoryTrackingKey);
  description.setOption(Value(), "never set");

  EXPECT_TRUE(description.options().empty());
  EXPECT_FALSE(description.isOn(coredata::NSPersistentHistoryTrackingKey));
}

TEST(NSPersistentStoreDescription, KeepsTheCloudContainerBesideItsOptions) {
  NSPersistentStoreDescription description;
  EXPECT_FALSE(description.cloudKitContainerOptions());

  description.setCloudKitContainerOptions(
      coredata::NSPersistentCloudKitContainerOptions("iCloud.garden"));
  EXPECT_EQ(description.cloudKitContainerOptions()->containerIdentifier(), "iCloud.garden");
  EXPECT_TRUE(description.options().empty());

  description.setCloudKitContainerOptions(std::nullopt);
  EXPECT_FALSE(description.cloudKitContainerOptions());
}

TEST(NSPersistentStoreDescription, CollectsPragmas) {
  NSPersistentStoreDescription description;
  description.setValue("DELETE", "journal_mode");
  description.setValue("-500", "cache_size");
  description.setValue("-600", "cache_size");

  EXPECT_EQ(description.sqlitePragmas(),
            (Pragmas{{"journal_mode", "DELETE"}, {"cache_size", "-600"}}));
}

TEST(NSPersistentStoreDescription, ReadsPragmasThatAreGivenAsNumbers) {
  NSPersistentStoreDescription description;
  description.setOption(foundation::ValueDictionary{{"synchronous", Value(2)}},
                        coredata::NSSQLitePragmasOption);

  EXPECT_EQ(description.sqlitePragmas(), (Pragmas{{"synchronous", "2"}}));
}

}  // namespace
