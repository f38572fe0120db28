#include "CoreData/Migration/Mapping/MappingInference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>

#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

namespace coredata {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

MappingRef inferred(std::string_view source, std::string_view destination) {
  return NSMappingModel::inferredMappingModel(*modelOf(source), *modelOf(destination));
}

std::string refusal(std::string_view source, std::string_view destination) {
  return refusalOf([&] { static_cast<void>(inferred(source, destination)); });
}

/// An entity "A" with one attribute.
std::string entityWith(const std::string& attribute) {
  return R"("A": {"attributes": {)" + attribute + "}}";
}

std::vector<std::string> attributes(const std::string& before, const std::string& after) {
  const auto mapping = inferred(entityWith(before), entityWith(after));
  return lines(mapping->entityMapping("AToA")->attributeMappings());
}

std::vector<std::string> relationships(const MappingRef& mapping, std::string_view name) {
  return lines(mapping->entityMapping(name)->relationshipMappings());
}

constexpr std::string_view kOneWay = R"(
    "Checkin": {"relationships": {"photo": {"toOne": "Photo"}}}, "Photo": {})";
constexpr std::string_view kOneToOne = R"(
    "Checkin": {"relationships": {"photo": {"toOne": "Photo", "inverse": "checkin"}}},
    "Photo": {"relationships": {"checkin": {"toOne": "Checkin", "inverse": "photo"}}})";
constexpr std::string_view kOneToMany = R"(
    "Checkin": {"relationships": {"photos": {"toMany": "Photo", "inverse": "checkin",
                                             "renamedFrom": "photo"}}},
    "Photo": {"relationships": {"checkin": {"toOne": "Checkin", "inverse": "photos"}}})";
constexpr std::string_view kFirstOfMany = R"(
    "Checkin": {"relationships": {"photo": {"toOne": "Photo", "inverse": "checkin",
                                            "renamedFrom": "photos"}}},
    "Photo": {"relationships": {"checkin": {"toOne": "Checkin", "inverse": "photo"}}})";

TEST(MappingInference, PairsEntitiesByNameAddsTheNewAndRemovesTheOld) {
  const auto mapping = inferred(R"("Bed": {}, "Weed": {})", R"("Bed": {}, "Pot": {})");

  EXPECT_THAT(names(*mapping), ElementsAre("BedToBed", "AddPot", "RemoveWeed"));
  const auto& added = *mapping->entityMapping("AddPot");
  EXPECT_EQ(added.mappingType(), NSEntityMappingType::add);
  EXPECT_EQ(added.sourceEntityName(), std::nullopt);
  EXPECT_EQ(added.sourceEntityVersionHash(), std::nullopt);
  EXPECT_EQ(added.destinationEntityName(), "Pot");
  const auto& removed = *mapping->entityMapping("RemoveWeed");
  EXPECT_EQ(removed.mappingType(), NSEntityMappingType::remove);
  EXPECT_EQ(removed.sourceEntityName(), "Weed");
  EXPECT_EQ(removed.destinationEntityName(), std::nullopt);
}

TEST(MappingInference, FollowsRenamedEntities) {
  const auto mapping = inferred(R"("Weed": {})", R"("Herb": {"renamedFrom": "Weed"})");

  EXPECT_THAT(names(*mapping), ElementsAre("WeedToHerb"));
  EXPECT_EQ(mapping->entityMappings()[0]->mappingType(), NSEntityMappingType::transform);
}

TEST(MappingInference, FollowsEntitiesThatExchangedTheirNames) {
  const auto mapping =
      inferred(R"("A": {}, "B": {})", R"("A": {"renamedFrom": "B"}, "B": {"renamedFrom": "A"})");

  EXPECT_THAT(names(*mapping), ElementsAre("BToA", "AToB"));
}

TEST(MappingInference, TakesANameThatIsFreeAgainForANewEntity) {
  const auto mapping = inferred(R"("A": {})", R"("A": {}, "B": {"renamedFrom": "A"})");

  EXPECT_THAT(names(*mapping), ElementsAre("AddA", "AToB"));
}

TEST(MappingInference, GoesByTheOwnNameWhenTheOldOneWasGivenUpLongAgo) {
  EXPECT_THAT(attributes(R"("memo": "text")", R"("memo": {"type": "text", "renamedFrom": "note"})"),
              ElementsAre("memo <- $source.memo"));
}

