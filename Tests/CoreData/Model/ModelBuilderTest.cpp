#include "CoreData/Model/ModelBuilder.h"

#include <gtest/gtest.h>

#include <limits>

#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {
namespace {

/// What a model of the one entity "A" with these members is refused with.
std::string refusalOfEntity(const std::string& members) {
  return refusalOfSource(R"({"entities": {"A": {)" + members + "}}}");
}

std::string refusalOfAttribute(const std::string& attribute) {
  return refusalOfEntity(R"("attributes": {"x": )" + attribute + "}");
}

/// What relationships `a` from "A" to "B" and `b` from "B" are refused with.
std::string refusalOfPair(const std::string& a, const std::string& b) {
  return refusalOfSource(R"({"entities": {"A": {"relationships": {"a": )" + a +
                         R"(}}, "B": {"relationships": {"b": )" + b + "}}}}");
}

TEST(ModelBuilder, SaysThatAModelIsInvalid) {
  const auto error =
      errorOf([] { static_cast<void>(modelFromSource(R"({"entities": {"1": {}}})")); });

  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain(), foundation::kCocoaErrorDomain);
  EXPECT_EQ(error->code(), static_cast<std::int64_t>(ModelErrorCode::invalidModel));
}

TEST(ModelBuilder, RefusesNamesThatAreNoPlainWords) {
  for (const auto* name : {"", "1st", "_id", "a_b", "a b", "a.b", "a\\\"b", "caf\xc3\xa9", "a;b"}) {
    EXPECT_NE(refusalOfSource(R"({"entities": {")" + std::string(name) + R"(": {}}})"), "") << name;
    EXPECT_NE(refusalOfEntity(R"("attributes": {")" + std::string(name) + R"(": "text"})"), "")
        << name;
  }
  EXPECT_EQ(refusalOfEntity(R"("attributes": {"_id": "text"})"),
            "\"A\" has a property name \"_id\", which is not a letter followed by letters and "
            "digits.");
}

TEST(ModelBuilder, RefusesNamesThatAreTooLong) {
  const std::string longest(64, 'a');

  EXPECT_EQ(refusalOfSource(R"({"entities": {")" + longest + R"(": {}}})"), "");
  EXPECT_EQ(refusalOfSource(R"({"entities": {")" + longest + R"(a": {}}})"),
            "The model has an entity name of more than 64 characters.");
}

TEST(ModelBuilder, TakesWordsOfSqlAsNames) {
  EXPECT_EQ(refusalOfSource(R"({"entities": {"Order": {"attributes": {"group": "text"}}}})"), "");
}

TEST(ModelBuilder, RefusesTheNamesThatSqliteGivesToRows) {
  EXPECT_EQ(refusalOfEntity(R"("attributes": {"rowId": "text"})"),
            "\"A.rowId\" bears a name that SQLite gives to rows.");
  EXPECT_EQ(refusalOfEntity(R"("attributes": {"OID": "text"})"),
            "\"A.OID\" bears a name that SQLite gives to rows.");
}

TEST(ModelBuilder, RefusesNamesThatDifferInCaseOnly) {
  EXPECT_EQ(refusalOfSource(R"({"entities": {"Book": {}, "BOOK": {}}})"),
            "The model has two entities named \"BOOK\" and \"Book\", which the store cannot tell "
            "apart.");
  EXPECT_EQ(
      refusalOfEntity(R"("attributes": {"x": "text"}, "relationships": {"X": {"toOne": "A"}})"),
      "\"A\" has two properties named \"X\" and \"x\", which the store cannot tell apart.");
  EXPECT_EQ(refusalOfEntity(R"("attributes": {"x": "text"}, "indexes": {"i": ["x"], "I": ["x"]})"),
            "\"A\" has two indexes named \"I\" and \"i\", which the store cannot tell apart.");
}

TEST(ModelBuilder, RefusesAnAttributeAndARelationshipOfOneName) {
  EXPECT_EQ(
      refusalOfEntity(R"("attributes": {"x": "text"}, "relationships": {"x": {"toOne": "A"}})"),
      "\"A\" has two properties named \"x\".");
}

TEST(ModelBuilder, RefusesEntitiesWrittenTwiceInADescription) {
  ModelSource source;
  source.entities = {entitySource("A"), entitySource("A")};

  EXPECT_EQ(refusalOf([&] { static_cast<void>(ModelBuilder::build(source)); }),
            "The model has two entities named \"A\".");
}

TEST(ModelBuilder, RefusesTwoPropertiesThatWereOne) {
  EXPECT_EQ(refusalOfEntity(R"("attributes": {"x": {"type": "text", "renamedFrom": "old"},
                                              "y": {"type": "text", "renamedFrom": "old"}})"),
            "\"A\" has two properties once named \"old\".");
}

