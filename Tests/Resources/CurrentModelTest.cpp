#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <utility>

#include "CoreData/Model/Compiler/ModelCompiler.h"
#include "CoreData/Model/ModelBuilder.h"

// The version that stores are written with. Its hashes stand in every store there is: when a test
// of the hashes fails, it is the change that is wrong, not the test.

namespace coredata {
namespace {

using foundation::Ref;
using foundation::Value;

constexpr std::array<std::pair<std::string_view, std::string_view>, 13> kHashes = {{
    {"Activity", "160c4d9aebd3041f5e378e8ea92c0d5c0982afe89681999a3242577cc2e859d9"},
    {"ActivityWidgetGroup", "6203334f22503878a63ca558da8b07d631e9780b405c23277e37231ff35412bb"},
    {"ActivityWidgetItem", "e62b5e5e1eb415ed315bb7cd7848ceb7c388edd51bd6f677b3bf9cea4a22bd6d"},
    {"Checkin", "d339caa7f2f3bdb7e0eec26b18a0a1209795ad86cefd36692b07c54f37f16c71"},
    {"DisplayOn", "065746b9f7c074f3d1c8aa79f286f01a53ef6b4c8c717c8989a36b3954c4eb9f"},
    {"Goal", "77bc0de5ad5a30d0750343bed23d0e19be882156c4d17fd97864a020a5f8311d"},
    {"Group", "fbdb2900e239083fb857f002268ac5b7ecde9a264fd126aa118923db2fd60d8f"},
    {"MonthlyReview", "3f070f6cf1cde69bf4f04663469bc5bf18ede432760a121c1f92d396eee8d310"},
    {"Order", "eec87128adc67aa9cd65548f4a42262add2441686784f33077f2d50dbf1548ab"},
    {"Photo", "2b3a6fc732786ee9ddf669ad4a3bb79e89232d2dbc6794b32cdcce95256b92d9"},
    {"PhotoInfo", "71a50d48389feaf44341fedf199c4e22105a8fd83129fbb3dec214794def772a"},
    {"Reminder", "df7ce8b3e21b57a411a5dbef28ffa2dc2dc563bc607713693cb5713062aa510a"},
    {"Widget", "c8cb7598516e6a5c5d068e1b6ec634da57fd90bbf199654425bc69bee1810c77"},
}};

class CurrentModelTest : public testing::Test {
 protected:
  CompiledModel compiled_ = compileModelSource(MODEL_SOURCE_DIR "/Tessaline 7.json");
  Ref<NSManagedObjectModel> model_ = ModelBuilder::build(compiled_.source);

