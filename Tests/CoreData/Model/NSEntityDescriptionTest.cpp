#include "CoreData/Model/NSEntityDescription.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {
namespace {

using testing::ElementsAre;

class NSEntityDescriptionTest : public testing::Test {
 protected:
  foundation::Ref<NSManagedObjectModel> model_ = modelFromSource(kLibrary);
  const NSEntityDescription& book_ = *model_->entity("Book");
  const NSEntityDescription& author_ = *model_->entity("Author");
};

TEST_F(NSEntityDescriptionTest, NumbersStoredPropertiesInTheOrderOfTheirNames) {
  std::vector<std::string> columns;
  for (const auto& slot : book_.slots()) columns.push_back(slot.property->name());

  EXPECT_THAT(columns, ElementsAre("author", "bought", "code", "cover", "isbn", "language", "lent",
                                   "pages", "price", "shelf", "title"));
}

TEST_F(NSEntityDescriptionTest, TellsEachPropertyItsSlot) {
  for (std::size_t i = 0; i < book_.slots().size(); ++i) {
    const auto& slot = book_.slots()[i];
    EXPECT_EQ(slot.property->slot(), i);
    EXPECT_NE(slot.attribute == nullptr, slot.relationship == nullptr);
    EXPECT_EQ(slot.property->entity(), &book_);
  }
}

TEST_F(NSEntityDescriptionTest, ListsTheSlotsOfItsToOnes) {
  EXPECT_THAT(book_.toOneSlots(), ElementsAre(0, 9));
  EXPECT_TRUE(author_.toOneSlots().empty());
}

TEST_F(NSEntityDescriptionTest, GivesNoSlotToTransientAttributesAndToManys) {
  EXPECT_EQ(book_.attribute("label")->slot(), kNoSlot);
  EXPECT_TRUE(book_.attribute("label")->isTransient());
  EXPECT_EQ(author_.relationship("books")->slot(), kNoSlot);
}

TEST_F(NSEntityDescriptionTest, NumbersToManysInTheOrderOfTheirNames) {
  ASSERT_EQ(author_.toManyRelationships().size(), 2);
  EXPECT_EQ(author_.toManyRelationships()[0], author_.relationship("articles"));
  EXPECT_EQ(author_.toManyRelationships()[1], author_.relationship("books"));
  EXPECT_EQ(author_.relationship("articles")->toManyIndex(), 0);
  EXPECT_EQ(author_.relationship("books")->toManyIndex(), 1);
}

TEST_F(NSEntityDescriptionTest, FindsPropertiesByNameAndKind) {
  EXPECT_EQ(book_.propertiesByName().size(), 12);
  EXPECT_NE(book_.attribute("title"), nullptr);
  EXPECT_EQ(book_.relationship("title"), nullptr);
  EXPECT_EQ(book_.attribute("author"), nullptr);
  EXPECT_EQ(book_.property("author"), book_.relationship("author"));
  EXPECT_EQ(book_.property("Title"), nullptr);
}

TEST_F(NSEntityDescriptionTest, KeepsWhatTheSourceSaysOfTheEntity) {
  EXPECT_EQ(book_.managedObjectClassName(), "LIBook");
  EXPECT_EQ(author_.managedObjectClassName(), "NSManagedObject");
  EXPECT_EQ(author_.renamingIdentifier(), "Writer");
  EXPECT_TRUE(model_->entity("Article")->isAbstract());
  EXPECT_FALSE(book_.isAbstract());
}

TEST_F(NSEntityDescriptionTest, KeepsWhatTheSourceSaysOfAttributes) {
  EXPECT_FALSE(book_.attribute("title")->isOptional());
  EXPECT_TRUE(book_.attribute("language")->isOptional());
  EXPECT_TRUE(book_.attribute("price")->usesScalarValueType());
  EXPECT_FALSE(book_.attribute("isbn")->usesScalarValueType());
  EXPECT_EQ(book_.attribute("isbn")->renamingIdentifier(), "number");
  EXPECT_EQ(book_.attribute("lent")->versionHashModifier(), "2");
  EXPECT_EQ(book_.attribute("cover")->attributeType(), NSAttributeType::binaryData);
  EXPECT_EQ(book_.attribute("bought")->attributeType(), NSAttributeType::date);
  EXPECT_EQ(book_.attribute("code")->attributeType(), NSAttributeType::uuid);
}

TEST_F(NSEntityDescriptionTest, StartsAttributesAtTheirDefaults) {
  EXPECT_EQ(book_.attribute("price")->defaultValue(), foundation::Value(9.5));
  EXPECT_EQ(book_.attribute("language")->defaultValue(), foundation::Value("en"));
  EXPECT_EQ(book_.attribute("lent")->defaultValue(), foundation::Value(true));
  EXPECT_TRUE(book_.attribute("isbn")->defaultValue().isNone());
}

TEST_F(NSEntityDescriptionTest, StartsScalarsWithoutADefaultAtZero) {
  EXPECT_EQ(book_.attribute("pages")->defaultValue(), foundation::Value(0));
}

TEST_F(NSEntityDescriptionTest, TiesRelationshipsToTheirInverses) {
  const auto* books = author_.relationship("books");
  const auto* author = book_.relationship("author");

  EXPECT_TRUE(books->isToMany());
  EXPECT_FALSE(author->isToMany());
  EXPECT_EQ(books->inverseRelationship(), author);
  EXPECT_EQ(author->inverseRelationship(), books);
  EXPECT_EQ(&books->destinationEntity(), &book_);
  EXPECT_EQ(&author->destinationEntity(), &author_);
}

TEST_F(NSEntityDescriptionTest, LetsAToOneLeadOneWay) {
  const auto* shelf = book_.relationship("shelf");

  EXPECT_EQ(shelf->inverseRelationship(), nullptr);
  EXPECT_EQ(&shelf->destinationEntity(), model_->entity("Shelf"));
  EXPECT_FALSE(shelf->isOptional());
}

TEST_F(NSEntityDescriptionTest, KeepsDeleteRules) {
  EXPECT_EQ(author_.relationship("books")->deleteRule(), NSDeleteRule::cascade);
  EXPECT_EQ(author_.relationship("articles")->deleteRule(), NSDeleteRule::deny);
  EXPECT_EQ(book_.relationship("author")->deleteRule(), NSDeleteRule::nullify);
  EXPECT_EQ(model_->entity("Article")->relationship("author")->deleteRule(),
            NSDeleteRule::noAction);
}

TEST_F(NSEntityDescriptionTest, KeepsIndexesWithTheirColumnsInOrder) {
  ASSERT_EQ(book_.indexes().size(), 2);
  EXPECT_EQ(book_.indexes()[0]->name(), "byAuthorAndTitle");
  EXPECT_THAT(book_.indexes()[0]->slots(),
              ElementsAre(book_.relationship("author")->slot(), book_.attribute("title")->slot()));
  EXPECT_EQ(book_.indexes()[1]->name(), "byCode");
}

TEST(NSEntityDescriptionSlots, HoldExactlyAsManyPropertiesAsASetOfSlots) {
  std::string attributes;
  for (std::size_t i = 0; i < kMaxSlots; ++i) {
    attributes += (i == 0 ? "\"a" : ", \"a") + std::to_string(i) + "\": \"text\"";
  }

  const auto model =
      modelFromSource("{\"entities\": {\"Wide\": {\"attributes\": {" + attributes + "}}}}");

  EXPECT_EQ(model->entity("Wide")->slots().size(), kMaxSlots);
}

}  // namespace
}  // namespace coredata
