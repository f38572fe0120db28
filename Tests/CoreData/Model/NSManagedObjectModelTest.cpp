#include "CoreData/Model/NSManagedObjectModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {
namespace {

using foundation::Data;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;
using testing::ElementsAre;

std::vector<std::string> names(std::span<const NSEntityDescription* const> entities) {
  std::vector<std::string> names;
  for (const auto* entity : entities) names.push_back(entity->name());
  return names;
}

ValueDictionary metadataOf(const NSManagedObjectModel& model) {
  return {{std::string(NSStoreModelVersionHashesKey), model.entityVersionHashesByName()},
          {std::string(NSStoreTypeKey), "SQLite"}};
}

ValueDictionary metadataWith(Value hashes) {
  return {{std::string(NSStoreModelVersionHashesKey), std::move(hashes)}};
}

TEST(NSManagedObjectModel, KeepsItsEntitiesInTheOrderOfTheirNames) {
  const auto model = modelFromSource(kLibrary);

  EXPECT_THAT(names(model->entities()), ElementsAre("Article", "Author", "Book", "Shelf"));
}

TEST(NSManagedObjectModel, FindsAnEntityByItsNameAndByItsIndex) {
  const auto model = modelFromSource(kLibrary);

  const auto* book = model->entity("Book");

  ASSERT_NE(book, nullptr);
  EXPECT_EQ(book->index(), 2);
  EXPECT_EQ(&model->entity(EntityIndex{2}), book);
  EXPECT_EQ(&book->managedObjectModel(), model.get());
}

TEST(NSManagedObjectModel, HasNoEntityOfAnotherName) {
  const auto model = modelFromSource(kLibrary);

  EXPECT_EQ(model->entity("book"), nullptr);
  EXPECT_EQ(model->entity(""), nullptr);
  EXPECT_EQ(model->entity("Zebra"), nullptr);
}

TEST(NSManagedObjectModel, NamesItsConfigurationsAndTheirEntities) {
  const auto model = modelFromSource(kLibrary);

  EXPECT_THAT(model->configurations(), ElementsAre("All", "Printed"));
  EXPECT_EQ(model->entities("All")->size(), 4);
  EXPECT_THAT(names(*model->entities("Printed")), ElementsAre("Book", "Shelf"));
  EXPECT_FALSE(model->entities("Local").has_value());
}

TEST(NSManagedObjectModel, KeepsTheIdentifiersOfItsVersion) {
  EXPECT_THAT(modelFromSource(kLibrary)->versionIdentifiers(), ElementsAre("Library 2", "Reading"));
}

TEST(NSManagedObjectModel, GivesTheHashOfEachEntityAs32Bytes) {
  const auto model = modelFromSource(kLibrary);

  const auto hashes = model->entityVersionHashesByName();

  ASSERT_EQ(hashes.size(), 4);
  for (const auto* entity : model->entities()) {
    EXPECT_THAT(hashes.at(entity->name()).data()->bytes(),
                testing::ElementsAreArray(entity->versionHash()));
  }
}

TEST(NSManagedObjectModel, IsCompatibleWithAStoreThatItWrote) {
  const auto model = modelFromSource(kLibrary);
  const auto another = modelFromSource(kLibrary);

  EXPECT_TRUE(model->isConfiguration(std::nullopt, metadataOf(*another)));
  EXPECT_TRUE(model->isConfiguration("All", metadataOf(*another)));
}

TEST(NSManagedObjectModel, RefusesAStoreWithAnEntityTooFew) {
  const auto model = modelFromSource(kLibrary);
  auto hashes = model->entityVersionHashesByName();
  hashes.erase("Shelf");

  EXPECT_FALSE(model->isConfiguration(std::nullopt, metadataWith(hashes)));
}

TEST(NSManagedObjectModel, RefusesAStoreWithAnEntityTooMany) {
  const auto model = modelFromSource(kLibrary);
  auto hashes = model->entityVersionHashesByName();
  hashes.emplace("Pamphlet", hashes.at("Shelf"));

  EXPECT_FALSE(model->isConfiguration(std::nullopt, metadataWith(hashes)));
}

TEST(NSManagedObjectModel, RefusesAStoreWithAnEntityUnderAnotherName) {
  const auto model = modelFromSource(kLibrary);
  auto hashes = model->entityVersionHashesByName();
  hashes.emplace("Rack", hashes.at("Shelf"));
  hashes.erase("Shelf");

  EXPECT_FALSE(model->isConfiguration(std::nullopt, metadataWith(hashes)));
}

TEST(NSManagedObjectModel, RefusesAStoreWithAnotherHash) {
  const auto model = modelFromSource(kLibrary);
  auto hashes = model->entityVersionHashesByName();
  hashes["Shelf"] = hashes.at("Book");

  EXPECT_FALSE(model->isConfiguration(std::nullopt, metadataWith(hashes)));
}

TEST(NSManagedObjectModel, ComparesAConfigurationWithItsOwnEntitiesAlone) {
  const auto model = modelFromSource(kLibrary);
  auto hashes = model->entityVersionHashesByName();

  EXPECT_FALSE(model->isConfiguration("Printed", metadataWith(hashes)));

  hashes.erase("Author");
  hashes.erase("Article");
  EXPECT_TRUE(model->isConfiguration("Printed", metadataWith(hashes)));
  EXPECT_FALSE(model->isConfiguration(std::nullopt, metadataWith(hashes)));
}

TEST(NSManagedObjectModel, KnowsNoStoreOfAConfigurationThatItDoesNotDefine) {
  const auto model = modelFromSource(kLibrary);

  EXPECT_FALSE(model->isConfiguration("Local", metadataOf(*model)));
}

TEST(NSManagedObjectModel, RefusesMetadataWithoutHashes) {
  const auto model = modelFromSource(kLibrary);

  EXPECT_FALSE(model->isConfiguration(std::nullopt, {}));
  EXPECT_FALSE(modelFromSource("{}")->isConfiguration(std::nullopt, {}));
}

TEST(NSManagedObjectModel, RefusesMetadataWhoseHashesAreNoDictionary) {
  const auto model = modelFromSource(kLibrary);

  for (const Value& malformed :
       {Value(), Value("hashes"), Value(7), Value(ValueList{"Book"}), Value(Data::fromText("x"))}) {
    EXPECT_FALSE(model->isConfiguration(std::nullopt, metadataWith(malformed)));
  }
}

TEST(NSManagedObjectModel, RefusesMetadataWithAHashThatIsNone) {
  const auto model = modelFromSource(kLibrary);

  for (const Value& malformed : {Value(), Value("abc"), Value(7), Value(Data::fromText("short")),
                                 Value(ValueDictionary{}), Value(Data())}) {
    auto hashes = model->entityVersionHashesByName();
    hashes["Shelf"] = malformed;
    EXPECT_FALSE(model->isConfiguration(std::nullopt, metadataWith(hashes)));
  }
}

TEST(NSManagedObjectModel, IsCompatibleWithAnEmptyStoreWhenItIsEmpty) {
  const auto model = modelFromSource("{}");

  EXPECT_TRUE(model->entities().empty());
  EXPECT_TRUE(model->isConfiguration(std::nullopt, metadataWith(ValueDictionary{})));
}

}  // namespace
}  // namespace coredata
