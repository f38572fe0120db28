#include "CoreData/Migration/Mapping/NSMappingModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

namespace coredata {
namespace {

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

}  // namespace
}  // namespace coredata
