// Entity mappings that a policy steers: the passes, the keys, and what becomes of rows that were
// copied without it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "CoreData/Context/SaveError.h"
#include "CoreData/Migration/MigrationError.h"
#include "Foundation/Files/FileManager.h"
#include "Tests/CoreData/Migration/MigratedStore.h"
#include "Tests/Support/ErrorCode.h"

namespace {

using coredata::EntityMappingContent;
using coredata::MappingContent;
using coredata::NSEntityMapping;
using coredata::NSEntityMappingType;
using coredata::NSEntityMigrationPolicy;
using coredata::NSMigrationManager;
using foundation::Value;
using foundation::ValueList;
using namespace migration;

constexpr std::string_view kGarden = R"({
  "identifiers": ["Garden 1"],
  "entities": {
    "Bed": {"attributes": {"name": "text"},
            "relationships": {"plants": {"toMany": "Plant", "inverse": "bed"}}},
    "Plant": {"attributes": {"kind": "text"}, "relationships": {"bed": {"toOne": "Bed", "inverse": "plants"}}}
  }
})";
constexpr std::string_view kGardenWithVisits = R"({
  "identifiers": ["Garden 2"],
  "entities": {
    "Bed": {"attributes": {"name": "required text", "number": "integer16"},
            "relationships": {"plants": {"toMany": "Plant", "inverse": "bed"}}},
    "Plant": {"attributes": {"kind": "text"}, "relationships": {"bed": {"toOne": "Bed", "inverse": "plants"}}},
    "Visit": {"attributes": {"note": "text"}}
  }
})";

/// Beds by the named policy, plants as rows, and a mapping that nothing leads to.
Ref<const NSMappingModel> mapping(const std::string& bedPolicy,
                                  const std::optional<std::string>& visitPolicy = {}) {
  EntityMappingContent visits;
  visits.name = "AddVisit";
  visits.type = NSEntityMappingType::add;
  visits.destinationEntity = "Visit";
  visits.policyClass = visitPolicy;
  EntityMappingContent beds;
  beds.name = "BedToBed";
  beds.type = NSEntityMappingType::custom;
  beds.sourceEntity = beds.destinationEntity = "Bed";
  beds.policyClass = bedPolicy;
  beds.attributes = {property("name", "$source.name")};
  EntityMappingContent plants;
  plants.name = "PlantToPlant";
  plants.sourceEntity = plants.destinationEntity = "Plant";
  plants.attributes = {property("kind", "$source.kind")};
  plants.relationships = {property(
      "bed",
      R"(FUNCTION($manager, "destinationInstancesForEntityMappingNamed:sourceInstances:", "BedToBed", $source.bed))")};
  MappingContent content;
  content.entityMappings = {plants, visits, beds};
  return foundation::make<NSMappingModel>(std::move(content));
}

/// Does nothing of its own but to write down what it is asked for.
class Recording : public NSEntityMigrationPolicy {
 public:
  static inline std::vector<std::string> calls;

  void beginEntityMapping(const NSEntityMapping& of, NSMigrationManager&) override {
    note("begin", of);
  }
  void createDestinationInstances(NSManagedObject& source, const NSEntityMapping& of,
                                  NSMigrationManager& manager) override {
    note("create", of);
    NSEntityMigrationPolicy::createDestinationInstances(source, of, manager);
  }
  void endInstanceCreation(const NSEntityMapping& of, NSMigrationManager&) override {
    note("created", of);
  }
  void createRelationships(NSManagedObject& destination, const NSEntityMapping& of,
                           NSMigrationManager& manager) override {
    note("relate", of);
    NSEntityMigrationPolicy::createRelationships(destination, of, manager);
  }
  void endRelationshipCreation(const NSEntityMapping& of, NSMigrationManager&) override {
    note("related", of);
  }
  void performCustomValidation(const NSEntityMapping& of, NSMigrationManager&) override {
    note("validate", of);
  }
  void endEntityMapping(const NSEntityMapping& of, NSMigrationManager&) override {
    note("end", of);
  }

 private:
  static void note(const char* what, const NSEntityMapping& of) {
    calls.push_back(std::string(what) + " " + of.name());
  }
};

