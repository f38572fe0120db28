#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDMonthlyReview.h"
#include "CoreDataStack/Model/CDPhoto.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using coredata::AccessorKind;
using coredata::EntityClass;
using coredata::NSEntityDescription;
using coredata::NSRelationshipDescription;
using foundation::make;
using support::TemporaryStore;

/// What an accessor of each kind reads and writes.
const std::map<AccessorKind, std::string>& kindNames() {
  static const std::map<AccessorKind, std::string> names{
      {AccessorKind::integer16, "scalar integer16"},
      {AccessorKind::integer32, "scalar integer32"},
      {AccessorKind::integer64, "scalar integer64"},
      {AccessorKind::real, "scalar double"},
      {AccessorKind::boolean, "scalar boolean"},
      {AccessorKind::text, "text"},
      {AccessorKind::date, "date"},
      {AccessorKind::data, "binary"},
      {AccessorKind::identifier, "uuid"},
      {AccessorKind::number, "double"},
      {AccessorKind::toOne, "to-one "},
      {AccessorKind::toMany, "to-many "},
  };
  return names;
}

std::map<std::string, std::string> propertiesOf(const EntityClass& entityClass) {
  std::map<std::string, std::string> result;
  for (const auto* accessor : entityClass.accessors()) {
    result[std::string(accessor->name)] =
        kindNames().at(accessor->kind) + std::string(accessor->destination);
  }
  return result;
}

std::map<std::string, std::string> propertiesOf(const NSEntityDescription& entity) {
  std::map<std::string, std::string> result;
  for (const auto& [name, property] : entity.propertiesByName()) {
    if (const auto* attribute = entity.attribute(name)) {
      result[name] = (attribute->usesScalarValueType() ? "scalar " : "") +
                     std::string(coredata::name(attribute->attributeType()));
    } else {
      const NSRelationshipDescription& relationship = *entity.relationship(name);
      result[name] = (relationship.isToMany() ? "to-many " : "to-one ") +
                     relationship.destinationEntity().managedObjectClassName();
    }
  }
  return result;
}

struct EntityCase {
  const EntityClass* entityClass;
  std::string requested;
};

template <typename... Classes>
std::vector<EntityCase> casesOf() {
  return {EntityCase{&Classes::entityClass(), Classes::fetchRequest().entityName()}...};
}

std::vector<EntityCase> allCases() {
  return casesOf<CDActivity, CDActivityWidgetGroup, CDActivityWidgetItem, CDCheckin, CDDisplayOn,
                 CDGoal, CDGroup, CDMonthlyReview, CDOrder, CDPhoto, CDPhotoInfo, CDReminder,
                 CDWidget>();
}

TEST(EntityClasses, AreThoseOfTheModel) {
  std::vector<std::string> classes;
  for (const EntityCase& each : allCases()) classes.emplace_back(each.entityClass->className());
  std::vector<std::string> modelled;
  for (const auto* entity : support::currentModel()->entities()) {
    modelled.push_back(entity->managedObjectClassName());
  }

  EXPECT_EQ(classes, modelled);
}

TEST(EntityClasses, HaveAnAccessorOfTheRightKindForEveryPropertyAndNoOther) {
  for (const EntityCase& each : allCases()) {
    const auto* entity = support::currentModel()->entity(each.entityClass->entityName());
    ASSERT_NE(entity, nullptr) << each.entityClass->className();
    EXPECT_EQ(propertiesOf(*each.entityClass), propertiesOf(*entity)) << entity->name();
  }
}

TEST(EntityClasses, RequestTheEntityOfTheirOwnName) {
  for (const EntityCase& each : allCases()) {
    EXPECT_EQ("CD" + each.requested, each.entityClass->className());
  }
}

TEST(EntityClasses, RequestNothingButTheEntity) {
  const auto request = CDCheckin::fetchRequest();

  EXPECT_FALSE(request.predicate().has_value());
  EXPECT_TRUE(request.sortDescriptors().empty());
  EXPECT_EQ(request.fetchLimit(), 0U);
  EXPECT_EQ(request.fetchBatchSize(), 0U);
}

