#include "CoreDataStack/Model/CDGroup.h"

#include <gtest/gtest.h>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using foundation::Date;
using foundation::Ref;

class CDGroupTest : public testing::Test {
 protected:
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  void addGroup(const char* title, std::int16_t priority, double created) const {
    const auto group = CDGroup::create(context());
    group->setTitle(title);
    group->setPriority(priority);
    group->setCreatedDate(Date::fromReference(created));
  }
  [[nodiscard]] std::string listedTitles() const {
    std::string titles;
    for (const Ref<CDGroup> group : context().fetch(CDGroup::listFetchRequest(context()))) {
      titles += group->title().value_or("?");
    }
    return titles;
  }

  support::TemporaryStore store_;
};

TEST_F(CDGroupTest, IsCreatedAtThePresentMomentAndLeftToItsCaller) {
  const foundation::ManualClock clock(700000000);

  const auto group = CDGroup::create(context());

  EXPECT_EQ(group->createdDate(), Date::fromReference(700000000));
  EXPECT_FALSE(group->title().has_value());
  EXPECT_EQ(group->priority(), 0);
  EXPECT_TRUE(group->isInserted());
}

TEST_F(CDGroupTest, IsListedByPriority) {
  addGroup("b", 2, 10);
  addGroup("a", 1, 10);
  context().save();

  EXPECT_EQ(listedTitles(), "ab");
}

TEST_F(CDGroupTest, IsListedNewestFirstAmongEquals) {
  addGroup("old", 1, 10);
  addGroup("new", 1, 20);
  context().save();

  EXPECT_EQ(listedTitles(), "newold");
}

TEST_F(CDGroupTest, IsFoundByTheCheckinsOfAnyOfItsActivities) {
  addGroup("a", 1, 10);
  auto groups = CDGroup::listFetchRequest(context());
  const Ref<CDGroup> group = context().fetchFirst(groups);
  for (const char* memo : {"sought", "another", "more"}) {
    const auto activity = foundation::make<CDActivity>(context());
    activity->setGroup(group);
    const auto checkin = foundation::make<CDCheckin>(context());
    checkin->setMemo(memo);
    checkin->setActivity(activity);
  }
  const auto isFound = [&](const char* memo) {
    groups.setPredicate(foundation::NSPredicate::format("ANY activities.checkins.memo = %@", memo));
    return context().fetchFirst(groups) == group;
  };
  for (const bool isSaved : {false, true}) {
    if (isSaved) context().save();
    EXPECT_TRUE(isFound("sought")) << isSaved;
    EXPECT_TRUE(isFound("more")) << isSaved;
    EXPECT_FALSE(isFound("none")) << isSaved;
  }
}

TEST_F(CDGroupTest, IsListedInBatches) {
  const auto request = CDGroup::listFetchRequest(context());

  EXPECT_EQ(request.entityName(), "Group");
  EXPECT_EQ(request.fetchBatchSize(), 20U);
  EXPECT_EQ(request.sortDescriptors(),
            (foundation::SortDescriptors{{"priority", true}, {"createdDate", false}}));
}

}  // namespace
}  // namespace coredatastack