TEST(MappingInference, KeepsTheHashesOfBothEntities) {
  const auto source = modelOf(R"("A": {})");
  const auto destination = modelOf(entityWith(R"("x": "text")"));

  const auto mapping = NSMappingModel::inferredMappingModel(*source, *destination);

  const auto& pair = *mapping->entityMapping("AToA");
  EXPECT_EQ(pair.sourceEntityVersionHash(), source->entity("A")->versionHash());
  EXPECT_EQ(pair.destinationEntityVersionHash(), destination->entity("A")->versionHash());
}

TEST(MappingInference, CallsACopyWhatStoresAlike) {
  const auto mapping = inferred(
      R"("A": {"attributes": {"x": "integer16"}, "relationships": {"b": {"toOne": "B"}}}, "B": {})",
      R"("A": {"attributes": {"x": "scalar integer16"}, "relationships": {"b": {"toOne": "B"}}},
         "B": {"attributes": {"y": "text"}})");

  EXPECT_EQ(mapping->entityMapping("AToA")->mappingType(), NSEntityMappingType::copy);
  EXPECT_EQ(mapping->entityMapping("BToB")->mappingType(), NSEntityMappingType::transform);
}

TEST(MappingInference, DoesNotCallACopyWhatTradesItsColumns) {
  const auto mapping = inferred(entityWith(R"("x": "text", "y": "text")"),
                                entityWith(R"("x": {"type": "text", "renamedFrom": "y"},
                             "y": {"type": "text", "renamedFrom": "x"})"));

  const auto& pair = *mapping->entityMapping("AToA");
  EXPECT_EQ(pair.mappingType(), NSEntityMappingType::transform);
  EXPECT_THAT(lines(pair.attributeMappings()), ElementsAre("x <- $source.y", "y <- $source.x"));
}

TEST(MappingInference, FollowsRenamedAttributesAndDropsTheRest) {
  EXPECT_THAT(attributes(R"("comment": "text", "mood": "text")",
                         R"("memo": {"type": "text", "renamedFrom": "comment"})"),
              ElementsAre("memo <- $source.comment"));
}

TEST(MappingInference, GivesNewAttributesTheirDefaults) {
  EXPECT_THAT(attributes("", R"("a": "text", "b": {"type": "required text", "default": "blue"},
                                "c": "scalar double", "d": {"type": "boolean", "default": true})"),
              ElementsAre(R"(b <- "blue")", "c <- 0.0", "d <- true"));
}

TEST(MappingInference, RefusesANewMandatoryAttributeWithoutADefault) {
  EXPECT_THAT(refusal(entityWith(""), entityWith(R"("x": "required date")")),
              HasSubstr("\"A.x\" is new and mandatory and has no default"));
}

TEST(MappingInference, ReplacesWhatIsAbsentByTheDefaultOfAnAttributeThatBecameMandatory) {
  EXPECT_THAT(
      attributes(R"("color": "text")", R"("color": {"type": "required text", "default": "blue"})"),
      ElementsAre(R"(color <- $source.color | "blue")"));
  EXPECT_THAT(attributes(R"("n": "integer16")", R"("n": "required scalar integer16")"),
              ElementsAre("n <- $source.n | 0"));
  EXPECT_THAT(attributes(R"("x": "required date")", R"("x": "required date")"),
              ElementsAre("x <- $source.x"));
}

TEST(MappingInference, RefusesAnAttributeThatBecameMandatoryWithoutADefault) {
  EXPECT_THAT(refusal(entityWith(R"("x": "date")"), entityWith(R"("x": "required date")")),
              HasSubstr("\"A.x\" became mandatory and has no default"));
}

TEST(MappingInference, LetsNumbersWidenAndNothingElseChangeItsType) {
  const std::set<std::pair<std::string, std::string>> wider = {
      {"integer16", "integer32"}, {"integer16", "integer64"}, {"integer16", "double"},
      {"integer32", "integer64"}, {"integer32", "double"},    {"boolean", "integer16"},
      {"boolean", "integer32"},   {"boolean", "integer64"},   {"boolean", "double"}};
  constexpr std::array kTypes = {"integer16", "integer32", "integer64", "double", "boolean",
                                 "text",      "date",      "binary",    "uuid"};
  for (const std::string from : kTypes) {
    for (const std::string to : kTypes) {
      const auto message =
          refusal(entityWith(R"("x": ")" + from + "\""), entityWith(R"("x": ")" + to + "\""));
      if (from == to || wider.contains({from, to})) {
        EXPECT_EQ(message, "") << from << " to " << to;
      } else {
        EXPECT_THAT(message,
                    HasSubstr("\"A.x\" was of type " + from + ", which does not always fit " + to));
      }
    }
  }
}

