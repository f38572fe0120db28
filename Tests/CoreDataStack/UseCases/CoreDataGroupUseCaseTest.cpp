#include "CoreDataStack/UseCases/CoreDataGroupUseCase.h"

#include <gmock/gmock.h>

#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"
#include "Tests/Support/RecordingLogger.h"

namespace coredatastack {
namespace {

using foundation::Date;
using foundation::make;
using foundation::Ref;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class CoreDataGroupUseCaseTest : public UseCaseTest {
 protected:
  Ref<CDGroup> addGroup(const char* title, std::int16_t priority, double created) const {
    auto group = CDGroup::create(context());
    group->setTitle(title);
    group->setPriority(priority);
    group->setCreatedDate(Date::fromReference(created));
    return group;
  }
  [[nodiscard]] std::vector<std::string> listedTitles() {
    std::vector<std::string> titles;
    for (const Ref<CDGroup> group : groups_.list()) titles.push_back(group->title().value_or("?"));
    return titles;
  }

  Ref<support::RecordingLogger> logger_ = make<support::RecordingLogger>();
  CoreDataGroupUseCase groups_{contextHandle(), logger_};
};

TEST_F(CoreDataGroupUseCaseTest, ListsGroupsByPriorityAndTheNewestFirstAmongEquals) {
  addGroup("last", 2, 30);
  addGroup("old", 1, 10);
  addGroup("new", 1, 20);
  context().save();

  EXPECT_THAT(listedTitles(), ElementsAre("new", "old", "last"));
  EXPECT_EQ(groups_.numberOfGroups(), 3);
}

TEST_F(CoreDataGroupUseCaseTest, ListsGroupsThatAreNotSavedYet) {
  addGroup("saved", 2, 10);
  context().save();
  addGroup("pending", 1, 10);

  EXPECT_THAT(listedTitles(), ElementsAre("pending", "saved"));
  EXPECT_EQ(groups_.numberOfGroups(), 2);
}

TEST_F(CoreDataGroupUseCaseTest, ListsNothingOfAnEmptyStore) {
  EXPECT_THAT(listedTitles(), IsEmpty());
  EXPECT_EQ(groups_.numberOfGroups(), 0);
  EXPECT_THAT(logger_->descriptions(), IsEmpty());
}

TEST_F(CoreDataGroupUseCaseTest, SavesNothingWhenAGroupIsAddedOrChanged) {
  const auto group = addGroup("Health", 1, 10);

  groups_.add(group);
  groups_.update(group);

  EXPECT_TRUE(group->isInserted());
  EXPECT_EQ(stored<CDGroup>(), 0);
}

TEST_F(CoreDataGroupUseCaseTest, LeavesARemovedGroupInTheStore) {
  const auto group = addGroup("Health", 1, 10);
  context().save();

  groups_.remove(group);

  EXPECT_FALSE(group->isDeleted());
  EXPECT_FALSE(context().hasChanges());
  context().save();
  EXPECT_EQ(stored<CDGroup>(), 1);
}

TEST_F(CoreDataGroupUseCaseTest, PrintsAndLogsAListThatCannotBeRead) {
  addGroup("Health", 1, 10);
  context().save();
  breakDisk();

  testing::internal::CaptureStdout();
  EXPECT_TRUE(groups_.list().empty());

  const std::string printed = testing::internal::GetCapturedStdout();
  ASSERT_THAT(logger_->descriptions(), ElementsAre(StartsWith("Error Domain=NSSQLiteErrorDomain")));
  EXPECT_EQ(printed, logger_->descriptions().front() + "\n");
}

TEST_F(CoreDataGroupUseCaseTest, LogsANumberThatCannotBeReadAndPrintsNothing) {
  addGroup("Health", 1, 10);
  context().save();
  breakDisk();

  testing::internal::CaptureStdout();
  EXPECT_EQ(groups_.numberOfGroups(), 0);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(logger_->descriptions(), ElementsAre(StartsWith("Error Domain=NSSQLiteErrorDomain")));
}

TEST_F(CoreDataGroupUseCaseTest, ThrowsNothingWhenItIsToldOfGroupsAndTheStoreFails) {
  const auto group = addGroup("Health", 1, 10);
  breakDisk();

  EXPECT_NO_THROW(groups_.add(group));
  EXPECT_NO_THROW(groups_.update(group));
  EXPECT_NO_THROW(groups_.remove(group));
  EXPECT_THAT(logger_->descriptions(), IsEmpty());
}

}  // namespace
}  // namespace coredatastack
