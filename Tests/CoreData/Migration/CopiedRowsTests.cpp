// What becomes of rows that are copied without an object being made of any.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "CoreData/Migration/MigrationError.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Progress/Progress.h"
#include "Tests/CoreData/Migration/MigratedStore.h"
#include "Tests/Support/ErrorCode.h"

namespace {

using foundation::Date;
using foundation::UUID;
using foundation::Value;
using foundation::ValueDictionary;
using namespace migration;

constexpr std::string_view kOld = R"({
  "identifiers": ["Garden 1"],
  "entities": {
    "Bed": {
      "attributes": {"name": "text", "size": "integer16", "soil": "text", "depth": "text"},
      "relationships": {
        "plants": {"toMany": "Plant", "inverse": "bed"},
        "sign": {"toOne": "Sign", "inverse": "bed"},
        "favourite": {"toOne": "Tool"}
      }
    },
    "Plant": {
      "attributes": {"kind": "text", "seen": "date", "mark": "uuid", "picture": "binary", "height": "double",
                     "evergreen": "boolean"},
      "relationships": {"bed": {"toOne": "Bed", "inverse": "plants"}}
    },
    "Sign": {
      "attributes": {"text": "text"},
      "relationships": {"bed": {"toOne": "Bed", "inverse": "sign"}}
    },
    "Tool": {"attributes": {"name": "text"}},
    "Weed": {"attributes": {"name": "text"}}
  },
  "configurations": {"Local": "*"}
})";

// The kind is called species now, sizes are doubles, soil is mandatory, depth and the weeds are
// gone, signs can be many, a bed knows one plant only, tools know whose favourite they are, and
// beds are numbered.
constexpr std::string_view kNew = R"({
  "identifiers": ["Garden 2"],
  "entities": {
    "Bed": {
      "attributes": {"name": "text", "size": "double", "soil": {"type": "required text", "default": "loam"},
                     "number": "scalar integer16", "shape": {"type": "text", "default": "square"}},
      "relationships": {
        "plants": {"toOne": "Plant", "inverse": "bed"},
        "signs": {"toMany": "Sign", "inverse": "bed", "renamedFrom": "sign"},
        "favourite": {"toMany": "Tool", "inverse": "bed"}
      }
    },
    "Plant": {
      "attributes": {"species": {"type": "text", "renamedFrom": "kind"}, "seen": "date", "mark": "uuid",
                     "picture": "binary", "height": "double", "evergreen": "integer16"},
      "relationships": {"bed": {"toOne": "Bed", "inverse": "plants"}}
    },
    "Sign": {
      "attributes": {"text": "text"},
      "relationships": {"bed": {"toOne": "Bed", "inverse": "signs"}}
    },
    "Tool": {
      "attributes": {"name": "text"},
      "relationships": {"bed": {"toOne": "Bed", "inverse": "favourite"}}
    },
    "Visit": {"attributes": {"at": "date"}}
  },
  "configurations": {"Local": "*"}
})";

Ref<NSManagedObject> made(NSManagedObjectContext& context, const char* entity,
                          const ValueDictionary& values) {
  Ref<NSManagedObject> object = context.insertNewObject(entity);
  for (const auto& [key, value] : values) object->setValue(value, key);
  return object;
}

class CopiedRows : public testing::Test {
 protected:
  MigratedStore store_{kOld, kNew};
};

TEST_F(CopiedRows, KeepTheirValuesThroughRenamingAndWidening) {
  const UUID mark;
  const foundation::Data picture(std::vector<std::uint8_t>{0, 1, 2, 0});
  store_.write([&](NSManagedObjectContext& context) {
    made(context, "Plant",
         {{"kind", "Fern"},
          {"seen", Date::fromReference(0.1)},
          {"mark", mark},
          {"picture", picture},
          {"height", 1.5},
          {"evergreen", true}});
    made(context, "Bed", {{"name", "North"}, {"size", 3}});
  });

  store_.migrateInferred();

  store_.read([&](NSManagedObjectContext& context) {
    const Ref<NSManagedObject> plant = all(context, "Plant").at(0);
    EXPECT_EQ(plant->valueForKey("species"), Value("Fern"));
    EXPECT_EQ(plant->valueForKey("seen"), Value(Date::fromReference(0.1)));
    EXPECT_EQ(plant->valueForKey("mark"), Value(mark));
    EXPECT_EQ(plant->valueForKey("picture"), Value(picture));
    EXPECT_EQ(plant->valueForKey("height"), Value(1.5));
    EXPECT_EQ(plant->valueForKey("evergreen"), Value(1));
    const Value size = all(context, "Bed").at(0)->valueForKey("size");
    EXPECT_EQ(size, Value(3.0));
    EXPECT_TRUE(size.number()->isReal());
  });
}

