#include "CoreData/Model/ModelSource.h"

#include <gtest/gtest.h>

#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {
namespace {

std::string readingError(std::string_view json) {
  const auto error = errorOf([json] { static_cast<void>(ModelSource::parse(json)); });
  if (!error) return "";
  EXPECT_EQ(error->domain(), foundation::kCocoaErrorDomain);
  EXPECT_EQ(error->code(), static_cast<std::int64_t>(ModelErrorCode::unreadableSource));
  return error->message();
}

/// The complaint about one attribute of a model that has nothing else.
std::string attributeError(const std::string& attribute) {
  return readingError(R"({"entities": {"A": {"attributes": {"x": )" + attribute + "}}}}");
}

std::string at(const std::string& place, const std::string& complaint) {
  return "The model source cannot be read at " + place + ": " + complaint + ".";
}

TEST(ModelSource, ReadsItsOwnTextAsTheSameSource) {
  const auto source = librarySource();

  auto again = ModelSource::parse(source.text());
  again.normalize();

  EXPECT_EQ(again, source);
  EXPECT_EQ(again.text(), source.text());
}

TEST(ModelSource, PrintsTextsWithEveryCharacterEscapedThatNeedsIt) {
  ModelSource source;
  source.identifiers = {"a \"b\" \\c\n\t\x01 \xc3\xa9"};

  EXPECT_EQ(ModelSource::parse(source.text()), source);
}

TEST(ModelSource, PrintsNumbersThatReadBackBitForBit) {
  for (const double number : {0.1, 1e300, -2.5e-9, 123456789.0}) {
    ModelSource source;
    source.entities = {entitySource("A", {attributeSource("x", NSAttributeType::double_, number)})};

    auto again = ModelSource::parse(source.text());
    again.normalize();

    EXPECT_EQ(again.entities[0].attributes[0].defaultValue.number()->doubleValue(), number);
  }
}

TEST(ModelSource, PrintsOldNamesAndDefaultsOfEveryKind) {
  auto source = ModelSource::parse(R"({"entities": {"A": {
      "attributes": {"on": {"type": "boolean", "default": false}, "off": {"type": "boolean", "default": true}},
      "relationships": {"next": {"toOne": "A", "renamedFrom": "after"}}}}})");
  source.normalize();

  auto again = ModelSource::parse(source.text());
  again.normalize();

  EXPECT_EQ(again, source);
  EXPECT_EQ(again.entities[0].relationships[0].renamedFrom, "after");
}

TEST(ModelSource, LeavesOutWhatGoesWithoutSaying) {
  auto source = ModelSource::parse(R"({"entities": {"A": {"attributes": {
      "count": {"type": "scalar integer16", "default": 0}, "name": {"type": "text"}}}}})");
  source.normalize();

  EXPECT_EQ(source.text(), R"({
  "identifiers": [],
  "entities": {
    "A": {
      "attributes": {
        "count": "scalar integer16",
        "name": "text"
      }
    }
  },
  "configurations": {}
}
)");
}

TEST(ModelSource, ReadsAnEmptyModel) { EXPECT_EQ(ModelSource::parse("{}"), ModelSource()); }

TEST(ModelSource, TakesAStarForAllEntities) {
  const auto source =
      ModelSource::parse(R"({"entities": {"B": {}, "A": {}}, "configurations": {"Local": "*"}})");

  ASSERT_EQ(source.configurations.size(), 1);
  EXPECT_EQ(source.configurations[0].entities, (std::vector<std::string>{"A", "B"}));
}

TEST(ModelSource, NamesLineAndColumnOfWhatIsNoJson) {
  const auto message = readingError("{\n  \"entities\": [1}\n}");

  EXPECT_TRUE(message.starts_with("The model source cannot be read at line 2, column 17: "))
      << message;
}

TEST(ModelSource, NamesThePlaceOfAMemberWrittenTwice) {
  EXPECT_EQ(readingError(R"({"entities": {"A": {"attributes": {"x": "text", "x": "date"}}}})"),
            at("entities.A.attributes.x", "this member stands there twice"));
}