TEST(ModelBuilder, RefusesMoreStoredPropertiesThanASetOfSlotsHolds) {
  std::string attributes;
  for (int i = 0; i < 64; ++i) attributes += "\"a" + std::to_string(i) + "\": \"text\", ";

  EXPECT_EQ(refusalOfEntity("\"attributes\": {" + attributes + "\"z\": \"transient text\"}"), "");
  EXPECT_EQ(refusalOfEntity("\"attributes\": {" + attributes + "\"z\": \"text\"}"),
            "\"A\" has 65 stored properties; an entity holds 64.");
}

/// So many members, each with a name of its own.
std::string members(int count, const std::string& value) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += (i == 0 ? "\"x" : ", \"x") + std::to_string(i) + "\": " + value;
  }
  return text;
}

TEST(ModelBuilder, RefusesMoreThanAPersonWrites) {
  const auto transient = [](int count) {
    return refusalOfEntity("\"attributes\": {" + members(count, "\"transient text\"") + "}");
  };
  const auto indexes = [](int count) {
    return refusalOfEntity(R"("attributes": {"x": "text"}, "indexes": {)" +
                           members(count, R"(["x"])") + "}");
  };
  const auto entities = [](int count) {
    return refusalOfSource("{\"entities\": {" + members(count, "{}") + "}}");
  };

  EXPECT_EQ(entities(1024), "");
  EXPECT_EQ(entities(1025), "The model has more entities than 1024.");
  EXPECT_EQ(transient(1024), "");
  EXPECT_EQ(transient(1025), "\"A\" has more properties or indexes than 1024.");
  EXPECT_EQ(indexes(1024), "");
  EXPECT_EQ(indexes(1025), "\"A\" has more properties or indexes than 1024.");
}

TEST(ModelBuilder, RefusesIndexesOfMoreColumnsThanThereCanBe) {
  std::string columns = "\"x\"";
  for (int i = 1; i < 65; ++i) columns += ", \"x\"";

  EXPECT_EQ(refusalOfEntity(R"("attributes": {"x": "text"}, "indexes": {"i": [)" + columns + "]}"),
            "\"A\" has the index \"i\" over more columns than there can be.");
}

TEST(ModelBuilder, RefusesAnAttributeOfNoType) {
  ModelSource source;
  source.entities = {entitySource("A", {attributeSource("x", NSAttributeType{})})};

  EXPECT_EQ(refusalOf([&] { static_cast<void>(ModelBuilder::build(source)); }),
            "\"A.x\" has no type.");
}

TEST(ModelBuilder, RefusesDefaultsOfTheWrongKind) {
  EXPECT_EQ(refusalOfAttribute(R"({"type": "text", "default": 1})"),
            "\"A.x\" has a default that is no text.");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "integer16", "default": "1"})"),
            "\"A.x\" has a default that is no integer16.");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "integer16", "default": 1.5})"),
            "\"A.x\" is of type integer16 and cannot start with 1.5.");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "boolean", "default": 1})"),
            "\"A.x\" is of type boolean and cannot start with 1.");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "date", "default": 0})"),
            "\"A.x\" is of type date, which has no defaults.");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "transient text", "default": "a"})"),
            "\"A.x\" is transient and has a default, but is never stored.");
}

TEST(ModelBuilder, RefusesDefaultsOutOfRange) {
  EXPECT_EQ(refusalOfAttribute(R"({"type": "integer16", "default": 32768})"),
            "\"A.x\" has the default 32768, which integer16 does not hold.");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "integer16", "default": -32768})"), "");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "integer32", "default": -2147483649})"),
            "\"A.x\" has the default -2147483649, which integer32 does not hold.");
  EXPECT_EQ(refusalOfAttribute(R"({"type": "integer64", "default": -9223372036854775808})"), "");
}

TEST(ModelBuilder, RefusesADefaultThatIsNoFiniteNumber) {
  ModelSource source;
  source.entities = {entitySource("A", {attributeSource("x", NSAttributeType::double_,
                                                        std::numeric_limits<double>::infinity())})};

  EXPECT_EQ(refusalOf([&] { static_cast<void>(ModelBuilder::build(source)); }),
            "\"A.x\" has a default that is no finite number.");
}

TEST(ModelBuilder, RefusesTextsThatAreNotUtf8) {
  const auto refusal = [](const char* identifier) {
    ModelSource source;
    source.identifiers = {identifier};
    return refusalOf([&] { static_cast<void>(ModelBuilder::build(source)); });
  };

  for (const auto* text : {"\x80", "\xc0\x80", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf",
                           "\xf4\x90\x80\x80", "\xe2\x82", "\xf5\x80\x80\x80"}) {
    EXPECT_EQ(refusal(text), "The model has a version identifier that is not UTF-8.");
  }
  for (const auto* text : {"\xc2\x80", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xef\xbf\xbf",
                           "\xf0\x90\x80\x80", "\xf3\xbf\xbf\xbf", "\xf4\x8f\xbf\xbf"}) {
    EXPECT_EQ(refusal(text), "");
  }
}

TEST(ModelBuilder, KeepsADefaultInTheAttributesOwnKind) {
  const auto model = modelFromSource(R"({"entities": {"A": {"attributes": {
      "d": {"type": "double", "default": 2}, "i": {"type": "integer64", "default": 2.0}}}}})");

  EXPECT_TRUE(model->entity("A")->attribute("d")->defaultValue().number()->isReal());
  EXPECT_FALSE(model->entity("A")->attribute("i")->defaultValue().number()->isReal());
}