/// Leaves out beds without a name, and makes two of those called "Twin".
class Choosing : public NSEntityMigrationPolicy {
 public:
  void createDestinationInstances(NSManagedObject& source, const NSEntityMapping& of,
                                  NSMigrationManager& manager) override {
    const Value name = source.valueForKey("name");
    if (name.isNone()) return;
    NSEntityMigrationPolicy::createDestinationInstances(source, of, manager);
    if (name != Value("Twin")) return;
    NSEntityMigrationPolicy::createDestinationInstances(source, of, manager);
  }
};

/// Makes every bed itself, under a key of the store's choosing.
class Renumbering : public NSEntityMigrationPolicy {
 public:
  void createDestinationInstances(NSManagedObject& source, const NSEntityMapping& of,
                                  NSMigrationManager& manager) override {
    const auto bed = manager.destinationContext().insertNewObject("Bed");
    bed->setValue(source.valueForKey("name"), "name");
    manager.associate(source, *bed, of);
  }
};

/// Gives beds without a name one, in the source, and tells what it finds at the end.
class Naming : public NSEntityMigrationPolicy {
 public:
  static inline std::size_t bedsFound = 0;
  static inline Objects relatedPlants;
  static inline std::vector<coredata::ObjectKey> destinationKeys;

  void createDestinationInstances(NSManagedObject& source, const NSEntityMapping& of,
                                  NSMigrationManager& manager) override {
    if (source.valueForKey("name").isNone()) source.setValue("nameless", "name");
    NSEntityMigrationPolicy::createDestinationInstances(source, of, manager);
  }
  void endEntityMapping(const NSEntityMapping&, NSMigrationManager& manager) override {
    bedsFound = all(manager.destinationContext(), "Bed").size();
    const Objects plants = all(manager.sourceContext(), "Plant");
    destinationKeys.clear();
    for (const auto& plant : manager.destinationInstances("PlantToPlant", plants)) {
      destinationKeys.push_back(keyOf(*plant));
    }
    EXPECT_TRUE(manager.destinationInstances("NoSuchMapping", plants).empty());
    EXPECT_TRUE(manager.destinationInstances("BedToBed", plants).empty());
  }
};

/// Leads each plant to its bed once all plants are there.
class Planting : public NSEntityMigrationPolicy {
 public:
  void createRelationships(NSManagedObject& destination, const NSEntityMapping& of,
                           NSMigrationManager& manager) override {
    const auto source = manager.sourceInstance(destination, of);
    const std::array bed{
        Ref<NSManagedObject>(static_cast<NSManagedObject*>(source->valueForKey("bed").object()))};
    if (bed[0]) destination.setValue(manager.destinationInstances("BedToBed", bed).at(0), "bed");
  }
};

/// Gives beds their names at the very end.
class NamingLate : public NSEntityMigrationPolicy {
 public:
  void createDestinationInstances(NSManagedObject& source, const NSEntityMapping& of,
                                  NSMigrationManager& manager) override {
    manager.associate(source, *manager.insertDestinationInstance(source, of), of);
  }
  void endEntityMapping(const NSEntityMapping&, NSMigrationManager& manager) override {
    for (const auto& bed : all(manager.destinationContext(), "Bed")) bed->setValue("Late", "name");
  }
};

class Failing : public NSEntityMigrationPolicy {
 public:
  void endEntityMapping(const NSEntityMapping&, NSMigrationManager&) override {
    throw foundation::Error("GardenDomain", 7, "the gate is locked");
  }
};

class Policies : public testing::Test {
 protected:
  static Ref<NSManagedObject> addBed(NSManagedObjectContext& context, const Value& name) {
    auto bed = context.insertNewObject("Bed");
    bed->setValue(name, "name");
    return bed;
  }
  static void addPlant(NSManagedObjectContext& context, const Ref<NSManagedObject>& bed) {
    context.insertNewObject("Plant")->setValue(bed, "bed");
  }

  MigratedStore store_{kGarden, kGardenWithVisits};
};

