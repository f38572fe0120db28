#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Internal/RandomSource.h"
#include "Tests/Golden/GoldenStore.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/StoreDump.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/TemporaryStore.h"

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// A copy of the golden store, which itself is never opened: opening a store may write to it.
class GoldenStore : public testing::Test {
 protected:
  GoldenStore() { fs::copy_file(fs::path(GOLDEN_DIRECTORY) / "Tessaline 7.sqlite", path); }

  std::string dumpOf(const std::string& store) {
    const auto container = golden::opened(store);
    const auto context = container->newBackgroundContext();
    return context->performBlockAndWait([&] { return support::dumpOf(*context); });
  }

  support::TemporaryDirectory directory;
  const std::string path = (directory.path() / "Model.sqlite").string();
  const std::string expected = contentOf(fs::path(GOLDEN_DIRECTORY) / "Tessaline 7.txt");
};

TEST_F(GoldenStore, StillHoldsEveryValueAndRelationship) {
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(dumpOf(path), expected);
}

TEST_F(GoldenStore, IsStillOfTheCurrentVersion) {
  const auto metadata = coredata::NSPersistentStoreCoordinator::metadataForPersistentStore(
      coredata::NSSQLiteStoreType, foundation::URL::fileURL(path));

  EXPECT_TRUE(support::currentModel()->isConfiguration(std::nullopt, metadata));
  EXPECT_EQ(metadata.at("NSStoreUUID").description(), "C1F31EE4-240E-45E6-81B7-C198654ED54D");
}

TEST_F(GoldenStore, TakesAnotherSaveAndKeepsTheOldOnes) {
  {
    const auto container = golden::opened(path);
    const auto context = container->newBackgroundContext();
    context->performBlockAndWait([&] {
      context->insertNewObject("Group")->setValue("Evening", "title");
      context->save();
    });
  }
  const std::string after = dumpOf(path);
  EXPECT_NE(after, expected);
  EXPECT_NE(after.find("Evening"), std::string::npos);
}

TEST_F(GoldenStore, IsWhatTodaysCodeStillWrites) {
  const foundation::ManualClock clock(731080800.123456);
  const foundation::SeededRandomSource random(7);
  const support::ScopedSettings settings("en_US", "UTC");
  const std::string fresh = (directory.path() / "Fresh.sqlite").string();
  {
    const auto container = golden::opened(fresh);
    const auto context = container->newBackgroundContext();
    context->performBlockAndWait([&] { golden::fill(*context); });
  }
  EXPECT_EQ(dumpOf(fresh), expected);
}

}  // namespace
