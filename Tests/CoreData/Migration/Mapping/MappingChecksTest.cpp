#include "CoreData/Migration/Mapping/MappingChecks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "CoreData/Migration/Mapping/Compiler/MappingExpansion.h"
#include "CoreData/Migration/Mapping/MappingInference.h"
#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

namespace coredata {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class MappingChecksTest : public testing::Test {
 protected:
  ModelRef source_ = modelFromSource(kDiary1);
  ModelRef destination_ = modelFromSource(kDiary2);
  /// A mapping that passes, for each test to spoil.
  MappingContent content_ = expanded(MappingSource::parse(kDiaryMapping), *source_, *destination_);

  [[nodiscard]] std::string refusal() const {
    return refusalOf([&] { checkMapping(content_, *source_, *destination_); });
  }

  [[nodiscard]] EntityMappingContent& mapping(std::string_view name) {
    return *std::ranges::find(content_.entityMappings, name, &EntityMappingContent::name);
  }

  static void set(std::vector<NSPropertyMapping>& properties, const std::string& name,
                  std::string_view expression, const foundation::Value& absentReplacement = {}) {
    std::erase_if(properties, [&](const auto& property) { return property.name() == name; });
    properties.emplace_back(name, MappingExpression::parse(expression), absentReplacement);
    std::ranges::sort(properties, {}, &NSPropertyMapping::name);
  }