TEST_F(Policies, AreCalledInThreePassesInTheOrderOfTheMappings) {
  store_.write([](NSManagedObjectContext& context) {
    addBed(context, "North");
    addBed(context, "South");
  });
  Recording::calls.clear();
  const std::string name = registered<Recording>("Recording");

  store_.migrate(mapping(name, name));

  EXPECT_EQ(Recording::calls,
            (std::vector<std::string>{"begin AddVisit", "created AddVisit", "begin BedToBed",
                                      "create BedToBed", "create BedToBed", "created BedToBed",
                                      "related AddVisit", "relate BedToBed", "relate BedToBed",
                                      "related BedToBed", "validate AddVisit", "end AddVisit",
                                      "validate BedToBed", "end BedToBed"}));
}

TEST_F(Policies, KeepTheKeysOfWhatTheyMake) {
  store_.write([](NSManagedObjectContext& context) {
    for (int i = 0; i < 250; ++i) addBed(context, std::to_string(i));
    context.save();
    for (const auto& bed : all(context, "Bed")) {
      if (keyOf(*bed) % 3 == 0) context.delete_(bed);
    }
  });

  store_.migrate(mapping(registered<NSEntityMigrationPolicy>("Plain")));

  store_.read([](NSManagedObjectContext& context) {
    const Objects beds = all(context, "Bed");
    ASSERT_EQ(beds.size(), 167U);
    for (const auto& bed : beds) {
      EXPECT_EQ(bed->valueForKey("name"), Value(std::to_string(keyOf(*bed) - 1)));
    }
  });
}

TEST_F(Policies, SeeWhatTheySetInTheSourceAndFindEverythingAtTheEnd) {
  store_.write([](NSManagedObjectContext& context) {
    addPlant(context, addBed(context, "North"));
    addPlant(context, addBed(context, Value()));
  });

  store_.migrate(mapping(registered<Naming>("Naming")));

  EXPECT_EQ(Naming::bedsFound, 2U);
  EXPECT_EQ(Naming::destinationKeys, (std::vector<coredata::ObjectKey>{1, 2}));
  store_.read([](NSManagedObjectContext& context) {
    EXPECT_EQ(all(context, "Bed").at(1)->valueForKey("name"), Value("nameless"));
  });
  const auto old = opened(store_.oldURL(), store_.sourceModel());
  old->performBlockAndWait(
      [&] { EXPECT_EQ(all(*old, "Bed").at(1)->valueForKey("name"), Value()); });
}

TEST_F(Policies, LeaveNoRowLeadingToWhatTheyDidNotMake) {
  store_.write([](NSManagedObjectContext& context) {
    addPlant(context, addBed(context, Value()));
    addPlant(context, addBed(context, "Twin"));
    addPlant(context, nullptr);
  });

  store_.migrate(mapping(registered<Choosing>("Choosing")));

  store_.read([](NSManagedObjectContext& context) {
    const Objects beds = all(context, "Bed");
    ASSERT_EQ(beds.size(), 2U);
    EXPECT_EQ(keyOf(*beds.at(0)), 2);
    EXPECT_EQ(keyOf(*beds.at(1)), 3);
    const Objects plants = all(context, "Plant");
    EXPECT_EQ(plants.at(0)->valueForKey("bed"), Value());
    EXPECT_EQ(plants.at(1)->valueForKey("bed"), Value(beds.at(0)));
    EXPECT_EQ(plants.at(2)->valueForKey("bed"), Value());
  });
}

TEST_F(Policies, MayGiveOtherKeysAndRowsFollow) {
  store_.write([](NSManagedObjectContext& context) {
    for (const char* name : {"North", "South"}) addPlant(context, addBed(context, name));
  });

  store_.migrate(mapping(registered<Renumbering>("Renumbering")));

  store_.read([](NSManagedObjectContext& context) {
    const Objects plants = all(context, "Plant");
    for (std::size_t i = 0; i < 2; ++i) {
      const Value bed = plants.at(i)->valueForKey("bed");
      ASSERT_NE(bed.object(), nullptr);
      EXPECT_GT(keyOf(static_cast<NSManagedObject&>(*bed.object())), 2);
      EXPECT_EQ(bed.object()->valueForKey("name"), Value(i == 0 ? "North" : "South"));
    }
  });
}

TEST_F(Policies, ThatAreUnknownEndTheMigrationBeforeAnythingIsWritten) {
  store_.write([](NSManagedObjectContext& context) { addBed(context, "North"); });

  const auto code = support::errorCode([&] { store_.migrate(mapping("NobodyKnowsMe")); });

  EXPECT_EQ(code, support::number(coredata::MigrationErrorCode::unknownPolicy));
  EXPECT_FALSE(foundation::FileManager::defaultManager().fileExists(*store_.newURL().filePath()));
}

