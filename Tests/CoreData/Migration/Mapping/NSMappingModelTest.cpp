#include "CoreData/Migration/Mapping/NSMappingModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/Migration/Mapping/MappingFilesTest.h"

namespace coredata {
namespace {

using foundation::URL;
using testing::HasSubstr;
using NSMappingModelFilesTest = MappingFilesTest;

TEST(NSMappingModel, FindsEntityMappingsByName) {
  const auto model = modelOf(R"("Bed": {}, "Plant": {})");
  const auto mapping = NSMappingModel::inferredMappingModel(*model, *model);

  EXPECT_EQ(mapping->entityMapping("PlantToPlant"), mapping->entityMappings()[1].get());
  EXPECT_EQ(mapping->entityMapping("PlantToBed"), nullptr);
}

TEST(NSMappingModel, HandsOnWhatAnEntityMappingHolds) {
  EntityMappingContent content;
  content.name = "Moved";
  content.type = NSEntityMappingType::custom;
  content.sourceEntity = "Bed";
  content.sourceHash = VersionHash{1};
  content.policyClass = "Policy";
  content.attributes.emplace_back("size", MappingExpression::parse("1"), 2);

  const auto mapping = foundation::make<NSEntityMapping>(content);

  EXPECT_EQ(mapping->name(), "Moved");
  EXPECT_EQ(mapping->mappingType(), NSEntityMappingType::custom);
  EXPECT_EQ(mapping->sourceEntityName(), "Bed");
  EXPECT_EQ(mapping->destinationEntityName(), std::nullopt);
  EXPECT_EQ(mapping->sourceEntityVersionHash(), VersionHash{1});
  EXPECT_EQ(mapping->destinationEntityVersionHash(), std::nullopt);
  EXPECT_EQ(mapping->entityMigrationPolicyClassName(), "Policy");
  EXPECT_THAT(lines(mapping->attributeMappings()), testing::ElementsAre("size <- 1 | 2"));
  EXPECT_TRUE(mapping->relationshipMappings().empty());
}

TEST_F(NSMappingModelFilesTest, SaysWhyThereIsNothing) {
  write("Damaged.cdm", "CDM");

  std::string why;
  EXPECT_FALSE(NSMappingModel::contentsOf(url("Damaged.cdm"), &why));
  EXPECT_EQ(why,
            "\"" + path("Damaged.cdm") + "\": The compiled file is damaged: it ends too early.");
  EXPECT_FALSE(NSMappingModel::contentsOf(url("None.cdm"), &why));
  EXPECT_THAT(why, HasSubstr("No such file or directory"));
  EXPECT_FALSE(NSMappingModel::contentsOf(url("None.cdm")));
}

TEST_F(NSMappingModelFilesTest, FindsTheMappingBetweenTwoModels) {
  write("Damaged.cdm", "CDM");
  writeCompiledMapping(compile(), path("Diary.cdm"));
  const std::vector<URL> files = {url("None.cdm"), url("Damaged.cdm"), url("Diary.cdm")};

  EXPECT_TRUE(NSMappingModel::from(files, *source_, *destination_));
  EXPECT_FALSE(NSMappingModel::from(files, *destination_, *source_));
  EXPECT_FALSE(NSMappingModel::from(files, *source_, *source_));
  EXPECT_FALSE(NSMappingModel::from({}, *source_, *destination_));
}

TEST_F(NSMappingModelFilesTest, TakesTheFirstOfTwo) {
  writeCompiledMapping(compile(), path("First.cdm"));
  auto other = compile();
  other.entityMappings.front().policyClass = "Other";
  writeCompiledMapping(other, path("Second.cdm"));
  const std::vector<URL> files = {url("Second.cdm"), url("First.cdm")};

  const auto mapping = NSMappingModel::from(files, *source_, *destination_);

  ASSERT_TRUE(mapping);
  EXPECT_EQ(mapping->entityMappings()[0]->entityMigrationPolicyClassName(), "Other");
}

TEST_F(NSMappingModelFilesTest, PassesOverAMappingThatDoesNotFitItsModels) {
  auto content = compile();
  content.entityMappings.pop_back();
  writeCompiledMapping(content, path("Diary.cdm"));

  EXPECT_TRUE(NSMappingModel::contentsOf(url("Diary.cdm")));
  EXPECT_FALSE(NSMappingModel::from(std::vector{url("Diary.cdm")}, *source_, *destination_));
}

}  // namespace
}  // namespace coredata
