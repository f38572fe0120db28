// What value expressions give in a migration, and which mappings are refused since they do not fit
// their models.

#include <gtest/gtest.h>

#include <array>

#include "CoreData/Migration/ExpressionEvaluation.h"
#include "CoreData/Migration/MigrationError.h"
#include "CoreData/Object/PropertyError.h"
#include "Tests/CoreData/Migration/MigratedStore.h"
#include "Tests/Support/ErrorCode.h"

namespace {

using coredata::EntityMappingContent;
using coredata::kDestinationInstancesSelector;
using coredata::MappingContent;
using coredata::MappingExpression;
using coredata::MigrationErrorCode;
using coredata::NSEntityMapping;
using coredata::NSEntityMigrationPolicy;
using coredata::NSMigrationManager;
using coredata::NSPropertyMapping;
using coredata::PropertyErrorCode;
using foundation::Date;
using foundation::Value;
using foundation::ValueList;
using support::errorCode;
using support::number;
using namespace migration;

using Properties = std::vector<NSPropertyMapping>;

constexpr std::string_view kBefore = R"({
  "identifiers": ["Garden 1"],
  "entities": {
    "Bed": {"attributes": {"name": "text", "tag": "transient text"},
            "relationships": {"plants": {"toMany": "Plant", "inverse": "bed"}}},
    "Plant": {"attributes": {"kind": "text"}, "relationships": {"bed": {"toOne": "Bed", "inverse": "plants"}}},
    "Weed": {"attributes": {"kind": "text"}}
  }
})";
constexpr std::string_view kAfter = R"({
  "identifiers": ["Garden 2"],
  "entities": {
    "Bed": {"attributes": {"name": "text", "size": "double", "note": "text", "dug": "date"},
            "relationships": {"plants": {"toMany": "Plant", "inverse": "bed"}}},
    "Plant": {"attributes": {"kind": "text", "label": "text", "place": "text"},
              "relationships": {"bed": {"toOne": "Bed", "inverse": "plants"}}},
    "Visit": {"attributes": {"note": "text"}}
  }
})";

std::string becameOf(const std::string& mapping, const std::string& source) {
  return "FUNCTION($manager, '" + std::string(kDestinationInstancesSelector) + "', '" + mapping +
         "', " + source + ")";
}

/// One entity into the one of its name; without a policy's name where rows are to be copied.
EntityMappingContent mapped(const char* entity, Properties attributes,
                            Properties relationships = {},
                            std::optional<std::string> policy = std::nullopt) {
  EntityMappingContent content;
  content.name = std::string(entity) + "To" + entity;
  content.sourceEntity = content.destinationEntity = entity;
  content.policyClass = std::move(policy);
  content.attributes = std::move(attributes);
  content.relationships = std::move(relationships);
  return content;
}

Ref<const NSMappingModel> mapping(std::vector<EntityMappingContent> mappings) {
  MappingContent content;
  content.entityMappings = std::move(mappings);
  return foundation::make<NSMappingModel>(std::move(content));
}

std::string plainPolicy() { return registered<NSEntityMigrationPolicy>("Plain"); }

/// Says what it was handed.
class Describing : public NSEntityMigrationPolicy {
 public:
  Value perform(std::string_view selector, std::span<const Value> arguments) override {
    if (selector != "describe:becoming:by:of:")
      return NSEntityMigrationPolicy::perform(selector, arguments);
    const bool isManager = dynamic_cast<NSMigrationManager*>(arguments[2].object()) != nullptr;
    return *arguments[0].object()->valueForKey("kind").text() + " becomes " +
           *arguments[1].object()->valueForKey("kind").text() + (isManager ? ", managed" : "") +
           (arguments[3].object() == this ? ", by me" : "");
  }
};

/// A garden before its migration and after it.
struct Garden {
  MigratedStore store{kBefore, kAfter};