TEST(MappingInference, LeavesTransientAttributesAlone) {
  EXPECT_THAT(attributes(R"("x": "text")", R"("x": "transient text")"), IsEmpty());
  EXPECT_THAT(attributes(R"("x": "transient text")", R"("x": "text")"), IsEmpty());
}

TEST(MappingInference, RefusesAnAttributeThatWasARelationship) {
  EXPECT_THAT(refusal(kOneWay, R"("Checkin": {"attributes": {"photo": "binary"}}, "Photo": {})"),
              HasSubstr("\"Checkin.photo\" was a property of another kind"));
}

TEST(MappingInference, FillsAToOneWithWhatBecameOfItsObject) {
  const auto mapping = inferred(kOneWay, kOneWay);

  EXPECT_THAT(relationships(mapping, "CheckinToCheckin"),
              ElementsAre("photo <- " + instances("PhotoToPhoto", "photo")));
}

TEST(MappingInference, FillsBothColumnsOfAPairOfToOnes) {
  const auto mapping = inferred(kOneToOne, kOneToOne);

  EXPECT_THAT(relationships(mapping, "CheckinToCheckin"),
              ElementsAre("photo <- " + instances("PhotoToPhoto", "photo")));
  EXPECT_THAT(relationships(mapping, "PhotoToPhoto"),
              ElementsAre("checkin <- " + instances("CheckinToCheckin", "checkin")));
}

TEST(MappingInference, FillsAToManyFromTheColumnOfTheOtherSide) {
  const auto mapping = inferred(kOneToOne, kOneToMany);

  EXPECT_THAT(relationships(mapping, "CheckinToCheckin"), IsEmpty());
  EXPECT_THAT(relationships(mapping, "PhotoToPhoto"),
              ElementsAre("checkin <- " + instances("CheckinToCheckin", "checkin")));
}

TEST(MappingInference, FillsAToManyItselfWhereTheOtherSideHadNoColumn) {
  const auto mapping = inferred(kOneWay, kOneToMany);

  EXPECT_THAT(relationships(mapping, "CheckinToCheckin"),
              ElementsAre("photos <- " + instances("PhotoToPhoto", "photo")));
  EXPECT_THAT(relationships(mapping, "PhotoToPhoto"), IsEmpty());
}

TEST(MappingInference, LetsTheSideWithManyChooseTheOneThatStays) {
  const auto mapping = inferred(kOneToMany, kFirstOfMany);

  EXPECT_THAT(relationships(mapping, "CheckinToCheckin"),
              ElementsAre("photo <- " + instances("PhotoToPhoto", "photos")));
  EXPECT_THAT(relationships(mapping, "PhotoToPhoto"), IsEmpty());
}

TEST(MappingInference, NamesTheMappingOfARenamedDestination) {
  const auto mapping =
      inferred(kOneWay, R"("Checkin": {"relationships": {"image": {"toOne": "Image",
                             "renamedFrom": "photo"}}}, "Image": {"renamedFrom": "Photo"})");

  EXPECT_THAT(relationships(mapping, "CheckinToCheckin"),
              ElementsAre("image <- " + instances("PhotoToImage", "photo")));
}

TEST(MappingInference, RefusesARelationshipThatLeadsElsewhere) {
  EXPECT_THAT(refusal(kOneWay, R"("Checkin": {"relationships": {"photo": {"toOne": "Image"}}},
                                  "Image": {}, "Photo": {})"),
              HasSubstr("\"Checkin.photo\" led to \"Photo\", of which no mapping makes \"Image\""));
}

