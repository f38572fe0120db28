// The versions of the schema: their list, how the compiled model of each is found, and how a
// store's version is told.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "CoreData/Model/Compiler/ModelCompiler.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Files/Bundle.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredata::NSManagedObjectModel;
using coredatastack::CoreDataMigrationVersion;
using foundation::ValueDictionary;

ValueDictionary metadataOf(const NSManagedObjectModel& model) {
  return {{std::string(coredata::NSStoreModelVersionHashesKey), model.entityVersionHashesByName()}};
}

TEST(CoreDataMigrationVersion, ListsSevenVersionsOldestFirst) {
  std::vector<std::string> names;
  for (const auto& version : CoreDataMigrationVersion::allCases()) {
    names.emplace_back(version.rawValue());
  }

  EXPECT_EQ(names,
            (std::vector<std::string>{"Tessaline 1", "Tessaline 2", "Tessaline 3", "Tessaline 4",
                                      "Tessaline 5", "Tessaline 6", "Tessaline 7"}));
}

TEST(CoreDataMigrationVersion, LeadsToTheNextOneAndEndsAtTheLast) {
  EXPECT_EQ(CoreDataMigrationVersion::version1.next(), CoreDataMigrationVersion::version2);
  EXPECT_EQ(CoreDataMigrationVersion::version6.next(), CoreDataMigrationVersion::version7);
  EXPECT_EQ(CoreDataMigrationVersion::version7.next(), std::nullopt);
  EXPECT_EQ(CoreDataMigrationVersion::newest(), CoreDataMigrationVersion::version7);
}

TEST(CoreDataMigrationVersionDeathTest, HasNoNewestInAnEmptyList) {
  EXPECT_DEATH((void)CoreDataMigrationVersion::newest({}),
               "^CoreDataStack/CoreDataMigrationVersion:17: Fatal error: no model versions "
               "found\n$");
}

TEST(CoreDataMigrationVersion, IsToldByAStoresMetadata) {
  for (const auto& version : CoreDataMigrationVersion::allCases()) {
    const auto model = coredatastack::model(version.rawValue());
    EXPECT_EQ(CoreDataMigrationVersion::storeVersion(metadataOf(*model)), version);
  }
}

TEST(CoreDataMigrationVersion, IsNoneForMetadataThatNoModelFits) {
  const auto model = coredatastack::model("Tessaline 7");
  ValueDictionary hashes = model->entityVersionHashesByName();
  hashes.erase(hashes.begin());
  const std::string key(coredata::NSStoreModelVersionHashesKey);

  EXPECT_EQ(CoreDataMigrationVersion::storeVersion({}), std::nullopt);
  EXPECT_EQ(CoreDataMigrationVersion::storeVersion({{key, hashes}}), std::nullopt);
  EXPECT_EQ(CoreDataMigrationVersion::storeVersion({{key, "no dictionary"}}), std::nullopt);
}

TEST(VersionedModel, IsAnotherObjectAtEachLoad) {
  EXPECT_NE(coredatastack::model("Tessaline 3").get(), coredatastack::model("Tessaline 3").get());
}

/// A model bundle of the test's own, in place of the build's.
class OwnModelBundle : public testing::Test {
 protected:
  OwnModelBundle() : before_(coredatastack::modelBundleIdentifier()) {
    const auto bundle = directory_.path() / "Own.bundle";
    std::filesystem::create_directories(models());
    std::ofstream(bundle / "Info.json") << R"({"identifier": "com.tessaline.own", "name": "Own"})";
    foundation::Bundle::registerDirectory(foundation::URL::fileURL(directory_.path().string()));
    coredatastack::setModelBundleIdentifier("com.tessaline.own");
  }
  ~OwnModelBundle() override { coredatastack::setModelBundleIdentifier(before_); }

  [[nodiscard]] std::filesystem::path models() const {
    return directory_.path() / "Own.bundle" / "Model.momd";
  }
  void addModel(const char* name, const char* entity) const {
    const auto source = directory_.path() / "source.json";
    std::ofstream(source) << R"({"entities": {")" << entity
                          << R"(": {"attributes": {"a": "text"}}}})";
    coredata::writeCompiledModel(coredata::compileModelSource(source.string()),
                                 (models() / name).string());
  }

  support::TemporaryDirectory directory_;

 private:
  std::string before_;
};

TEST_F(OwnModelBundle, GivesTheOptimisedFormWhereItHoldsBoth) {
  addModel("Tessaline 1.omo", "Optimised");
  addModel("Tessaline 1.mom", "Readable");
  addModel("Tessaline 2.mom", "Readable");

  EXPECT_NE(coredatastack::model("Tessaline 1")->entity("Optimised"), nullptr);
  EXPECT_NE(coredatastack::model("Tessaline 2")->entity("Readable"), nullptr);
}

TEST_F(OwnModelBundle, IsAskedForEachVersionOldestFirstUntilOneFits) {
  addModel("Tessaline 1.omo", "One");
  addModel("Tessaline 2.omo", "Same");
  addModel("Tessaline 3.omo", "Same");
  const auto metadata = metadataOf(*coredatastack::model("Tessaline 3"));

  EXPECT_EQ(CoreDataMigrationVersion::storeVersion(metadata), CoreDataMigrationVersion::version2);
}

using OwnModelBundleDeathTest = OwnModelBundle;

TEST_F(OwnModelBundleDeathTest, StopsTheProcessOverAMissingModel) {
  addModel("Tessaline 1.omo", "One");
  constexpr const char* kMessage =
      "^CoreDataStack/NSManagedObjectModel\\+Migration:15: Fatal error: unable to find model in "
      "bundle\n$";
  EXPECT_DEATH((void)coredatastack::model("Tessaline 2"), kMessage);
  // Telling a version looks at every one before it.
  EXPECT_DEATH((void)CoreDataMigrationVersion::storeVersion({}), kMessage);
  coredatastack::setModelBundleIdentifier("com.tessaline.nobody");
  EXPECT_DEATH((void)coredatastack::model("Tessaline 1"), kMessage);
}

TEST_F(OwnModelBundleDeathTest, StopsTheProcessOverAModelThatCannotBeRead) {
  std::ofstream(models() / "Tessaline 1.omo") << "no model";
  addModel("Tessaline 1.mom", "Readable");

  EXPECT_DEATH((void)coredatastack::model("Tessaline 1"),
               "^\".*Tessaline 1\\.omo\": The .*\n"
               "CoreDataStack/NSManagedObjectModel\\+Migration:19: Fatal error: unable to load "
               "model in bundle\n$");
}

}  // namespace