  /// What the mapping of entries is refused with when it fills an attribute so.
  [[nodiscard]] std::string refusalOfAttribute(const std::string& name, std::string_view expression,
                                               const foundation::Value& absentReplacement = {}) {
    set(mapping("EntryToEntry").attributes, name, expression, absentReplacement);
    return refusal();
  }
  [[nodiscard]] std::string refusalOfRelationship(const std::string& name,
                                                  std::string_view expression) {
    set(mapping("EntryToEntry").relationships, name, expression);
    return refusal();
  }
};

TEST_F(MappingChecksTest, PassWhatFits) { EXPECT_EQ(refusal(), ""); }

TEST_F(MappingChecksTest, PassWhatWasInferred) {
  const auto inferred = inferredContent(*source_, *source_);

  EXPECT_EQ(refusalOf([&] { checkMapping(inferred, *source_, *source_); }), "");
}

TEST_F(MappingChecksTest, RefuseOtherModels) {
  EXPECT_EQ(refusalOf([&] { checkMapping(content_, *destination_, *destination_); }),
            "The mapping was made for other models.");
  EXPECT_EQ(refusalOf([&] { checkMapping(content_, *source_, *source_); }),
            "The mapping was made for other models.");
}

TEST_F(MappingChecksTest, RefuseMoreEntityMappingsThanAnyModelNeeds) {
  content_.entityMappings.resize(4097, mapping("AddTag"));

  EXPECT_EQ(refusal(), "The mapping holds more than 4096 entity mappings.");
}

TEST_F(MappingChecksTest, RefuseAMappingWithoutVersions) {
  content_.sourceVersion.clear();

  EXPECT_EQ(refusal(), "The mapping names no versions.");
}

TEST_F(MappingChecksTest, RefuseNamesThatAreNoneOrThereTwice) {
  mapping("Images").name = "a b";
  EXPECT_EQ(refusal(), "The mapping holds an entity mapping without a proper name.");

  mapping("a b").name = "AddTag";
  EXPECT_EQ(refusal(), "The mapping holds two entity mappings named \"AddTag\".");
}

TEST_F(MappingChecksTest, RefuseAPolicyThatIsNoClass) {
  for (const std::string& name :
       {std::string("no class"), std::string("no~class"), std::string(), std::string(257, 'a')}) {
    mapping("Images").policyClass = name;
    EXPECT_THAT(refusal(), EndsWith("has a policy whose name is no name of a class.")) << name;
  }
  for (const std::string& name : {std::string("DI_Image2Policy"), std::string(256, 'a')}) {
    mapping("Images").policyClass = name;
    EXPECT_EQ(refusal(), "");
  }
}

TEST_F(MappingChecksTest, RefuseAMappingOfNothing) {
  mapping("AddTag").destinationEntity = std::nullopt;

  EXPECT_EQ(refusal(), "The entity mapping \"AddTag\" is of no entity.");
}

TEST_F(MappingChecksTest, RefuseAnEntityWithoutAName) {
  mapping("AddTag").destinationEntity = "";

  EXPECT_THAT(refusal(), EndsWith("is of an entity without a proper name."));
}

TEST_F(MappingChecksTest, RefuseAnEntityWithoutItsHash) {
  mapping("AddTag").destinationHash = std::nullopt;

  EXPECT_THAT(refusal(), EndsWith("does not hold the hash of each entity."));
}

TEST_F(MappingChecksTest, RefuseTheHashOfAnotherVersion) {
  mapping("AddTag").destinationHash = VersionHash{};

  EXPECT_THAT(refusal(), EndsWith("was made for another version of \"Tag\"."));
}

TEST_F(MappingChecksTest, RefuseATypeThatTheEntitiesRuleOut) {
  using Type = NSEntityMappingType;
  const auto refuse = [&](std::string_view name, std::initializer_list<Type> types) {
    const Type own = mapping(name).type;
    for (const auto type : types) {
      mapping(name).type = type;
      EXPECT_THAT(refusal(), EndsWith("is not of the type that its entities say.")) << name;
    }
    mapping(name).type = own;
  };

  refuse("AddTag", {Type::custom, Type::remove, Type::copy, Type::transform});
  refuse("RemoveDraft", {Type::custom, Type::add, Type::copy, Type::transform});
  refuse("EntryToEntry", {Type::custom, Type::add, Type::remove});
  refuse("Images", {Type::add, Type::remove, Type::copy, Type::transform});
}

TEST_F(MappingChecksTest, RefuseACopyThatIsNone) {
  mapping("EntryToEntry").type = NSEntityMappingType::copy;

  EXPECT_THAT(refusal(), EndsWith("is not of the type that it says."));
}

TEST_F(MappingChecksTest, RefuseAbstractAndUnknownEntities) {
  mapping("AddTag").destinationEntity = "Base";
  EXPECT_THAT(refusal(), EndsWith("names \"Base\", which is abstract."));

  mapping("AddTag").destinationEntity = "Draft";
  EXPECT_THAT(refusal(), EndsWith("names \"Draft\", which is no entity there."));
}

TEST_F(MappingChecksTest, RefusePropertiesTwiceOrOutOfOrder) {
  auto& attributes = mapping("EntryToEntry").attributes;
  std::ranges::reverse(attributes);
  EXPECT_THAT(refusal(), EndsWith("maps properties twice or out of order."));

  attributes.assign(2, {"by", MappingExpression::parse("null")});
  EXPECT_THAT(refusal(), EndsWith("maps properties twice or out of order."));
}

TEST_F(MappingChecksTest, RefusePropertiesOfNoDestination) {
  set(mapping("RemoveDraft").attributes, "x", "1");
  EXPECT_THAT(refusal(), EndsWith("has no destination to give properties to."));

  std::swap(mapping("RemoveDraft").attributes, mapping("RemoveDraft").relationships);
  EXPECT_THAT(refusal(), EndsWith("has no destination to give properties to."));
}

TEST_F(MappingChecksTest, RefuseToForgetAnEntityOfTheSource) {
  std::erase_if(content_.entityMappings,
                [](const auto& mapping) { return mapping.name == "RemoveDraft"; });

  EXPECT_EQ(refusal(),
            "The mapping says nothing of \"Draft\"; its objects are dropped by an entity mapping "
            "without a destination.");
}

TEST_F(MappingChecksTest, RefuseUnknownAndTransientAttributes) {
  EXPECT_EQ(refusalOfAttribute("color", "null"),
            "The entity mapping \"EntryToEntry\" fills \"color\" with null, but \"Entry\" stores "
            "no such attribute.");
  std::erase_if(mapping("EntryToEntry").attributes,
                [](const auto& property) { return property.name() == "color"; });
  EXPECT_THAT(refusalOfAttribute("short", "'x'"), EndsWith("\"Entry\" stores no such attribute."));
}

TEST_F(MappingChecksTest, RefuseConstantsOfAnotherType) {
  EXPECT_THAT(refusalOfAttribute("stars", "'x'"), EndsWith("but it is of type integer16."));
  EXPECT_THAT(refusalOfAttribute("stars", "70000"), EndsWith("but it is of type integer16."));
  EXPECT_THAT(refusalOfAttribute("stars", "1.0"), EndsWith("its numbers are of another kind."));
  EXPECT_EQ(refusalOfAttribute("stars", "-1"), "");
  EXPECT_THAT(refusalOfAttribute("stars", "1", "x"), EndsWith("but it is of type integer16."));
}

TEST_F(MappingChecksTest, RefuseAbsentValuesForWhatIsMandatory) {
  EXPECT_EQ(refusalOfAttribute("by", "null"), "");
  EXPECT_THAT(refusalOfAttribute("title", "null"), EndsWith("but it is mandatory."));
  EXPECT_THAT(refusalOfAttribute("title", "$source.title"),
              EndsWith("it is mandatory and that may be absent."));
  EXPECT_THAT(refusalOfAttribute("title", "$source.author.name"),
              EndsWith("it is mandatory and that may be absent."));
  EXPECT_EQ(refusalOfAttribute("title", "$source.author.name", "?"), "");
}

TEST_F(MappingChecksTest, RefuseToLeaveOutWhatIsMandatory) {
  auto& mapping = this->mapping("AuthorToAuthor");
  std::erase_if(mapping.attributes, [](const auto& property) { return property.name() == "name"; });
  mapping.type = NSEntityMappingType::transform;

  EXPECT_EQ(refusal(),
            "The entity mapping \"AuthorToAuthor\" gives no value to \"name\", which is "
            "mandatory.");
}

TEST(MappingChecks, RefuseToLeaveAMandatoryRelationshipEmpty) {
  const auto model = modelOf(
      R"("Page": {"relationships": {"book": {"toOne": "Book", "required": true}}}, "Book": {})");
  auto content = inferredContent(*model, *model);
  content.sourceVersion = content.destinationVersion = "Shelf";
  const auto refusal = [&] { return refusalOf([&] { checkMapping(content, *model, *model); }); };
  EXPECT_EQ(refusal(), "");
  auto& pages =
      *std::ranges::find(content.entityMappings, "PageToPage", &EntityMappingContent::name);
  pages.type = NSEntityMappingType::transform;

  pages.relationships.assign(1, {"book", MappingExpression::parse("null")});
  EXPECT_THAT(refusal(), EndsWith("fills \"book\" with null, but it is mandatory."));

  pages.relationships.clear();
  EXPECT_THAT(refusal(), EndsWith("gives no value to \"book\", which is mandatory."));
}

TEST_F(MappingChecksTest, LeaveWhatIsMandatoryToAPolicy) {
  mapping("Images").attributes.clear();

  EXPECT_EQ(refusal(), "");
}

TEST_F(MappingChecksTest, RefusePathsThatLeadNowhere) {
  EXPECT_THAT(refusalOfAttribute("by", "$source.color"), EndsWith("\"Entry\" has no \"color\"."));
  EXPECT_THAT(refusalOfAttribute("by", "$source.title.size"),
              EndsWith("\"size\" is asked of what is not one object."));
  EXPECT_THAT(refusalOfAttribute("by", "$source.author.entries.title"),
              EndsWith("\"title\" is asked of what is not one object."));
  EXPECT_THAT(refusalOfAttribute("by", "$source.author"), EndsWith("that is no attribute."));
  EXPECT_THAT(refusalOfAttribute("by", "$source"), EndsWith("that is no attribute."));
  EXPECT_THAT(refusalOfAttribute("by", "$manager"), EndsWith("that is no value."));
  EXPECT_EQ(refusalOfAttribute("by", "$destination.author.name"), "");
}

TEST_F(MappingChecksTest, RefuseAPathToAnotherType) {
  EXPECT_THAT(refusalOfAttribute("stars", "$source.author.age"),
              EndsWith("what is of type integer64 does not always fit integer16."));
}

TEST_F(MappingChecksTest, RefuseASourceWhereThereIsNone) {
  set(mapping("AddTag").attributes, "label", "$source.title");

  EXPECT_THAT(refusal(), EndsWith("there is no source."));
}

TEST_F(MappingChecksTest, RefuseCallsOfAPolicyThatIsNotThere) {
  EXPECT_THAT(refusalOfAttribute("by", "FUNCTION($entityPolicy, 'a')"),
              EndsWith("the mapping has no policy."));
  std::erase_if(mapping("EntryToEntry").attributes,
                [](const auto& property) { return property.name() == "by"; });
  EXPECT_THAT(refusalOfRelationship("author", "FUNCTION($entityPolicy, 'a')"),
              EndsWith("the mapping has no policy."));
}

TEST_F(MappingChecksTest, LookIntoTheArgumentsOfAPolicysCall) {
  set(mapping("Images").attributes, "data",
      "FUNCTION($entityPolicy, 'a:b:c:', $manager, 1, FUNCTION($entityPolicy, 'd:', $source.x))");

  EXPECT_THAT(refusal(), EndsWith("\"Image\" has no \"x\"."));

  set(mapping("Images").attributes, "data", "FUNCTION($entityPolicy, 'a:', $destination.file)");
  EXPECT_THAT(refusal(), EndsWith("\"Image\" has no \"file\"."));
}

TEST_F(MappingChecksTest, RefuseAnAttributeFromTheManager) {
  EXPECT_THAT(refusalOfAttribute("by", instances("AuthorToAuthor", "author")),
              EndsWith("the manager gives no such value."));
}

TEST_F(MappingChecksTest, RefuseUnknownRelationships) {
  EXPECT_THAT(refusalOfRelationship("title", "null"),
              EndsWith("\"Entry\" has no such relationship."));
}

TEST_F(MappingChecksTest, RefuseObjectsThatAreNotMigrated) {
  EXPECT_EQ(refusalOfRelationship("author", "null"), "");
  EXPECT_THAT(refusalOfRelationship("author", "$source.author"),
              EndsWith("that is no migrated object."));
  EXPECT_THAT(refusalOfRelationship("author", "1"), EndsWith("that is no migrated object."));
}

TEST_F(MappingChecksTest, RefuseAReplacementForARelationship) {
  set(mapping("EntryToEntry").relationships, "author", "null", "x");

  EXPECT_THAT(refusal(), EndsWith("only an attribute has something else for what is absent."));
}

TEST_F(MappingChecksTest, HoldTheCallOfTheManagerAgainstTheOtherMappings) {
  EXPECT_EQ(refusalOfRelationship("author", instances("AuthorToAuthor", "author")), "");
  EXPECT_THAT(refusalOfRelationship("author", instances("Authors", "author")),
              EndsWith("there is no entity mapping \"Authors\"."));
  EXPECT_THAT(refusalOfRelationship("author", instances("Images", "image")),
              EndsWith("\"Images\" does not make what the relationship leads to."));
  EXPECT_THAT(refusalOfRelationship("author", instances("AuthorToAuthor", "image")),
              EndsWith("\"AuthorToAuthor\" is not given what it maps."));
  EXPECT_THAT(refusalOfRelationship("author", instances("AuthorToAuthor", "title")),
              EndsWith("\"AuthorToAuthor\" is not given what it maps."));
  EXPECT_THAT(refusalOfRelationship("author",
                                    "FUNCTION($manager, "
                                    "'destinationInstancesForEntityMappingNamed:sourceInstances:', "
                                    "'AuthorToAuthor', 1)"),
              EndsWith("\"AuthorToAuthor\" is not given what it maps."));
  EXPECT_THAT(refusalOfRelationship("author", "FUNCTION($manager, 'find:', 1)"),
              EndsWith("the manager has no such call."));
  EXPECT_THAT(
      refusalOfRelationship(
          "author",
          "FUNCTION($manager, 'destinationInstancesForEntityMappingNamed:sourceInstances:', 1, 2)"),
      EndsWith("it names no entity mapping."));
}

}  // namespace
}  // namespace coredata
