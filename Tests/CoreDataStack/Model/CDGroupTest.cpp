#include "CoreDataStack/Model/CDGroup.h"

#include <gtest/gtest.h>

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

TEST_F(CDGroupTest, IsListedInBatches) {
  const auto request = CDGroup::listFetchRequest(context());

  EXPECT_EQ(request.entityName(), "Group");
  EXPECT_EQ(request.fetchBatchSize(), 20U);
  EXPECT_EQ(request.sortDescriptors(), (std::vector<foundation::NSSortDescriptor>{
                                           {"priority", true}, {"createdDate", false}}));
}

}  // namespace
}  // namespace coredatastack
