#include <gtest/gtest.h>

#include "CoreData/Results/NSFetchedResultsController.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using Sections = std::vector<coredata::NSFetchedResultsSectionInfo>;

TEST(CheckinSections, CutAListByMonths) {
  const support::TemporaryStore store;
  for (const char* day : {"2024-02-10", "2023-12-31", "2024-02-01"}) {
    foundation::make<CDCheckin>(store.context())->setDate(day);
  }
  store.context().save();
  auto request = CDCheckin::fetchRequest();
  request.setSortDescriptors({{"date", false}});
  const auto list = foundation::make<coredata::NSFetchedResultsController<CDCheckin>>(
      request, store.contextHandle(), "section");

  list->performFetch();

  EXPECT_EQ(Sections(list->sections().begin(), list->sections().end()),
            (Sections{{"2024-02", 2}, {"2023-12", 1}}));
  EXPECT_EQ(list->object({0, 1})->date(), "2024-02-01");
}

}  // namespace
}  // namespace coredatastack
