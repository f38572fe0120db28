#include "CoreData/Model/VersionHashes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {
namespace {

using Change = std::function<void(EntitySource& book)>;

EntitySource& bookOf(ModelSource& model) { return model.entities.at(2); }

AttributeSource& attribute(EntitySource& entity, std::string_view name) {
  return *std::ranges::find(entity.attributes, name, &AttributeSource::name);
}

RelationshipSource& relationship(EntitySource& entity, std::string_view name) {
  return *std::ranges::find(entity.relationships, name, &RelationshipSource::name);
}

/// Whether the change gives the entity another hash.
bool matters(const Change& change) {
  auto source = librarySource();
  const auto before = versionHash(bookOf(source));
  change(bookOf(source));
  source.normalize();
  return versionHash(bookOf(source)) != before;
}

TEST(VersionHashes, ReactToTheEntitysName) {
  EXPECT_TRUE(matters([](EntitySource& book) { book.name = "Tome"; }));
}

TEST(VersionHashes, ReactToTheAbstractFlag) {
  EXPECT_TRUE(matters([](EntitySource& book) { book.abstract = true; }));
}

TEST(VersionHashes, ReactToAnAttributesName) {
  EXPECT_TRUE(matters([](EntitySource& book) { attribute(book, "pages").name = "leaves"; }));
}

TEST(VersionHashes, ReactToAnAttributesType) {
  EXPECT_TRUE(matters(
      [](EntitySource& book) { attribute(book, "pages").type = NSAttributeType::integer64; }));
}

TEST(VersionHashes, ReactToAnAttributesOptionality) {
  EXPECT_TRUE(matters([](EntitySource& book) { attribute(book, "title").optional = true; }));
}

TEST(VersionHashes, ReactToAnAttributesModifier) {
  EXPECT_TRUE(matters([](EntitySource& book) { attribute(book, "lent").hashModifier = "3"; }));
}

TEST(VersionHashes, ReactToAnAttributeMoreOrLess) {
  EXPECT_TRUE(matters([](EntitySource& book) {
    book.attributes.push_back(attributeSource("weight", NSAttributeType::double_));
  }));
  EXPECT_TRUE(matters([](EntitySource& book) { book.attributes.pop_back(); }));
}

TEST(VersionHashes, ReactToARelationshipsName) {
  EXPECT_TRUE(matters([](EntitySource& book) { relationship(book, "shelf").name = "rack"; }));
}

TEST(VersionHashes, ReactToARelationshipsDestination) {
  EXPECT_TRUE(
      matters([](EntitySource& book) { relationship(book, "shelf").destination = "Book"; }));
}

TEST(VersionHashes, ReactToARelationshipsCardinality) {
  EXPECT_TRUE(matters([](EntitySource& book) { relationship(book, "author").toMany = true; }));
}

TEST(VersionHashes, ReactToARelationshipsOptionality) {
  EXPECT_TRUE(matters([](EntitySource& book) { relationship(book, "shelf").optional = true; }));
}

TEST(VersionHashes, ReactToARelationshipsInverse) {
  EXPECT_TRUE(matters([](EntitySource& book) { relationship(book, "author").inverse = "works"; }));
}

TEST(VersionHashes, TellAnAttributeFromARelationshipOfItsName) {
  auto withAttribute = ModelSource::parse(R"({"entities": {"A": {"attributes": {"x": "text"}}}})");
  auto withRelationship =
      ModelSource::parse(R"({"entities": {"A": {"relationships": {"x": {"toOne": "A"}}}}})");

  EXPECT_NE(versionHash(withAttribute.entities[0]), versionHash(withRelationship.entities[0]));
}

TEST(VersionHashes, IgnoreDefaults) {
  EXPECT_FALSE(matters([](EntitySource& book) { attribute(book, "price").defaultValue = 1.0; }));
}

TEST(VersionHashes, IgnoreWhetherAnAttributeIsScalar) {
  EXPECT_FALSE(matters([](EntitySource& book) { attribute(book, "price").scalar = false; }));
}

TEST(VersionHashes, IgnoreTheClassName) {
  EXPECT_FALSE(matters([](EntitySource& book) { book.className = "Other"; }));
}

TEST(VersionHashes, IgnoreDeleteRules) {
  EXPECT_FALSE(matters(
      [](EntitySource& book) { relationship(book, "author").deleteRule = NSDeleteRule::deny; }));
}

TEST(VersionHashes, IgnoreIndexes) {
  EXPECT_FALSE(matters([](EntitySource& book) { book.indexes.clear(); }));
}

TEST(VersionHashes, IgnoreOldNames) {
  EXPECT_FALSE(matters([](EntitySource& book) {
    book.renamedFrom = "Volume";
    attribute(book, "isbn").renamedFrom.clear();
  }));
}

TEST(VersionHashes, IgnoreTransientAttributes) {
  EXPECT_FALSE(matters([](EntitySource& book) {
    std::erase_if(book.attributes, [](const auto& attribute) { return attribute.transient; });
  }));
}

TEST(VersionHashes, AreThoseOfTheModelBuiltFromTheSource) {
  const auto source = librarySource();
  const auto model = ModelBuilder::build(source);

  const auto hashes = versionHashes(source);

  EXPECT_EQ(hashes.fingerprint, model->fingerprint());
  for (std::size_t i = 0; i < hashes.entities.size(); ++i) {
    EXPECT_EQ(hashes.entities[i], model->entities()[i]->versionHash());
  }
}

TEST(VersionHashes, MakeTheFingerprintReactToEveryEntity) {
  const auto before = versionHashes(librarySource()).fingerprint;
  auto changed = librarySource();
  bookOf(changed).attributes.pop_back();
  auto smaller = librarySource();
  smaller.entities.pop_back();

  EXPECT_NE(versionHashes(changed).fingerprint, before);
  EXPECT_NE(versionHashes(smaller).fingerprint, before);
}

TEST(VersionHashes, MakeTheFingerprintIgnoreIdentifiersAndConfigurations) {
  auto source = librarySource();
  const auto before = versionHashes(source).fingerprint;
  source.identifiers.clear();
  source.configurations.clear();

  EXPECT_EQ(versionHashes(source).fingerprint, before);
}

}  // namespace
}  // namespace coredata