  /// A bed named "North" with a fern in it, and an ivy in no bed.
  void plant() const {
    store.write([](NSManagedObjectContext& context) {
      const auto bed = context.insertNewObject("Bed");
      bed->setValue("North", "name");
      const auto fern = context.insertNewObject("Plant");
      fern->setValue("fern", "kind");
      fern->setValue(bed, "bed");
      context.insertNewObject("Plant")->setValue("ivy", "kind");
    });
  }
  /// The values of a key in all objects of the new store's entity.
  [[nodiscard]] ValueList values(const char* entity, const char* key) const {
    ValueList found;
    store.read([&](NSManagedObjectContext& context) {
      for (const auto& object : all(context, entity)) found.push_back(object->valueForKey(key));
    });
    return found;
  }
  /// For each plant, the name of its bed.
  [[nodiscard]] ValueList bedsOfPlants() const {
    ValueList found;
    store.read([&](NSManagedObjectContext& context) {
      for (const auto& object : all(context, "Plant")) {
        const Value bed = object->valueForKey("bed");
        found.push_back(bed.isNone() ? Value() : bed.object()->valueForKey("name"));
      }
    });
    return found;
  }
};

/// What a migration of a garden is refused with.
std::int64_t refusalOf(const std::vector<EntityMappingContent>& mappings) {
  const MigratedStore store(kBefore, kAfter);
  store.write([](NSManagedObjectContext& context) {
    context.insertNewObject("Plant")->setValue("fern", "kind");
    context.insertNewObject("Bed");
  });
  return errorCode([&] { store.migrate(mapping(mappings)); });
}

TEST(MappedValue, IsAbsentWhereNobodyHasIt) {
  for (const char* text :
       {"$source", "$destination", "$manager", "$entityPolicy", "$source.bed.name"}) {
    EXPECT_TRUE(coredata::evaluated(MappingExpression::parse(text), {}).isNone()) << text;
  }
}

TEST(MappedValue, CannotBeAskedOfNobody) {
  for (const char* text : {"FUNCTION($manager, 'name')", "FUNCTION($entityPolicy, 'name')"}) {
    const auto expression = MappingExpression::parse(text);
    EXPECT_EQ(errorCode([&] { static_cast<void>(coredata::evaluated(expression, {})); }),
              number(MigrationErrorCode::unknownFunction))
        << text;
  }
}

TEST(MappedValues, FollowKeysAsFarAsThereAreObjects) {
  const Garden garden;
  garden.plant();

  garden.store.migrate(mapping({mapped("Plant", {property("place", "$source.bed.name", "nowhere"),
                                                 property("label", "$source.kind.length")})}));

  EXPECT_EQ(garden.values("Plant", "place"), (ValueList{"North", "nowhere"}));
  EXPECT_EQ(garden.values("Plant", "label"), (ValueList{Value(), Value()}));
}

TEST(MappedValues, AreAskedOfThePolicyWithEverythingAtHand) {
  const Garden garden;
  garden.plant();

  garden.store.migrate(mapping({mapped(
      "Plant",
      {property("kind", "$source.kind"),
       property("label",
                "FUNCTION($entityPolicy, 'describe:becoming:by:of:', $source, $destination, "
                "$manager, $entityPolicy)")},
      {}, registered<Describing>("Describing"))}));

  EXPECT_EQ(garden.values("Plant", "label"),
            (ValueList{"fern becomes fern, managed, by me", "ivy becomes ivy, managed, by me"}));
}

TEST(MappedValues, ArriveAsTheyAreWhetherRowsOrObjectsAreMapped) {
  const Properties constants = {property("name", "'South'"), property("size", "2.5"),
                                property("note", "null", "none yet")};
  Properties withADate = constants;
  withADate.emplace_back("dug", MappingExpression(Value(Date::fromReference(0.1))));
  for (const Properties& attributes : {constants, withADate}) {
    const MigratedStore store(kBefore, kAfter);
    store.write([](NSManagedObjectContext& context) { context.insertNewObject("Bed"); });

    store.migrate(mapping({mapped("Bed", attributes)}));

    store.read([&](NSManagedObjectContext& context) {
      const auto bed = all(context, "Bed").at(0);
      EXPECT_EQ(bed->valueForKey("name"), Value("South"));
      EXPECT_EQ(bed->valueForKey("size"), Value(2.5));
      EXPECT_EQ(bed->valueForKey("note"), Value("none yet"));
      const bool hasDate = attributes.size() == withADate.size();
      EXPECT_EQ(bed->valueForKey("dug"), hasDate ? Value(Date::fromReference(0.1)) : Value());
    });
  }
}

