#include "CoreDataStack/CoreDataMigrationStep.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "CoreData/Model/Compiler/ModelCompiler.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "Foundation/Files/Bundle.h"
#include "Tests/Support/MigrationPlace.h"

namespace {

using coredatastack::CoreDataMigrationStep;
using coredatastack::CoreDataMigrationVersion;
using foundation::Bundle;
using foundation::URL;

class MigrationStep : public testing::Test {
 protected:
  support::MigrationPlace place_;
};

TEST_F(MigrationStep, LoadsBothModelsAnew) {
  const CoreDataMigrationStep step(CoreDataMigrationVersion::version2,
                                   CoreDataMigrationVersion::version3);
  const CoreDataMigrationStep again(CoreDataMigrationVersion::version2,
                                    CoreDataMigrationVersion::version3);

  EXPECT_TRUE(step.sourceModel->versionIdentifiers().contains("Tessaline 2"));
  EXPECT_TRUE(step.destinationModel->versionIdentifiers().contains("Tessaline 3"));
  EXPECT_NE(step.sourceModel.get(), again.sourceModel.get());
}

TEST_F(MigrationStep, TakesTheMappingThatTheMainBundleHas) {
  const CoreDataMigrationStep step(CoreDataMigrationVersion::version6,
                                   CoreDataMigrationVersion::version7);

  const auto* photos = step.mappingModel->entityMapping("PhotoToPhoto");
  ASSERT_NE(photos, nullptr);
  EXPECT_FALSE(step.isInferred);
  EXPECT_EQ(photos->entityMigrationPolicyClassName(), "MurtelleMigrationPolicyV6toV7");
  // The photos' files go when their mapping ends, so nothing that may fail comes after it.
  EXPECT_EQ(step.mappingModel->entityMappings().back().get(), photos);
}

TEST_F(MigrationStep, InfersTheMappingWhereTheMainBundleHasNone) {
  std::filesystem::create_directories(place_.directory() / "empty");
  Bundle::setMain(*Bundle::at(place_.at("empty")));

  for (auto version = CoreDataMigrationVersion::version1; version.next();
       version = *version.next()) {
    const CoreDataMigrationStep step(version, *version.next());
    EXPECT_TRUE(step.isInferred);
    for (const auto& mapping : step.mappingModel->entityMappings()) {
      EXPECT_EQ(mapping->entityMigrationPolicyClassName(), std::nullopt);
    }
  }
}

using MigrationStepDeathTest = MigrationStep;

TEST_F(MigrationStepDeathTest, StopsTheProcessWhereNoMappingCanBeFound) {
  const auto bundle = place_.directory() / "Own.bundle";
  std::filesystem::create_directories(bundle / "Model.momd");
  std::ofstream(bundle / "Info.json") << R"({"identifier": "com.tessaline.step", "name": "Own"})";
  const auto add = [&](const char* name, const char* type) {
    const auto source = place_.directory() / "source.json";
    std::ofstream(source) << R"({"entities": {"Day": {"attributes": {"note": ")" << type
                          << R"("}}}})";
    coredata::writeCompiledModel(coredata::compileModelSource(source.string()),
                                 (bundle / "Model.momd" / name).string());
  };
  add("Tessaline 1.omo", "text");
  add("Tessaline 2.omo", "date");
  Bundle::registerDirectory(URL::fileURL(place_.directory().string()));
  const std::string before = coredatastack::modelBundleIdentifier();
  coredatastack::setModelBundleIdentifier("com.tessaline.step");

  EXPECT_DEATH(
      CoreDataMigrationStep(CoreDataMigrationVersion::version1, CoreDataMigrationVersion::version2),
      ".*Day.*\nCoreDataStack/CoreDataMigrationStep:17: Fatal error: Expected modal mapping not "
      "present\n$");

  coredatastack::setModelBundleIdentifier(before);
}

TEST_F(MigrationStepDeathTest, StopsTheProcessOverADamagedMapping) {
  // Inferring one instead would drop the names of version 6's photos without a word.
  std::filesystem::create_directories(place_.directory() / "damaged");
  std::ofstream(place_.directory() / "damaged" / "6 to 7.cdm") << "no mapping";
  Bundle::setMain(*Bundle::at(place_.at("damaged")));

  EXPECT_DEATH(
      CoreDataMigrationStep(CoreDataMigrationVersion::version6, CoreDataMigrationVersion::version7),
      "^.*6 to 7\\.cdm.*\nCoreDataStack/CoreDataMigrationStep:17: Fatal error: Expected modal "
      "mapping not "
      "present\n$");
}

}  // namespace