TEST(EntityClasses, TellEqualObjectsApartByTheirIds) {
  const TemporaryStore store;
  const auto one = make<CDWidget>(store.context());
  const auto other = make<CDWidget>(store.context());

  EXPECT_NE(one->id(), other->id());
}

TEST(EntityClasses, KeepTheIdOfAnObjectThroughASave) {
  const TemporaryStore store;
  const auto widget = make<CDWidget>(store.context());
  const auto* before = widget->id();

  store.context().save();

  EXPECT_EQ(widget->id(), before);
  EXPECT_EQ(store.context().fetch(CDWidget::fetchRequest()).first()->id(), before);
}

TEST(EntityClasses, AreInsertedByTheDesignatedConstructor) {
  const TemporaryStore store;
  const auto widget =
      make<CDWidget>(store.context().entity(CDWidget::entityClass()), &store.context());

  EXPECT_TRUE(widget->isInserted());
}

TEST(EntityClasses, TellAbsentValuesFromEmptyOnes) {
  TemporaryStore store;
  const auto one = make<CDPhoto>(store.context());
  one->setData(foundation::Data());
  make<CDPhoto>(store.context())->setCreatedDate(foundation::Date());
  store.context().save();

  store.reopen();

  const auto photos = store.context().fetch(CDPhoto::fetchRequest());
  EXPECT_TRUE(photos[0]->data().has_value());
  EXPECT_FALSE(photos[0]->createdDate().has_value());
  EXPECT_FALSE(photos[1]->data().has_value());
  EXPECT_TRUE(photos[1]->createdDate().has_value());
}

TEST(EntityClasses, KeepEveryKindOfValue) {
  TemporaryStore store;
  const foundation::UUID uuid;
  const auto group = make<CDActivityWidgetGroup>(store.context());
  group->setName("여섯 \"pairs\"\n");
  group->setOrder(-32768);
  group->setUuid(uuid);
  group->setCreatedDate(foundation::Date::fromReference(700000000.123456789));
  const auto info = make<CDPhotoInfo>(store.context());
  info->setPixelWidth(9223372036854775807);
  info->setLatitude(foundation::NSNumber(0.0));
  store.context().save();

  store.reopen();

  const auto readGroup = store.context().fetch(CDActivityWidgetGroup::fetchRequest()).first();
  EXPECT_EQ(readGroup->name(), "여섯 \"pairs\"\n");
  EXPECT_EQ(readGroup->order(), -32768);
  EXPECT_EQ(readGroup->uuid(), uuid);
  EXPECT_EQ(readGroup->createdDate(), foundation::Date::fromReference(700000000.123456789));
  const auto readInfo = store.context().fetch(CDPhotoInfo::fetchRequest()).first();
  EXPECT_EQ(readInfo->pixelWidth(), 9223372036854775807);
  EXPECT_EQ(readInfo->latitude(), foundation::NSNumber(0.0));
  EXPECT_FALSE(readInfo->longitude().has_value());
}

TEST(EntityClasses, UpdateTheInverseOfARelationshipAtOnce) {
  const TemporaryStore store;
  const auto activity = make<CDActivity>(store.context());
  const auto item = make<CDActivityWidgetItem>(store.context());
  const auto reminder = make<CDReminder>(store.context());

  item->setActivity(activity);
  activity->setReminder(reminder);

  EXPECT_TRUE(activity->widgets().contains(item));
  EXPECT_EQ(reminder->activity(), activity);
}

TEST(EntityClasses, TakeTheirPartsAlongWhenDeleted) {
  const TemporaryStore store;
  const auto activity = CDActivity::create(store.context(), "red");
  const auto checkin = make<CDCheckin>(store.context());
  activity->addCheckinsObject(checkin);
  checkin->addPhotosObject(make<CDPhoto>(store.context()));
  activity->setGroup(make<CDGroup>(store.context()));
  store.context().save();

  store.context().delete_(activity);
  store.context().save();

  EXPECT_EQ(store.context().count(CDCheckin::fetchRequest()), 0);
  EXPECT_EQ(store.context().count(CDPhoto::fetchRequest()), 0);
  EXPECT_EQ(store.context().count(CDOrder::fetchRequest()), 0);
  EXPECT_EQ(store.context().count(CDGroup::fetchRequest()), 1);
}

}  // namespace
}  // namespace coredatastack