TEST(MappedValues, AreAbsentWhereTheStoreKeptNone) {
  const Garden garden;
  garden.plant();

  garden.store.migrate(mapping({mapped("Bed", {property("name", "$source.tag", "untagged")})}));

  EXPECT_EQ(garden.values("Bed", "name"), ValueList{"untagged"});
}

TEST(MappedValue, EndsTheMigrationWhereItsFunctionIsUnknown) {
  const std::string selector(kDestinationInstancesSelector);
  for (const std::string& text :
       {std::string("FUNCTION($entityPolicy, 'name')"), std::string("FUNCTION($manager, 'name')"),
        "FUNCTION($manager, '" + selector + "', 1, $source)"}) {
    EXPECT_EQ(refusalOf({mapped("Plant", {property("kind", text)}, {}, plainPolicy())}),
              number(MigrationErrorCode::unknownFunction))
        << text;
  }
  const MappingExpression tooFew(MappingExpression::Function{
      MappingExpression::Variable::manager, selector, {MappingExpression(Value("BedToBed"))}});
  EXPECT_EQ(refusalOf({mapped("Plant", {{"kind", tooFew}})}),
            number(MigrationErrorCode::unknownFunction));
}

TEST(MappedRelationships, LeadToWhatBecameOfTheirObjectsFromEitherSide) {
  const std::array<std::vector<EntityMappingContent>, 3> sides = {{
      {mapped("Bed", {property("name", "$source.name")}),
       mapped("Plant", {}, {property("bed", becameOf("BedToBed", "$source.bed"))})},
      {mapped("Bed", {property("name", "$source.name")},
              {property("plants", becameOf("PlantToPlant", "$source.plants"))}),
       mapped("Plant", {})},
      {mapped("Bed", {property("name", "$source.name")}, {}, plainPolicy()),
       mapped("Plant", {}, {property("bed", becameOf("BedToBed", "$source.bed"))}, plainPolicy())},
  }};
  for (const auto& mappings : sides) {
    const Garden garden;
    garden.plant();

    garden.store.migrate(mapping(mappings));

    EXPECT_EQ(garden.bedsOfPlants(), (ValueList{"North", Value()}));
  }
}

TEST(MappedRelationships, AreEmptyWhereNothingIsMeant) {
  for (const std::string& nothing : {std::string("null"), becameOf("NoSuchMapping", "$source.bed"),
                                     becameOf("BedToBed", "null")}) {
    const Garden garden;
    garden.plant();

    garden.store.migrate(mapping({mapped("Bed", {property("name", "$source.name")}),
                                  mapped("Plant", {}, {property("bed", nothing)})}));

    EXPECT_EQ(garden.bedsOfPlants(), (ValueList{Value(), Value()})) << nothing;
  }
}

TEST(MappingOfOtherModels, IsRefused) {
  EntityMappingContent unknownSource = mapped("Bed", {});
  unknownSource.sourceEntity = "Pond";
  EntityMappingContent unknownDestination = mapped("Bed", {});
  unknownDestination.destinationEntity = "Pond";
  for (const EntityMappingContent& wrong :
       {unknownSource, unknownDestination, mapped("Bed", {property("depth", "1")}),
        mapped("Bed", {property("name", "$source.depth")}),
        mapped("Bed", {}, {property("frogs", "null")}),
        mapped("Plant", {}, {property("bed", becameOf("BedToBed", "$source.pond"))})}) {
    EXPECT_EQ(refusalOf({wrong}), number(MigrationErrorCode::wrongModels));
  }
}

TEST(MappedValues, BecomeWhatTheNewAttributeHoldsOrAreRefused) {
  const auto garden = [](const std::string& kind) {
    return R"({"identifiers": [")" + kind +
           R"("], "entities": {"Bed": {"attributes": {"depth": ")" + kind + R"("}}}})";
  };
  const auto migrated = [&](const char* from, const Value& value, const char* to) {
    const MigratedStore store(garden(from), garden(to));
    store.write([&](NSManagedObjectContext& context) {
      context.insertNewObject("Bed")->setValue(value, "depth");
    });
    store.migrate(mapping({mapped("Bed", {property("depth", "$source.depth")})}));
    Value depth;
    store.read([&](NSManagedObjectContext& context) {
      depth = all(context, "Bed").at(0)->valueForKey("depth");
    });
    return depth;
  };

  const auto refusalOfKind = [&](const char* from, const Value& value, const char* to) {
    return errorCode([&] { static_cast<void>(migrated(from, value, to)); });
  };

  EXPECT_EQ(migrated("integer32", 7, "double"), Value(7.0));
  EXPECT_EQ(refusalOfKind("text", "deep", "double"), number(PropertyErrorCode::wrongKind));
  for (const char* kind : {"text", "date", "binary", "uuid"})
    EXPECT_EQ(refusalOfKind("integer32", 7, kind), number(PropertyErrorCode::wrongKind)) << kind;
}

