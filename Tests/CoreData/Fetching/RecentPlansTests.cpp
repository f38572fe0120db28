#include "CoreData/Fetching/RecentPlans.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CoreData/Model/ModelBuilder.h"
#include "Foundation/Values/Error.h"

namespace {

using coredata::FetchPlan;
using coredata::FetchPlanCache;
using coredata::NSFetchRequestBase;
using coredata::RecentPlans;
using foundation::NSPredicate;
using foundation::Ref;

Ref<const coredata::NSManagedObjectModel> notes() {
  return coredata::modelFromSource(R"({
    "identifiers": ["Notes 1"],
    "entities": {
      "Note": {"attributes": {"title": "text", "rank": "integer64"}},
      "Page": {"attributes": {"title": "text", "rank": "integer64"}}
    }
  })");
}

class RecentPlansTest : public testing::Test {
 protected:
  static NSFetchRequestBase request(const char* entity = "Note",
                                    const char* format = "title = %@") {
    NSFetchRequestBase made(entity);
    made.setPredicate(NSPredicate::format(format, "x"));
    return made;
  }

  FetchPlanCache all_{notes()};
  RecentPlans recent_{all_};
};

TEST_F(RecentPlansTest, AreSharedByRequestsThatDifferInValuesOnly) {
  const Ref<const FetchPlan> plan = recent_.plan(request());

  NSFetchRequestBase other = request();
  other.setPredicate(NSPredicate::format("title = %@", "y"));
  other.setFetchLimit(3);
  other.setFetchOffset(2);
  other.setFetchBatchSize(1);
  EXPECT_EQ(recent_.plan(other), plan);

  RecentPlans ofAnotherContext(all_);
  EXPECT_EQ(ofAnotherContext.plan(other), plan);
}

TEST_F(RecentPlansTest, AreToldApartByAllThatOnePredicateLeavesOpen) {
  std::vector<NSFetchRequestBase> requests{request(), request("Page"), request(),
                                           request(), request(),       request()};
  requests[2].setSortDescriptors({{"rank", true}});
  requests[3].setSortDescriptors({{"rank", false}});
  requests[4].setResultType(coredata::NSFetchRequestResultType::dictionaries);
  requests[4].setPropertiesToFetch({"rank"});
  requests[5].setResultType(coredata::NSFetchRequestResultType::dictionaries);
  requests[5].setPropertiesToFetch({"rank"});
  requests[5].setReturnsDistinctResults(true);
  std::vector<Ref<const FetchPlan>> plans;
  plans.reserve(requests.size());
  for (const NSFetchRequestBase& each : requests) plans.push_back(recent_.plan(each));

  for (std::size_t i = 0; i < requests.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(plans[i], plans[j]) << i << " and " << j;
    EXPECT_EQ(recent_.plan(requests[i]), plans[i]) << i;
    EXPECT_EQ(plans[i]->entity().name(), requests[i].entityName()) << i;
    EXPECT_EQ(plans[i]->sorts().size(), requests[i].sortDescriptors().size()) << i;
    EXPECT_EQ(plans[i]->columns().size(), requests[i].propertiesToFetch().size()) << i;
  }
}

TEST_F(RecentPlansTest, AreToldApartHoweverManyPredicatesThereAre) {
  std::vector<NSFetchRequestBase> requests;
  std::vector<Ref<const FetchPlan>> plans;
  for (int number = 0; number < 40; ++number) {
    const std::string format = "title = %@ AND rank > " + std::to_string(number);
    requests.push_back(request("Note", format.c_str()));
    plans.push_back(recent_.plan(requests.back()));
  }

  for (std::size_t i = 0; i < requests.size(); ++i) {
    EXPECT_EQ(recent_.plan(requests[i]), plans[i]) << i;
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(plans[i], plans[j]) << i << " and " << j;
  }
}

TEST_F(RecentPlansTest, StayWhatTheyAreWhereARequestMakesNoSense) {
  const Ref<const FetchPlan> plan = recent_.plan(request());
  NSFetchRequestBase wrong = request();
  wrong.setSortDescriptors({{"depth", true}});

  EXPECT_THROW(static_cast<void>(recent_.plan(wrong)), foundation::Error);
  EXPECT_THROW(static_cast<void>(recent_.plan(request("Pond"))), foundation::Error);

  EXPECT_EQ(recent_.plan(request()), plan);
}

}  // namespace