TEST(MappingInference, RefusesMandatoryRelationshipsThatNothingFills) {
  const std::string_view mandatory =
      R"("Checkin": {"relationships": {"photo": {"toOne": "Photo", "required": true}}},
         "Photo": {})";

  EXPECT_THAT(refusal(kOneWay, mandatory), HasSubstr("\"Checkin.photo\" became mandatory"));
  EXPECT_THAT(refusal(R"("Checkin": {}, "Photo": {})", mandatory),
              HasSubstr("\"Checkin.photo\" is new and mandatory"));
  EXPECT_EQ(refusal(mandatory, mandatory), "");
}

TEST(MappingInference, RefusesAMandatoryToOneWhoseInverseKeepsOneOfMany) {
  const auto model = [](const std::string& photos) {
    return R"("Checkin": {"relationships": {"photos": {)" + photos +
           R"(: "Photo", "inverse": "checkin", "required": true}}},
              "Photo": {"relationships": {"checkin": {"toOne": "Checkin", "inverse": "photos",
                                                      "required": true}}})";
  };

  EXPECT_THAT(
      refusal(model(R"("toMany")"), model(R"("toOne")")),
      HasSubstr("\"Photo.checkin\" is mandatory, but its inverse keeps one object of many"));
  EXPECT_EQ(refusal(model(R"("toMany")"), model(R"("toMany")")), "");
}

TEST(MappingInference, RefusesInversesThatWereNotEachOthers) {
  const auto pair = [](const std::string& first, const std::string& second) {
    return R"("A": {"relationships": {"b": {"toOne": "B", "inverse": ")" + first +
           R"("}, "c": {"toOne": "B", "inverse": ")" + second + R"("}}},
           "B": {"relationships": {"x": {"toOne": "A", "inverse": ")" +
           (first == "x" ? "b" : "c") + R"("}, "y": {"toOne": "A", "inverse": ")" +
           (first == "x" ? "c" : "b") + R"("}}})";
  };

  EXPECT_EQ(refusal(pair("x", "y"), pair("x", "y")), "");
  EXPECT_THAT(refusal(pair("x", "y"), pair("y", "x")),
              HasSubstr("\"A.b\" and its inverse \"y\" were not each other's inverse"));
}

TEST(MappingInference, LeavesOutAbstractEntitiesAndWhatLeadsToThem) {
  const std::string_view before =
      R"("A": {"abstract": true}, "B": {"relationships": {"a": {"toOne": "A"}}})";

  const auto mapping = inferred(before, before);

  EXPECT_THAT(names(*mapping), ElementsAre("BToB"));
  EXPECT_THAT(relationships(mapping, "BToB"), IsEmpty());
}

TEST(MappingInference, RefusesAnEntityWithObjectsThatBecameAbstract) {
  EXPECT_THAT(refusal(R"("A": {})", R"("A": {"abstract": true})"),
              HasSubstr("\"A\" is abstract and had objects"));
  EXPECT_EQ(refusal(R"("A": {"abstract": true})", R"("A": {})"), "");
}

TEST(MappingInference, RefusesTwoMappingsOfOneName) {
  EXPECT_THAT(refusal(R"("A": {}, "AToB": {})", R"("BToC": {"renamedFrom": "A"},
                                                  "C": {"renamedFrom": "AToB"})"),
              HasSubstr("two entity mappings would be named \"AToBToC\""));
}

TEST(MappingInference, ListsEveryReasonInOneError) {
  const auto error = errorOf([] {
    const auto source = modelFromSource(R"({"identifiers": ["V1"], "entities": {
        "A": {"attributes": {"x": "text", "y": "date"}}}})");
    const auto destination = modelFromSource(R"({"identifiers": ["V2"], "entities": {
        "A": {"attributes": {"x": "date", "y": "required date"}}}})");
    static_cast<void>(NSMappingModel::inferredMappingModel(*source, *destination));
  });

  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code(), static_cast<std::int64_t>(MappingErrorCode::cannotInfer));
  EXPECT_EQ(error->message(),
            "The mapping from \"V1\" to \"V2\" cannot be inferred: \"A.x\" was of type text, which "
            "does not always fit date; \"A.y\" became mandatory and has no default.");
}

}  // namespace
}  // namespace coredata