/// Looks up what belongs to what when everything is there.
class LookingUp : public NSEntityMigrationPolicy {
 public:
  static inline std::vector<std::string> found;

  void endEntityMapping(const NSEntityMapping&, NSMigrationManager& manager) override {
    const auto& mappings = manager.mappingModel();
    const auto sourceOf = [&](const Ref<NSManagedObject>& object, const char* name) {
      const auto source = manager.sourceInstance(*object, *mappings.entityMapping(name));
      found.push_back(source ? *source->valueForKey("kind").text() : "none");
    };
    NSManagedObjectContext& made = manager.destinationContext();
    sourceOf(all(made, "Plant").at(1), "PlantToPlant");
    sourceOf(made.insertNewObject("Visit"), "AddVisit");
    sourceOf(made.insertNewObject("Bed"), "BedToBed");
    const auto stranger = foundation::make<NSEntityMapping>(mapped("Weed", {}));
    found.push_back(manager.sourceInstance(*all(made, "Plant").at(0), *stranger) ? "one" : "none");
    const Objects weeds = all(manager.sourceContext(), "Weed");
    found.push_back(std::to_string(weeds.size()) + " become " +
                    std::to_string(manager.destinationInstances("RemoveWeed", weeds).size()));
  }
};

TEST(MappedValues, CanBeLookedUpByAPolicyFromEitherSide) {
  const Garden garden;
  garden.plant();
  garden.store.write([](NSManagedObjectContext& context) { context.insertNewObject("Weed"); });
  EntityMappingContent visits;
  visits.name = "AddVisit";
  visits.destinationEntity = "Visit";
  EntityMappingContent weeds;
  weeds.name = "RemoveWeed";
  weeds.sourceEntity = "Weed";
  LookingUp::found.clear();

  garden.store.migrate(mapping({mapped("Plant", {property("kind", "$source.kind")}), visits, weeds,
                                mapped("Bed", {}, {}, registered<LookingUp>("LookingUp"))}));

  EXPECT_EQ(LookingUp::found,
            (std::vector<std::string>{"ivy", "none", "none", "none", "1 become 0"}));
}

TEST(MappedRelationships, MayLeadFurtherThanTheSourcesOwn) {
  constexpr std::string_view kOfPlants = R"({
    "identifiers": ["Visits 1"],
    "entities": {
      "Bed": {},
      "Plant": {"relationships": {"bed": {"toOne": "Bed"}}},
      "Visit": {"relationships": {"plant": {"toOne": "Plant"}}}
    }
  })";
  constexpr std::string_view kOfBeds = R"({
    "identifiers": ["Visits 2"],
    "entities": {
      "Bed": {},
      "Plant": {"relationships": {"bed": {"toOne": "Bed"}}},
      "Visit": {"relationships": {"bed": {"toOne": "Bed"}}}
    }
  })";
  const MigratedStore store(kOfPlants, kOfBeds);
  store.write([](NSManagedObjectContext& context) {
    static_cast<void>(context.insertNewObject("Bed"));
    const auto plant = context.insertNewObject("Plant");
    plant->setValue(context.insertNewObject("Bed"), "bed");
    context.insertNewObject("Visit")->setValue(plant, "plant");
  });

  store.migrate(
      mapping({mapped("Bed", {}), mapped("Plant", {}),
               mapped("Visit", {}, {property("bed", becameOf("BedToBed", "$source.plant.bed"))})}));

  store.read([](NSManagedObjectContext& context) {
    EXPECT_EQ(all(context, "Visit").at(0)->valueForKey("bed"), Value(all(context, "Bed").at(1)));
  });
}

