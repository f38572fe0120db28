// Stores that were written by each version before the current one, kept for ever.

#include "Tests/Golden/OldGoldenStore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/ScopedSettings.h"

namespace {

namespace fs = std::filesystem;

using coredatastack::CoreDataMigrationVersion;

class OldGoldenStore : public testing::TestWithParam<CoreDataMigrationVersion> {
 protected:
  [[nodiscard]] static fs::path file(const std::string& name) {
    return fs::path(GOLDEN_DIRECTORY) / name;
  }
  [[nodiscard]] static std::string text(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(file(name), std::ios::binary).rdbuf();
    return text.str();
  }

  const CoreDataMigrationVersion version = GetParam();
  const fs::path store = file(golden::storeName(version));
  const foundation::ManualClock clock{golden::kMoment};
  const support::ScopedSettings settings{"en_US", "UTC"};
};

TEST_P(OldGoldenStore, StillHoldsEveryValueAndRelationship) {
  const std::string expected = text(golden::contentName(version));

  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(golden::contentOf(store, version), expected);
}

TEST_P(OldGoldenStore, IsRecognised) {
  const support::MigrationPlace place;
  fs::copy_file(store, *place.storeURL().filePath());

  const auto metadata = coredatastack::storeMetadata(place.storeURL());

  ASSERT_TRUE(metadata);
  EXPECT_EQ(CoreDataMigrationVersion::storeVersion(*metadata), version);
}

TEST_P(OldGoldenStore, BecomesTheSameStoreOfTheNewestVersionAsEver) {
  const std::string expected = text(golden::migratedName(version));

  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(golden::migratedContentOf(store, version), expected);
}

INSTANTIATE_TEST_SUITE_P(AllVersions, OldGoldenStore, testing::ValuesIn(golden::oldVersions()),
                         [](const auto& version) {
                           return "Version" + std::to_string(version.index + 1);
                         });

}  // namespace