TEST(ModelSource, RefusesMembersThatItDoesNotKnow) {
  EXPECT_EQ(
      readingError(R"({"entity": {}})"),
      at("entity", "there is no such member; known are identifiers, entities, configurations"));
  EXPECT_EQ(attributeError(R"({"type": "text", "defualt": "x"})"),
            at("entities.A.attributes.x.defualt",
               "there is no such member; known are type, default, hashModifier, renamedFrom"));
}

TEST(ModelSource, RefusesWhatLiesDeeperThanAnySource) {
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "[";

  EXPECT_EQ(readingError(deep), at("depth 9", "nothing lies that deep"));
}

TEST(ModelSource, RefusesValuesOfTheWrongForm) {
  EXPECT_EQ(readingError("[]"), at("the top", "expected an object in braces"));
  EXPECT_EQ(readingError(R"({"entities": []})"), at("entities", "expected an object in braces"));
  EXPECT_EQ(readingError(R"({"entities": {"A": 1}})"),
            at("entities.A", "expected an object in braces"));
  EXPECT_EQ(readingError(R"({"entities": {"A": {"abstract": "yes"}}})"),
            at("entities.A.abstract", "expected true or false"));
  EXPECT_EQ(readingError(R"({"entities": {"A": {"class": 1}}})"),
            at("entities.A.class", "expected a text"));
  EXPECT_EQ(readingError(R"({"entities": {"A": {"indexes": {"i": "x"}}}})"),
            at("entities.A.indexes.i", "expected a list of texts in brackets"));
  EXPECT_EQ(attributeError("7"),
            at("entities.A.attributes.x", "expected a type or an object in braces"));
}

TEST(ModelSource, RefusesTypesThatThereAreNot) {
  const std::string place = "entities.A.attributes.x";

  EXPECT_EQ(attributeError(R"("string")"), at(place, "there is no type \"string\""));
  EXPECT_EQ(attributeError(R"("text scalar")"), at(place, "the type \"text\" comes last"));
  EXPECT_EQ(attributeError(R"("required required text")"),
            at(place, "\"required\" stands there twice"));
  EXPECT_EQ(attributeError(R"("scalar")"),
            at(place, "expected a type, such as \"text\" or \"scalar integer16\""));
}

TEST(ModelSource, RefusesDefaultsThatNoAttributeHas) {
  const std::string place = "entities.A.attributes.x.default";

  for (const auto* value : {"null", "{}", "[]"}) {
    EXPECT_EQ(attributeError(R"({"type": "text", "default": )" + std::string(value) + "}"),
              at(place, "expected a number, a text, true or false"));
  }
  EXPECT_EQ(attributeError(R"({"type": "integer64", "default": 9223372036854775808})"),
            at(place, "the number is too large"));
}

TEST(ModelSource, RefusesNumbersThatNoDoubleHolds) {
  EXPECT_EQ(attributeError(R"({"type": "double", "default": 16e433})"),
            at("entities.A.attributes.x.default", "the number is too large"));
  EXPECT_EQ(readingError("1e999"), at("the top", "the number is too large"));
}

TEST(ModelSource, RefusesARelationshipToOneAndToMany) {
  for (const auto* members : {"{}", R"({"toOne": "A", "toMany": "A"})"}) {
    EXPECT_EQ(
        readingError(R"({"entities": {"A": {"relationships": {"x": )" + std::string(members) +
                     "}}}}"),
        at("entities.A.relationships.x", "expected either \"toOne\" or \"toMany\" with an entity"));
  }
}

TEST(ModelSource, RefusesDeleteRulesThatThereAreNot) {
  EXPECT_EQ(readingError(R"({"entities": {"A": {"relationships": {
                "x": {"toOne": "A", "deleteRule": "delete"}}}}})"),
            at("entities.A.relationships.x.deleteRule", "there is no delete rule \"delete\""));
}

}  // namespace
}  // namespace coredata