TEST_F(Policies, EndTheMigrationWithTheErrorThatTheyThrow) {
  store_.write([](NSManagedObjectContext& context) { addBed(context, "North"); });
  try {
    store_.migrate(mapping(registered<Failing>("Failing")));
    FAIL() << "nothing was thrown";
  } catch (const foundation::Error& error) {
    EXPECT_EQ(error.domain(), "GardenDomain");
    EXPECT_EQ(error.code(), 7);
  }
}

TEST_F(Policies, CannotLeaveAMandatoryValueOut) {
  store_.write([](NSManagedObjectContext& context) { addBed(context, Value()); });

  const auto code = support::errorCode(
      [&] { store_.migrate(mapping(registered<NSEntityMigrationPolicy>("Plain"))); });

  EXPECT_EQ(code, support::number(coredata::SaveErrorCode::missingMandatoryProperty));
}

TEST_F(Policies, MayFillInAMandatoryValueInTheLastPass) {
  store_.write([](NSManagedObjectContext& context) {
    for (int i = 0; i < 250; ++i) addBed(context, Value());
  });

  store_.migrate(mapping(registered<NamingLate>("NamingLate")));

  store_.read([](NSManagedObjectContext& context) {
    const Objects beds = all(context, "Bed");
    ASSERT_EQ(beds.size(), 250U);
    for (const auto& bed : beds) EXPECT_EQ(bed->valueForKey("name"), Value("Late"));
  });
}

/// As `kGarden`, but no plant is without a bed.
constexpr std::string_view kGardenWithoutStrays = R"({
  "identifiers": ["Garden 2"],
  "entities": {
    "Bed": {"attributes": {"name": "text"},
            "relationships": {"plants": {"toMany": "Plant", "inverse": "bed"}}},
    "Plant": {"attributes": {"kind": "text"},
              "relationships": {"bed": {"toOne": "Bed", "inverse": "plants", "required": true}}}
  }
})";

class PoliciesOfPlants : public Policies {
 protected:
  /// Beds as rows, plants by the policy.
  static Ref<const NSMappingModel> plantsBy(const std::string& policy) {
    EntityMappingContent beds;
    beds.name = "BedToBed";
    beds.sourceEntity = beds.destinationEntity = "Bed";
    beds.attributes = {property("name", "$source.name")};
    EntityMappingContent plants;
    plants.name = "PlantToPlant";
    plants.type = NSEntityMappingType::custom;
    plants.sourceEntity = plants.destinationEntity = "Plant";
    plants.policyClass = policy;
    MappingContent content;
    content.entityMappings = {beds, plants};
    return foundation::make<NSMappingModel>(std::move(content));
  }

  MigratedStore garden_{kGarden, kGardenWithoutStrays};
};

TEST_F(PoliciesOfPlants, MaySetAMandatoryRelationshipInTheSecondPass) {
  garden_.write([](NSManagedObjectContext& context) {
    const auto bed = addBed(context, "North");
    for (int i = 0; i < 250; ++i) addPlant(context, bed);
  });

  garden_.migrate(plantsBy(registered<Planting>("Planting")));

  garden_.read([](NSManagedObjectContext& context) {
    const Objects plants = all(context, "Plant");
    ASSERT_EQ(plants.size(), 250U);
    for (const auto& plant : plants) EXPECT_FALSE(plant->valueForKey("bed").isNone());
  });
}

TEST_F(PoliciesOfPlants, CannotLeaveMandatoryRelationshipsOut) {
  garden_.write([](NSManagedObjectContext& context) {
    addPlant(context, addBed(context, "North"));
    addPlant(context, nullptr);
    addPlant(context, nullptr);
  });
  try {
    garden_.migrate(plantsBy(registered<Planting>("Planting")));
    FAIL() << "nothing was thrown";
  } catch (const foundation::Error& error) {
    EXPECT_EQ(error.code(), support::number(coredata::SaveErrorCode::severalErrors));
    EXPECT_THAT(error.message(), testing::EndsWith("must have a value. There are 1 more."));
  }
}

}  // namespace
