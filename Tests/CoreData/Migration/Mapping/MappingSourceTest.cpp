#include "CoreData/Migration/Mapping/MappingSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

namespace coredata {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string refusal(const std::string& json) {
  return refusalOf([&] { static_cast<void>(MappingSource::parse(json)); });
}

/// A mapping with these elements in its list.
std::string listing(const std::string& elements) {
  return R"({"source": "1", "destination": "2", "entityMappings": [)" + elements + "]}";
}

TEST(MappingSource, ReadsWhatAPersonWrote) {
  const auto source = MappingSource::parse(kDiaryMapping);

  EXPECT_EQ(source.source, "Diary 1");
  EXPECT_EQ(source.destination, "Diary 2");
  ASSERT_EQ(source.entityMappings.size(), 2);
  EXPECT_EQ(source.restPlace, 1);
  const auto& images = source.entityMappings[0];
  EXPECT_EQ(images.name, "Images");
  EXPECT_EQ(images.policy, "DIImagePolicy");
  EXPECT_TRUE(images.infersRest);
  EXPECT_THAT(lines(images.attributes),
              ElementsAre(R"(data <- FUNCTION($entityPolicy, "dataOfFile:", $source.file))",
                          R"(id <- FUNCTION($entityPolicy, "newIdentifier"))"));
  const auto& entries = source.entityMappings[1];
  EXPECT_EQ(entries.name, "");
  EXPECT_THAT(lines(entries.attributes),
              ElementsAre(R"(by <- $source.author.name | "nobody")", "stars <- 3"));
}

TEST(MappingSource, WritesWhatReadsBackAsTheSame) {
  auto source = MappingSource::parse(kDiaryMapping);
  source.entityMappings[1].relationships.emplace_back(
      "image", MappingExpression::parse(R"(FUNCTION($manager, "a:", 'it\'s "\\"'))"));

  EXPECT_EQ(MappingSource::parse(source.text()), source);
  source.entityMappings[0].infersRest = false;
  source.restPlace = 2;
  EXPECT_EQ(MappingSource::parse(source.text()), source);
  source.restPlace = std::nullopt;
  EXPECT_EQ(MappingSource::parse(source.text()), source);
  source.entityMappings.clear();
  EXPECT_EQ(MappingSource::parse(source.text()), source);
}

TEST(MappingSource, NamesThePlaceOfAMistake) {
  const std::string start = "The mapping source cannot be read at ";
  EXPECT_THAT(refusal("{"), HasSubstr(start + "line 1, column 2: "));
  EXPECT_EQ(refusal("[]"), start + "the top: expected an object in braces.");
  EXPECT_EQ(refusal("{}"), start + "source: expected the name of a version.");
  EXPECT_EQ(refusal(R"({"source": "1", "destination": "2"})"),
            start + "entityMappings: expected a list in brackets.");
  EXPECT_EQ(refusal(R"({"source": "1", "destination": "2", "entityMappings": {}})"),
            start + "entityMappings: expected a list in brackets.");
  EXPECT_EQ(
      refusal(R"({"rest": "inferred"})"),
      start + "rest: there is no such member; known are source, destination, entityMappings.");
  EXPECT_EQ(refusal(listing("1")), start + "entityMappings.1: expected an object in braces.");
  EXPECT_EQ(refusal(listing(R"({"source": "A", "source": "B"})")),
            start + "entityMappings.source: this member stands there twice.");
  EXPECT_EQ(refusal(listing(R"({"source": "A"}, {"name": "B"})")),
            start + "entityMappings.2: expected a \"source\", a \"destination\" or both.");
  EXPECT_EQ(refusal(listing(R"({"source": "A", "color": "red"})")),
            start +
                "entityMappings.1.color: there is no such member; known are name, source, "
                "destination, policy, attributes, relationships, rest.");
}

TEST(MappingSource, NamesThePlaceOfAWrongExpression) {
  EXPECT_EQ(refusal(listing(R"({"destination": "A", "attributes": {"x": "$sauce"}})")),
            "The mapping source cannot be read at entityMappings.1.attributes.x: The value "
            "expression \"$sauce\" is wrong at character 1: the variables are $source, "
            "$destination, $manager and $entityPolicy.");
  EXPECT_THAT(refusal(listing(R"({"destination": "A", "relationships": {"x": {"value": "1 2"}}})")),
              HasSubstr("at entityMappings.1.relationships.x.value: "));
  EXPECT_THAT(refusal(listing(R"({"destination": "A", "attributes": {"x": 1}})")),
              HasSubstr("expected a value expression or an object in braces"));
  EXPECT_THAT(refusal(listing(R"({"destination": "A", "attributes":
                                  {"x": {"value": "1", "whenAbsent": null}}})")),
              HasSubstr("x.whenAbsent: expected a number, a text, true or false"));
}

TEST(MappingSource, KnowsTheRestInTwoPlacesAndOnlyOnce) {
  EXPECT_THAT(refusal(listing(R"({"rest": "inferred"}, {"rest": "inferred"})")),
              HasSubstr("entityMappings.2: the rest stands there twice"));
  EXPECT_THAT(refusal(listing(R"({"rest": "dropped"})")),
              HasSubstr("entityMappings.1.rest: expected \"inferred\""));
  for (const std::string side : {"source", "destination"}) {
    EXPECT_THAT(refusal(listing("{\"" + side + R"(": "A", "rest": "inferred"})")),
                HasSubstr("nothing can be inferred without a source and a destination"));
  }
}

}  // namespace
}  // namespace coredata