/// Plants what needs a bed into its bed at once.
class Bedding : public NSEntityMigrationPolicy {
 public:
  void createDestinationInstances(NSManagedObject& source, const NSEntityMapping& of,
                                  NSMigrationManager& manager) override {
    const auto plant = manager.insertDestinationInstance(source, of);
    const Ref bed(static_cast<NSManagedObject*>(source.valueForKey("bed").object()));
    plant->setValue(manager.destinationInstances("BedToBed", std::array{bed}).front(), "bed");
    manager.associate(source, *plant, of);
  }
};

TEST(MappedRelationships, ThatAreMandatoryMayBeSetByAPolicy) {
  constexpr std::string_view kStrict = R"({
    "identifiers": ["Garden 3"],
    "entities": {
      "Bed": {"relationships": {"plants": {"toMany": "Plant", "inverse": "bed"}}},
      "Plant": {"relationships": {"bed": {"toOne": "Bed", "inverse": "plants", "required": true}}}
    }
  })";
  const MigratedStore store(kBefore, kStrict);
  static constexpr std::size_t kPlants = 250;
  store.write([](NSManagedObjectContext& context) {
    const auto bed = context.insertNewObject("Bed");
    for (std::size_t i = 0; i < kPlants; ++i)
      context.insertNewObject("Plant")->setValue(bed, "bed");
  });

  store.migrate(
      mapping({mapped("Bed", {}), mapped("Plant", {}, {}, registered<Bedding>("Bedding"))}));

  store.read([](NSManagedObjectContext& context) {
    EXPECT_EQ(all(context, "Bed").at(0)->valueForKey("plants").list()->size(), kPlants);
  });
}

TEST(MappedValues, AreNotLookedForInStoresOfAnotherKind) {
  const Garden garden;
  const auto manager = foundation::make<NSMigrationManager>(garden.store.sourceModel(),
                                                            garden.store.destinationModel());
  garden.plant();
  const auto migrate = [&](const foundation::URL& from, std::string_view type,
                           const foundation::URL& to, std::string_view destinationType) {
    return errorCode([&] {
      manager->migrateStore(from, type, {}, mapping({mapped("Bed", {})}), to, destinationType, {});
    });
  };
  const auto sqlite = coredata::NSSQLiteStoreType;
  const auto elsewhere = *foundation::URL::parse("https://example.org/garden.sqlite");

  EXPECT_EQ(migrate(garden.store.oldURL(), "XML", garden.store.newURL(), sqlite),
            number(MigrationErrorCode::wrongModels));
  EXPECT_EQ(migrate(garden.store.oldURL(), sqlite, garden.store.newURL(), "XML"),
            number(MigrationErrorCode::wrongModels));
  EXPECT_EQ(migrate(elsewhere, sqlite, garden.store.newURL(), sqlite),
            number(MigrationErrorCode::destinationExists));
  EXPECT_EQ(migrate(garden.store.oldURL(), sqlite, elsewhere, sqlite),
            number(MigrationErrorCode::destinationExists));
}

TEST(MappedValues, StopTheProcessWhereNoMigrationIsUnderWay) {
  const Garden garden;
  constexpr const char* kMessage = "asked about a migration that is not under way";
  const auto manager = foundation::make<NSMigrationManager>(garden.store.sourceModel(),
                                                            garden.store.destinationModel());
  const auto beds = foundation::make<NSEntityMapping>(mapped("Bed", {}));
  const auto context = opened(garden.store.oldURL(), garden.store.sourceModel());
  context->performBlockAndWait([&] {
    const auto bed = context->insertNewObject("Bed");
    EXPECT_DEATH(static_cast<void>(manager->mappingModel()), kMessage);
    EXPECT_DEATH(static_cast<void>(manager->sourceContext()), kMessage);
    EXPECT_DEATH(static_cast<void>(manager->destinationContext()), kMessage);
    EXPECT_DEATH(manager->associate(*bed, *bed, *beds), kMessage);
    EXPECT_DEATH(static_cast<void>(manager->destinationInstances("BedToBed", {})), kMessage);
    EXPECT_DEATH(static_cast<void>(manager->sourceInstance(*bed, *beds)), kMessage);
    EXPECT_DEATH(static_cast<void>(manager->insertDestinationInstance(*bed, *beds)), kMessage);
  });
}

}  // namespace
