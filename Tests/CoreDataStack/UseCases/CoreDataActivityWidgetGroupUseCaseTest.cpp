#include "CoreDataStack/UseCases/CoreDataActivityWidgetGroupUseCase.h"

#include <gmock/gmock.h>

#include "CoreDataStack/Model/CDActivityWidgetItem.h"
#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"

namespace coredatastack {
namespace {

using domain::ActivityWidgetSize;
using foundation::make;
using foundation::Ref;
using foundation::UUID;
using testing::ElementsAre;
using testing::IsEmpty;

class CoreDataActivityWidgetGroupUseCaseTest : public UseCaseTest {
 protected:
  Ref<CDActivityWidgetGroup> makeGroup(const char* name, ActivityWidgetSize size,
                                       std::int16_t order) const {
    auto group = make<CDActivityWidgetGroup>(context());
    group->setName(name);
    group->setType(size.value());
    group->setOrder(order);
    group->setUuid(UUID());
    return group;
  }
  [[nodiscard]] std::vector<std::string> namesOf(ActivityWidgetSize size) {
    std::vector<std::string> names;
    for (const Ref<CDActivityWidgetGroup> group : groups_.list(size)) {
      names.push_back(group->name().value_or("?"));
    }
    return names;
  }

  CoreDataActivityWidgetGroupUseCase groups_{contextHandle()};
};

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, ListsTheGroupsOfASizeInTheirOrder) {
  makeGroup("second", ActivityWidgetSize::small, 2);
  makeGroup("first", ActivityWidgetSize::small, 1);
  makeGroup("medium", ActivityWidgetSize::medium, 1);
  makeGroup("large", ActivityWidgetSize::large, 1);
  context().save();

  EXPECT_THAT(namesOf(ActivityWidgetSize::small), ElementsAre("first", "second"));
  EXPECT_THAT(namesOf(ActivityWidgetSize::medium), ElementsAre("medium"));
  EXPECT_THAT(namesOf(ActivityWidgetSize::large), ElementsAre("large"));
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, ListsNoGroupOfANumberThatIsNoSize) {
  makeGroup("odd", ActivityWidgetSize::small, 1)->setType(0);

  EXPECT_THAT(namesOf(ActivityWidgetSize::small), IsEmpty());
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, FindsAGroupByItsIdentity) {
  makeGroup("other", ActivityWidgetSize::small, 1);
  const auto group = makeGroup("wanted", ActivityWidgetSize::small, 2);
  context().save();

  EXPECT_EQ(groups_.find(*group->uuid()), group);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, FindsAGroupThatIsNotSavedYet) {
  const auto group = makeGroup("wanted", ActivityWidgetSize::small, 1);

  EXPECT_EQ(groups_.find(*group->uuid()), group);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, FindsNothingOfAnUnknownIdentity) {
  makeGroup("other", ActivityWidgetSize::small, 1);
  makeGroup("nameless", ActivityWidgetSize::small, 2)->setUuid(std::nullopt);
  context().save();

  EXPECT_EQ(groups_.find(UUID()), nullptr);
  EXPECT_EQ(groups_.find(UUID::empty()), nullptr);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, SavesAGroupThatIsAdded) {
  groups_.add(makeGroup("new", ActivityWidgetSize::small, 1));

  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(stored<CDActivityWidgetGroup>(), 1);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, SavesAGroupThatWasChanged) {
  const auto group = makeGroup("old", ActivityWidgetSize::small, 1);
  groups_.add(group);
  group->setName("new");

  groups_.update(group);

  store_.reopen();
  EXPECT_EQ(context().fetch(CDActivityWidgetGroup::fetchRequest()).first()->name(), "new");
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, SavesWhateverIsPendingAndNotTheGroupAlone) {
  const auto group = makeGroup("old", ActivityWidgetSize::small, 1);
  const auto activity = CDActivity::create(context(), "red");

  groups_.update(nullptr);

  EXPECT_FALSE(group->isInserted());
  EXPECT_FALSE(activity->isInserted());
  EXPECT_EQ(stored<CDActivity>(), 1);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, RemovesAGroupWithTheNextSave) {
  const auto group = makeGroup("old", ActivityWidgetSize::small, 1);
  group->addItemsObject(make<CDActivityWidgetItem>(context()));
  groups_.add(group);

  groups_.remove(group);

  EXPECT_TRUE(group->isDeleted());
  EXPECT_THAT(namesOf(ActivityWidgetSize::small), IsEmpty());
  EXPECT_EQ(stored<CDActivityWidgetGroup>(), 1);
  groups_.add(makeGroup("new", ActivityWidgetSize::small, 1));
  EXPECT_THAT(namesOf(ActivityWidgetSize::small), ElementsAre("new"));
  EXPECT_EQ(stored<CDActivityWidgetGroup>(), 1);
  EXPECT_EQ(stored<CDActivityWidgetItem>(), 0);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, ThrowsTheStoresErrorWhenItCannotRead) {
  breakDisk();

  EXPECT_EQ(errorDomain([&] { static_cast<void>(groups_.list(ActivityWidgetSize::small)); }),
            foundation::kSQLiteErrorDomain);
  EXPECT_EQ(errorDomain([&] { static_cast<void>(groups_.find(UUID())); }),
            foundation::kSQLiteErrorDomain);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, ThrowsTheStoresErrorWhenItCannotSave) {
  const auto group = makeGroup("new", ActivityWidgetSize::small, 1);
  breakWrites();

  EXPECT_EQ(errorDomain([&] { groups_.add(group); }), foundation::kSQLiteErrorDomain);
  EXPECT_EQ(errorDomain([&] { groups_.update(group); }), foundation::kSQLiteErrorDomain);

  EXPECT_TRUE(group->isInserted());
  repairDisk();
  groups_.add(group);
  EXPECT_EQ(stored<CDActivityWidgetGroup>(), 1);
}

TEST_F(CoreDataActivityWidgetGroupUseCaseTest, RemovesAGroupWithoutAskingTheStore) {
  const auto group = makeGroup("old", ActivityWidgetSize::small, 1);
  groups_.add(group);
  breakDisk();

  EXPECT_NO_THROW(groups_.remove(group));

  EXPECT_TRUE(group->isDeleted());
}

}  // namespace
}  // namespace coredatastack