TEST(ModelBuilder, RefusesScalarsThatCannotBeZero) {
  EXPECT_EQ(refusalOfAttribute("\"scalar text\""), "\"A.x\" is scalar, but text is no number.");
  EXPECT_EQ(refusalOfAttribute("\"scalar transient double\""),
            "\"A.x\" is scalar and transient, but only what is stored can start at 0.");
}

TEST(ModelBuilder, RefusesADestinationThatIsNoEntity) {
  EXPECT_EQ(refusalOfEntity(R"("relationships": {"x": {"toOne": "Z"}})"),
            "\"A.x\" leads to \"Z\", which is no entity.");
}

TEST(ModelBuilder, RefusesAnInverseThatDoesNotExist) {
  EXPECT_EQ(refusalOfPair(R"({"toOne": "B", "inverse": "c"})", R"({"toOne": "A"})"),
            "\"A.a\" has the inverse \"B.c\", which does not exist.");
}

TEST(ModelBuilder, RefusesAnInverseThatLeadsBackToAnother) {
  EXPECT_EQ(refusalOfPair(R"({"toOne": "B", "inverse": "b"})", R"({"toOne": "A"})"),
            "\"A.a\" has the inverse \"B.b\", which has no inverse.");
  EXPECT_EQ(refusalOfPair(R"({"toOne": "B", "inverse": "b"})", R"({"toOne": "A", "inverse": "z"})"),
            "\"A.a\" has the inverse \"B.b\", which has the inverse \"A.z\".");
  EXPECT_EQ(refusalOfPair(R"({"toOne": "B", "inverse": "b"})", R"({"toOne": "B", "inverse": "a"})"),
            "\"A.a\" has the inverse \"B.b\", which has the inverse \"B.a\".");
}

TEST(ModelBuilder, RefusesAToManyWithoutAnInverse) {
  EXPECT_EQ(refusalOfEntity(R"("relationships": {"x": {"toMany": "A"}})"),
            "\"A.x\" is to-many and has no inverse; what it leads to is found by the inverse "
            "to-one.");
}

TEST(ModelBuilder, RefusesManyToMany) {
  EXPECT_EQ(
      refusalOfPair(R"({"toMany": "B", "inverse": "b"})", R"({"toMany": "A", "inverse": "a"})"),
      "\"A.a\" and its inverse \"B.b\" are both to-many; put an entity between the two, with "
      "a to-one to each.");
}

TEST(ModelBuilder, RefusesARelationshipThatIsItsOwnInverse) {
  EXPECT_EQ(refusalOfEntity(R"("relationships": {"x": {"toOne": "A", "inverse": "x"}})"),
            "\"A.x\" is its own inverse.");
}

TEST(ModelBuilder, LetsAnEntityLeadToItself) {
  EXPECT_EQ(refusalOfEntity(R"("relationships": {"parent": {"toOne": "A", "inverse": "children"},
                                                 "children": {"toMany": "A", "inverse": "parent"}})"),
            "");
}

TEST(ModelBuilder, RefusesIndexesOverWhatHasNoColumn) {
  const std::string properties = R"("attributes": {"x": "text", "t": "transient text"},
      "relationships": {"p": {"toOne": "A", "inverse": "c"}, "c": {"toMany": "A", "inverse": "p"}},)";

  EXPECT_EQ(refusalOfEntity(properties + R"("indexes": {"i": ["x", "p"]})"), "");
  EXPECT_EQ(refusalOfEntity(properties + R"("indexes": {"i": ["z"]})"),
            "\"A\" has the index \"i\" over \"z\", which is no property of it.");
  EXPECT_EQ(refusalOfEntity(properties + R"("indexes": {"i": ["x", "t"]})"),
            "\"A\" has the index \"i\" over \"t\", which is transient.");
  EXPECT_EQ(refusalOfEntity(properties + R"("indexes": {"i": ["c"]})"),
            "\"A\" has the index \"i\" over \"c\", which is to-many and has no column.");
  EXPECT_EQ(refusalOfEntity(properties + R"("indexes": {"i": []})"),
            "\"A\" has the index \"i\" over nothing.");
  EXPECT_EQ(refusalOfEntity(properties + R"("indexes": {"i": ["x", "x"]})"),
            "\"A\" has the index \"i\" over \"x\" twice.");
}

TEST(ModelBuilder, RefusesConfigurationsOfWhatIsNoEntity) {
  EXPECT_EQ(refusalOfSource(R"({"entities": {"A": {}}, "configurations": {"Local": ["A", "B"]}})"),
            "The model has the configuration \"Local\", which names \"B\", but that is no entity.");
  EXPECT_EQ(refusalOfSource(R"({"entities": {"A": {}}, "configurations": {"Local": ["A", "A"]}})"),
            "The model has the configuration \"Local\", which names \"A\" twice.");
}

}  // namespace
}  // namespace coredata
