#include "CoreData/Migration/Mapping/Compiler/MappingExpansion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

namespace coredata {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class MappingExpansionTest : public testing::Test {
 protected:
  [[nodiscard]] MappingRef expand(std::string_view mapping) const {
    return foundation::make<NSMappingModel>(
        expanded(MappingSource::parse(mapping), *source_, *destination_));
  }

  /// The mapping with these elements in its list.
  [[nodiscard]] MappingRef expandList(const std::string& elements) const {
    return expand(R"({"source": "Diary 1", "destination": "Diary 2", "entityMappings": [)" +
                  elements + "]}");
  }

  [[nodiscard]] std::string refusal(const std::string& elements) const {
    return refusalOf([&] { static_cast<void>(expandList(elements)); });
  }

  ModelRef source_ = modelFromSource(kDiary1);
  ModelRef destination_ = modelFromSource(kDiary2);
};

TEST_F(MappingExpansionTest, PutsTheInferredMappingsWhereTheRestStands) {
  EXPECT_THAT(names(*expand(kDiaryMapping)),
              ElementsAre("Images", "AuthorToAuthor", "AddTag", "RemoveDraft", "EntryToEntry"));
}

TEST_F(MappingExpansionTest, InfersThePropertiesThatAreNotWritten) {
  const auto mapping = expand(kDiaryMapping);

  const auto& entries = *mapping->entityMapping("EntryToEntry");
  EXPECT_THAT(
      lines(entries.attributeMappings()),
      ElementsAre(R"(by <- $source.author.name | "nobody")", "mood <- $source.mood", "stars <- 3",
                  R"(title <- $source.title | "?")", "written <- $source.written"));
  EXPECT_THAT(lines(entries.relationshipMappings()),
              ElementsAre("author <- " + instances("AuthorToAuthor", "author"),
                          "image <- " + instances("Images", "image")));
}

TEST_F(MappingExpansionTest, TellsTheTypeOfEachMapping) {
  const auto mapping = expand(kDiaryMapping);

  const auto typeOf = [&](std::string_view name) {
    return mapping->entityMapping(name)->mappingType();
  };
  EXPECT_EQ(typeOf("Images"), NSEntityMappingType::custom);
  EXPECT_EQ(typeOf("AuthorToAuthor"), NSEntityMappingType::copy);
  EXPECT_EQ(typeOf("AddTag"), NSEntityMappingType::add);
  EXPECT_EQ(typeOf("RemoveDraft"), NSEntityMappingType::remove);
  EXPECT_EQ(typeOf("EntryToEntry"), NSEntityMappingType::transform);
}

TEST_F(MappingExpansionTest, TakesConstantsInTheKindOfTheirAttribute) {
  const auto mapping = expandList(R"({"rest": "inferred"},
      {"source": "Image", "destination": "Image", "policy": "P"},
      {"source": "Entry", "destination": "Entry", "rest": "inferred", "attributes": {
        "mood": {"value": "1", "whenAbsent": 2}}})");

  EXPECT_EQ(line(mapping->entityMapping("EntryToEntry")->attributeMappings()[0]),
            "mood <- 1.0 | 2.0");
}

TEST_F(MappingExpansionTest, LeavesOutWhatIsNeitherWrittenNorToBeInferred) {
  const auto mapping = expandList(R"({"rest": "inferred"},
      {"source": "Image", "destination": "Image", "policy": "P"},
      {"source": "Entry", "destination": "Entry"})");

  EXPECT_TRUE(mapping->entityMapping("EntryToEntry")->attributeMappings().empty());
  EXPECT_TRUE(mapping->entityMapping("EntryToEntry")->relationshipMappings().empty());
}

TEST_F(MappingExpansionTest, RefusesUnknownEntities) {
  EXPECT_EQ(refusal(R"({"source": "Tag"})"), "There is no entity \"Tag\" in \"Diary 1\".");
  EXPECT_EQ(refusal(R"({"source": "Draft", "destination": "Draft"})"),
            "There is no entity \"Draft\" in \"Diary 2\".");
}

TEST_F(MappingExpansionTest, SaysWhyTheRestCannotBeInferred) {
  EXPECT_EQ(refusal(R"({"rest": "inferred"})"),
            "The mapping from \"Diary 1\" to \"Diary 2\" cannot be inferred: \"Image.id\" is new "
            "and mandatory and has no default.");
}

TEST_F(MappingExpansionTest, CallsNothingACopyThatIsNotCarriedOverAsItIs) {
  const auto typeWith = [this](const std::string& title) {
    const auto mapping = expanded(
        MappingSource::parse(R"({"source": "Diary 1", "destination": "Diary 1", "entityMappings": [
            {"source": "Entry", "destination": "Entry", "rest": "inferred", "attributes": {"title": )" +
                             title + R"(}}, {"rest": "inferred"}]})"),
        *source_, *source_);
    return mapping.entityMappings.front().type;
  };

  EXPECT_EQ(typeWith(R"("$source.title")"), NSEntityMappingType::copy);
  for (const char* other : {R"("'Diary'")", R"("$destination.title")", R"("$source.author.name")",
                            R"({"value": "$source.title", "whenAbsent": "?"})"}) {
    EXPECT_EQ(typeWith(other), NSEntityMappingType::transform) << other;
  }
}

TEST_F(MappingExpansionTest, SetsAPairOfRelationshipsFromTheSideThatIsWritten) {
  const auto relationshipsOf = [this](const std::string& name, const std::string& written) {
    const auto mapping = expandList(
        R"json({"source": "Image", "destination": "Image", "policy": "P", "rest": "inferred",
                "attributes": {"id": "FUNCTION($entityPolicy, 'newIdentifier')"}},
               {"source": "Author", "destination": "Author", "rest": "inferred"},
               {"source": "Entry", "destination": "Entry", "rest": "inferred",
                "relationships": {)json" +
        written + R"(}}, {"rest": "inferred"})");
    return lines(mapping->entityMapping(name)->relationshipMappings());
  };

  EXPECT_THAT(relationshipsOf("AuthorToAuthor", R"("author": "null")"), ElementsAre());
  EXPECT_THAT(relationshipsOf("ImageToImage", R"("image": "null")"),
              ElementsAre("entry <- " + instances("EntryToEntry", "entry")));
}

TEST_F(MappingExpansionTest, ChecksWhatComesOut) {
  EXPECT_THAT(refusal(R"({"rest": "inferred"},
                         {"source": "Image", "destination": "Image", "policy": "P"},
                         {"source": "Entry", "destination": "Entry", "attributes": {"color": "1"}})"),
              HasSubstr("stores no such attribute"));
  EXPECT_THAT(refusal(R"({"source": "Draft", "attributes": {"x": "1"}})"),
              HasSubstr("has no destination to give properties to"));
  EXPECT_THAT(refusal(R"({"source": "Draft"})"), HasSubstr("The mapping says nothing of"));
}

}  // namespace
}  // namespace coredata
