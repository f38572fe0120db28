#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CoreData/Migration/Mapping/Compiler/MappingCompiler.h"
#include "CoreData/Migration/Mapping/MappingChecks.h"
#include "CoreData/Migration/Mapping/MappingInference.h"
#include "CoreData/Migration/Mapping/NSMappingModel.h"
#include "CoreData/Model/Compiler/ModelCompiler.h"
#include "CoreData/Model/ModelBuilder.h"
#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

// How stores of older versions are brought up to date: every step but the last follows from the
// models, and the last is written down.

namespace coredata {
namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr int kNewest = 7;
constexpr std::string_view kPolicy = "MurtelleMigrationPolicyV6toV7";

ModelRef version(int number) {
  const auto compiled =
      compileModelSource(RESOURCE_DIR "/Model/Tessaline " + std::to_string(number) + ".json");
  return ModelBuilder::build(compiled.source, compiled.hashes);
}

/// The step from the version of that number to the next, as it is inferred.
MappingRef inferredStep(int number) {
  return NSMappingModel::inferredMappingModel(*version(number), *version(number + 1));
}

std::vector<std::string> attributes(const MappingRef& mapping, std::string_view name) {
  return lines(mapping->entityMapping(name)->attributeMappings());
}

std::vector<std::string> relationships(const MappingRef& mapping, std::string_view name) {
  return lines(mapping->entityMapping(name)->relationshipMappings());
}

TEST(InferredSteps, LeadFromEachVersionToTheNext) {
  for (int number = 1; number < kNewest; ++number) {
    const auto source = version(number);
    const auto destination = version(number + 1);
    EXPECT_EQ(refusalOf([&] {
                checkMapping(inferredContent(*source, *destination), *source, *destination);
              }),
              "")
        << number;
  }
}

TEST(InferredSteps, KeepTheCommentOfACheckinAsItsMemo) {
  EXPECT_THAT(attributes(inferredStep(2), "CheckinToCheckin"), Contains("memo <- $source.comment"));
}

TEST(InferredSteps, WidenNumbersFillColorsAndDropBadges) {
  const auto mapping = inferredStep(3);

  const auto activity = attributes(mapping, "ActivityToActivity");
  EXPECT_THAT(activity, Contains("checkinMaxCount <- $source.maxCount"));
  EXPECT_THAT(activity, Contains(R"(color <- $source.color | "blue")"));
  EXPECT_EQ(mapping->entityMapping("RemoveBadge")->mappingType(), NSEntityMappingType::remove);
}

TEST(InferredSteps, LetACheckinHaveManyPhotos) {
  const auto mapping = inferredStep(4);

  EXPECT_THAT(relationships(mapping, "CheckinToCheckin"),
              ElementsAre("activity <- " + instances("ActivityToActivity", "activity")));
  EXPECT_THAT(relationships(mapping, "PhotoToPhoto"),
              ElementsAre("checkin <- " + instances("CheckinToCheckin", "checkin")));
  EXPECT_THAT(attributes(mapping, "ActivityToActivity"), Contains("status <- 0"));
}

TEST(InferredSteps, CannotBringAnImageIntoTheStore) {
  EXPECT_THAT(
      attributes(inferredStep(6), "PhotoToPhoto"),
      ElementsAre("createdDate <- $source.createdDate", "modifiedDate <- $source.modifiedDate"));
}

class LastStepTest : public testing::Test {
 protected:
  MappingRef mapping_ = foundation::make<NSMappingModel>(
      compileMappingSource(RESOURCE_DIR "/Mapping/Tessaline 6 to Tessaline 7.json",
                           std::vector<std::string>{RESOURCE_DIR "/Model"}));
};

TEST_F(LastStepTest, UsesThePolicyWhereItIsNeededAndNowhereElse) {
  std::vector<std::string> steered;
  for (const auto& mapping : mapping_->entityMappings()) {
    if (mapping->entityMigrationPolicyClassName() == kPolicy) steered.push_back(mapping->name());
  }

  EXPECT_THAT(steered, testing::UnorderedElementsAre("ActivityToActivity", "GroupToGroup",
                                                     "MonthlyReviewToMonthlyReview",
                                                     "AddActivityWidgetGroup", "PhotoToPhoto"));
}

TEST_F(LastStepTest, CarriesCheckinsOverAsTheyAre) {
  EXPECT_EQ(mapping_->entityMapping("CheckinToCheckin")->mappingType(), NSEntityMappingType::copy);
}

/// The end of the photo mapping removes files that nothing can bring back; all else is done by
/// then.
TEST_F(LastStepTest, EndsWithThePhotosBehindTheWidgetGroup) {
  const auto all = names(*mapping_);

  ASSERT_EQ(all.size(), 13);
  EXPECT_EQ(all[11], "AddActivityWidgetGroup");
  EXPECT_EQ(all[12], "PhotoToPhoto");
}

TEST_F(LastStepTest, MakesTheWidgetGroupFromNoSource) {
  const auto& added = *mapping_->entityMapping("AddActivityWidgetGroup");

  EXPECT_EQ(added.sourceEntityName(), std::nullopt);
  EXPECT_EQ(added.destinationEntityName(), "ActivityWidgetGroup");
  EXPECT_EQ(added.mappingType(), NSEntityMappingType::custom);
  EXPECT_EQ(mapping_->entityMapping("AddActivityWidgetItem")->mappingType(),
            NSEntityMappingType::add);
}

TEST_F(LastStepTest, GivesThePolicyTheFileNameOfAPhoto) {
  EXPECT_THAT(
      attributes(mapping_, "PhotoToPhoto"),
      ElementsAre("createdDate <- $source.createdDate",
                  R"(data <- FUNCTION($entityPolicy, "transformStringToData:", $source.filename))",
                  "modifiedDate <- $source.modifiedDate"));
}

TEST_F(LastStepTest, FillsEveryOtherPropertyAsItWouldBeInferred) {
  const auto inferred = inferredStep(6);

  ASSERT_EQ(mapping_->entityMappings().size(), inferred->entityMappings().size());
  for (const auto& expected : inferred->entityMappings()) {
    const auto* mapping = mapping_->entityMapping(expected->name());
    ASSERT_NE(mapping, nullptr) << expected->name();
    EXPECT_EQ(lines(mapping->relationshipMappings()), lines(expected->relationshipMappings()));
    if (expected->name() == "PhotoToPhoto") continue;
    EXPECT_EQ(lines(mapping->attributeMappings()), lines(expected->attributeMappings()));
  }
}

TEST_F(LastStepTest, LiesInTheProgramsBundle) {
  const std::vector files = {foundation::URL::fileURL(COMPILED_MAPPING)};

  const auto found = NSMappingModel::from(files, *version(6), *version(7));

  ASSERT_TRUE(found);
  EXPECT_EQ(names(*found), names(*mapping_));
}

}  // namespace
}  // namespace coredata