TEST_F(CopiedRows, StayAbsentWhereNothingIsAndTakeTheDefaultWhereSomethingMustBe) {
  store_.write([](NSManagedObjectContext& context) {
    made(context, "Bed", {});
    made(context, "Bed", {{"soil", "sand"}, {"name", ""}});
  });

  store_.migrateInferred();

  store_.read([](NSManagedObjectContext& context) {
    const Objects beds = all(context, "Bed");
    EXPECT_EQ(beds.at(0)->valueForKey("name"), Value());
    EXPECT_EQ(beds.at(0)->valueForKey("size"), Value());
    EXPECT_EQ(beds.at(0)->valueForKey("soil"), Value("loam"));
    EXPECT_EQ(beds.at(1)->valueForKey("soil"), Value("sand"));
    EXPECT_EQ(beds.at(1)->valueForKey("name"), Value(""));
  });
}

TEST_F(CopiedRows, StartNewAttributesAtTheirDefaults) {
  store_.write([](NSManagedObjectContext& context) { made(context, "Bed", {}); });

  store_.migrateInferred();

  store_.read([](NSManagedObjectContext& context) {
    EXPECT_EQ(all(context, "Bed").at(0)->valueForKey("number"), Value(0));
    EXPECT_EQ(all(context, "Bed").at(0)->valueForKey("shape"), Value("square"));
    EXPECT_TRUE(all(context, "Visit").empty());
  });
}

TEST_F(CopiedRows, GoOnToLeadToEachOtherWhenRelationshipsChangeTheirSides) {
  store_.write([](NSManagedObjectContext& context) {
    const auto north = made(context, "Bed", {{"name", "North"}});
    const auto south = made(context, "Bed", {{"name", "South"}});
    const auto rake = made(context, "Tool", {{"name", "Rake"}});
    made(context, "Tool", {{"name", "Hoe"}});
    made(context, "Sign", {{"text", "Here"}, {"bed", south}});
    for (const char* kind : {"Fern", "Ivy"})
      made(context, "Plant", {{"kind", kind}, {"bed", north}});
    south->setValue(rake, "favourite");
  });

  store_.migrateInferred();

  store_.read([](NSManagedObjectContext& context) {
    const Objects beds = all(context, "Bed");
    const Objects plants = all(context, "Plant");
    // A bed that has room for one plant keeps the first.
    EXPECT_EQ(beds.at(0)->valueForKey("plants"), Value(plants.at(0)));
    EXPECT_EQ(beds.at(1)->valueForKey("signs"),
              Value(foundation::ValueList{all(context, "Sign").at(0)}));
    EXPECT_EQ(beds.at(0)->valueForKey("signs"), Value(foundation::ValueList{}));
    const Objects tools = all(context, "Tool");
    EXPECT_EQ(tools.at(0)->valueForKey("bed"), Value(beds.at(1)));
    EXPECT_EQ(tools.at(1)->valueForKey("bed"), Value());
  });
}

TEST_F(CopiedRows, KeepTheirKeysAndNoKeyIsGivenOutAgain) {
  store_.write([](NSManagedObjectContext& context) {
    for (int i = 0; i < 5; ++i) made(context, "Plant", {});
    context.save();
    const Objects plants = all(context, "Plant");
    context.delete_(plants.at(1));
    context.delete_(plants.at(4));
  });

  store_.migrateInferred();

  store_.read([](NSManagedObjectContext& context) {
    std::vector<coredata::ObjectKey> keys;
    for (const auto& plant : all(context, "Plant")) keys.push_back(keyOf(*plant));
    EXPECT_EQ(keys, (std::vector<coredata::ObjectKey>{1, 3, 4}));
    const auto next = made(context, "Plant", {});
    context.save();
    EXPECT_EQ(keyOf(*next), 6);
  });
}