  [[nodiscard]] const NSAttributeDescription& attribute(std::string_view entity,
                                                        std::string_view name) const {
    return *model_->entity(entity)->attribute(name);
  }
};

TEST_F(CurrentModelTest, HasTheHashesThatStoresRemember) {
  ASSERT_EQ(model_->entities().size(), kHashes.size());
  for (const auto& [entity, hash] : kHashes) {
    EXPECT_EQ(hexadecimal(model_->entity(entity)->versionHash()), hash) << entity;
  }
}

TEST_F(CurrentModelTest, HasTheFingerprintThatStoresRemember) {
  EXPECT_EQ(hexadecimal(model_->fingerprint()),
            "ad42a0b854b811ddde772e37c1e5afc1eb29f9cb826d10e189662bdcefeaa572");
}

TEST_F(CurrentModelTest, BearsTheNameOfItsVersion) {
  EXPECT_THAT(model_->versionIdentifiers(), testing::ElementsAre("Tessaline 7"));
}

TEST_F(CurrentModelTest, PutsEveryEntityIntoTheLocalConfiguration) {
  EXPECT_EQ(model_->entities("Local")->size(), model_->entities().size());
}

TEST_F(CurrentModelTest, NamesEachClassAfterItsEntity) {
  for (const auto* entity : model_->entities()) {
    EXPECT_EQ(entity->managedObjectClassName(), "CD" + entity->name());
  }
}

TEST_F(CurrentModelTest, MakesEveryPropertyOptional) {
  for (const auto* entity : model_->entities()) {
    for (const auto& [name, property] : entity->propertiesByName()) {
      EXPECT_TRUE(property->isOptional()) << entity->name() << "." << name;
    }
  }
}

TEST_F(CurrentModelTest, GivesEveryRelationshipAnInverse) {
  for (const auto* entity : model_->entities()) {
    for (const auto& [name, property] : entity->propertiesByName()) {
      const auto* relationship = entity->relationship(name);
      if (relationship == nullptr) continue;
      EXPECT_NE(relationship->inverseRelationship(), nullptr) << entity->name() << "." << name;
    }
  }
}

TEST_F(CurrentModelTest, StartsActivitiesWithOneCheckinADayAndAStatusOfZero) {
  EXPECT_EQ(attribute("Activity", "checkinMaxCount").defaultValue(), Value(1.0));
  EXPECT_EQ(attribute("Activity", "status").defaultValue(), Value(0));
}

TEST_F(CurrentModelTest, StartsEveryOtherNumberAtZeroUnlessItMayBeAbsent) {
  for (const auto* entity : model_->entities()) {
    for (const auto& slot : entity->slots()) {
      if (slot.attribute == nullptr || !isNumeric(slot.attribute->attributeType())) continue;
      if (slot.attribute->name() == "checkinMaxCount") continue;
      const bool mayBeAbsent = slot.attribute->name().ends_with("tude");
      EXPECT_EQ(slot.attribute->usesScalarValueType(), !mayBeAbsent) << slot.attribute->name();
      EXPECT_EQ(slot.attribute->defaultValue(), mayBeAbsent ? Value() : Value(0));
    }
  }
}

TEST_F(CurrentModelTest, DeletesPartsWithTheirOwnersAndNothingElse) {
  std::vector<std::string> cascades;
  for (const auto* entity : model_->entities()) {
    for (const auto& [name, property] : entity->propertiesByName()) {
      const auto* relationship = entity->relationship(name);
      if (relationship == nullptr) continue;
      if (relationship->deleteRule() == NSDeleteRule::cascade) {
        cascades.push_back(entity->name() + "." + name);
      } else {
        EXPECT_EQ(relationship->deleteRule(), NSDeleteRule::nullify);
      }
    }
  }
  EXPECT_THAT(cascades,
              testing::ElementsAre("Activity.checkins", "Activity.displayOn", "Activity.goal",
                                   "Activity.order", "Activity.reminder", "Activity.widget",
                                   "Activity.widgets", "ActivityWidgetGroup.items",
                                   "Checkin.photos", "Photo.info"));
}

TEST_F(CurrentModelTest, DoesNotStoreTheSectionOfACheckin) {
  EXPECT_EQ(model_->entity("Checkin")->property("section"), nullptr);
}

TEST_F(CurrentModelTest, HasAnIndexThatGivesWholeCheckinsByActivityAndDate) {
  const auto& checkin = *model_->entity("Checkin");

  ASSERT_EQ(checkin.indexes().size(), 1);
  EXPECT_THAT(checkin.indexes()[0]->slots(),
              testing::ElementsAre(
                  checkin.relationship("activity")->slot(), checkin.attribute("date")->slot(),
                  checkin.attribute("type")->slot(), checkin.attribute("count")->slot(),
                  checkin.attribute("createdDate")->slot(), checkin.attribute("memo")->slot(),
                  checkin.attribute("modifiedDate")->slot()));
  EXPECT_EQ(checkin.indexes()[0]->slots().size(), checkin.slots().size());
}

TEST_F(CurrentModelTest, IndexesTheColumnBehindEveryToMany) {
  for (const auto* entity : model_->entities()) {
    for (const auto* toMany : entity->toManyRelationships()) {
      const auto column = toMany->inverseRelationship()->slot();
      const auto& indexes = toMany->destinationEntity().indexes();
      EXPECT_TRUE(std::ranges::any_of(
          indexes, [&](const auto* index) { return index->slots().front() == column; }))
          << entity->name() << "." << toMany->name();
    }
  }
}

}  // namespace
}  // namespace coredata