TEST_F(CopiedRows, TakeTheStoresIdentityAlong) {
  store_.write([](NSManagedObjectContext& context) { made(context, "Bed", {}); });
  std::string identifier;
  coredata::HistoryPosition position;
  {
    const auto context = opened(store_.oldURL(), store_.sourceModel());
    const auto store = context->persistentStoreCoordinator()->persistentStores().at(0);
    identifier = store->identifier();
    position = store->engine()->newestTransaction();
    store->engine()->setMetadata({{"gardener", "Ada"}});
  }

  store_.migrateInferred();

  const auto context = opened(store_.newURL(), store_.destinationModel());
  const auto store = context->persistentStoreCoordinator()->persistentStores().at(0);
  EXPECT_EQ(store->identifier(), identifier);
  EXPECT_EQ(store->metadata().find("gardener")->second, Value("Ada"));
  EXPECT_EQ(position.number, 1);
  EXPECT_EQ(store->engine()->newestTransaction(), position);
}

TEST_F(CopiedRows, LeaveTheSourceAsItWasWithWhatItsLogHolds) {
  store_.write([](NSManagedObjectContext& context) { made(context, "Bed", {}); });
  // Open elsewhere, so that the second bed is in the log alone.
  const auto other = opened(store_.oldURL(), store_.sourceModel());
  other->performBlockAndWait([&] {
    made(*other, "Bed", {});
    other->save();
  });
  const auto bytes = [&](const char* suffix) {
    std::ifstream file(*store_.oldURL().filePath() + suffix, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const std::string main = bytes("");
  const std::string log = bytes("-wal");

  store_.migrateInferred();

  EXPECT_EQ(bytes(""), main);
  EXPECT_EQ(bytes("-wal"), log);
  store_.read([](NSManagedObjectContext& context) { EXPECT_EQ(all(context, "Bed").size(), 2U); });
}

TEST_F(CopiedRows, AreCountedByTheProgress) {
  store_.write([](NSManagedObjectContext& context) {
    for (int i = 0; i < 3; ++i) made(context, "Bed", {});
    made(context, "Weed", {});
  });
  const auto progress = foundation::make<foundation::Progress>(1);
  std::vector<double> fractions;
  const auto token = progress->observe([&](const foundation::Progress& observed) {
    fractions.push_back(observed.fractionCompleted());
  });

  progress->performAsCurrent(1, [&] { store_.migrateInferred(); });

  EXPECT_TRUE(std::ranges::is_sorted(fractions));
  EXPECT_EQ(progress->completedUnitCount(), 1);
}

TEST_F(CopiedRows, StopWhenSomebodyWantsThemTo) {
  store_.write([](NSManagedObjectContext& context) { made(context, "Bed", {}); });
  const auto progress = foundation::make<foundation::Progress>(1);
  progress->cancel();

  const auto code =
      support::errorCode([&] { progress->performAsCurrent(1, [&] { store_.migrateInferred(); }); });

  EXPECT_EQ(code, support::number(coredata::MigrationErrorCode::cancelled));
}

TEST_F(CopiedRows, AreRefusedFromAStoreOfAnotherModel) {
  store_.write([](NSManagedObjectContext& context) { made(context, "Bed", {}); });
  const auto manager = foundation::make<coredata::NSMigrationManager>(store_.destinationModel(),
                                                                      store_.destinationModel());
  const auto mapping =
      NSMappingModel::inferredMappingModel(*store_.destinationModel(), *store_.destinationModel());

  const auto code = support::errorCode([&] {
    manager->migrateStore(store_.oldURL(), coredata::NSSQLiteStoreType, {}, mapping,
                          store_.newURL(), coredata::NSSQLiteStoreType, {});
  });

  EXPECT_EQ(code, support::number(coredata::StoreErrorCode::incompatibleModel));
}

}  // namespace
