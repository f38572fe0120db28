#include "CoreData/Results/NSFetchedResultsController.h"

#include <gtest/gtest.h>

#include "CoreData/Fetching/FetchError.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenTest.h"

namespace garden {
namespace {

using coredata::FetchErrorCode;
using coredata::NSFetchedResultsSectionInfo;
using coredata::NSFetchRequest;
using foundation::IndexPath;
using foundation::make;
using foundation::Ref;
using support::errorCode;
using support::number;

using Controller = coredata::NSFetchedResultsController<Plant>;
using Sections = std::vector<NSFetchedResultsSectionInfo>;

Sections sections(const Controller& controller) {
  return {controller.sections().begin(), controller.sections().end()};
}

class NSFetchedResultsControllerTest : public Test {
 protected:
  Ref<Plant> plant(const std::string& name, int leaves = 0, const Ref<Bed>& bed = nullptr) {
    auto result = make<Plant>(*context);
    result->setName(name);
    result->setLeaves(static_cast<std::int16_t>(leaves));
    result->setBed(bed);
    return result;
  }
  [[nodiscard]] static NSFetchRequest<Plant> sortedBy(const char* first) {
    auto request = Plant::fetchRequest();
    request.setSortDescriptors({{first, true}, {"name", true}});
    return request;
  }
  [[nodiscard]] Ref<Controller> controller(std::optional<std::string> sectionNameKeyPath = {},
                                           const char* sort = "name") const {
    return make<Controller>(sortedBy(sort), context, std::move(sectionNameKeyPath));
  }
  void inContext(const std::function<void()>& work) { context->performBlockAndWait(work); }
};

TEST_F(NSFetchedResultsControllerTest, HasNoSectionsBeforeAFetch) {
  inContext([&] {
    EXPECT_TRUE(controller()->sections().empty());
    EXPECT_EQ(controller()->numberOfFetchedObjects(), 0U);
  });
}

TEST_F(NSFetchedResultsControllerTest, HasOneSectionWhenNothingMatches) {
  inContext([&] {
    const auto list = controller();
    list->performFetch();

    EXPECT_EQ(sections(*list), (Sections{{"", 0}}));
  });
}

TEST_F(NSFetchedResultsControllerTest, GivesTheObjectsInTheirOrder) {
  inContext([&] {
    const auto beech = plant("beech");
    const auto acorn = plant("acorn");
    context->save();
    const auto list = controller();
    list->performFetch();

    EXPECT_EQ(sections(*list), (Sections{{"", 2}}));
    EXPECT_EQ(list->object({0, 0}), acorn);
    EXPECT_EQ(list->object({0, 1}), beech);
    EXPECT_EQ(list->indexPath(*beech), (IndexPath{0, 1}));
  });
}

TEST_F(NSFetchedResultsControllerTest, ShowsUnsavedObjectsBeforeAndAfterTheirSave) {
  inContext([&] {
    const auto beech = plant("beech");
    context->save();
    const std::vector plants{plant("acorn"), beech, plant("cedar")};
    const auto list = controller();
    list->performFetch();
    const auto expectAll = [&] {
      for (std::size_t i = 0; i < plants.size(); ++i) {
        EXPECT_EQ(list->object({0, i}), plants[i]);
        EXPECT_EQ(list->indexPath(*plants[i]), (IndexPath{0, i}));
      }
    };
    expectAll();

    context->save();

    expectAll();
  });
}

TEST_F(NSFetchedResultsControllerTest, KeepsItsListWithoutADelegateAndShowsLiveObjects) {
  inContext([&] {
    const auto acorn = plant("acorn");
    context->save();
    const auto list = controller();
    list->performFetch();

    acorn->setName("zinnia");
    const auto late = plant("beech");
    context->save();

    EXPECT_EQ(list->numberOfFetchedObjects(), 1U);
    EXPECT_EQ(list->object({0, 0})->name(), "zinnia");
    EXPECT_EQ(list->indexPath(*late), std::nullopt);
  });
}

TEST_F(NSFetchedResultsControllerTest, ShowsAnObjectThatIsGoneAsAbsent) {
  inContext([&] {
    const auto acorn = plant("acorn");
    context->save();
    const auto list = controller();
    list->performFetch();

    context->delete_(acorn);
    context->save();

    EXPECT_EQ(list->numberOfFetchedObjects(), 1U);
    const auto gone = list->object({0, 0});
    EXPECT_EQ(gone->name(), std::nullopt);
    EXPECT_TRUE(gone->isDeleted());
  });
}

TEST_F(NSFetchedResultsControllerTest, ReadsNoRowUntilAnObjectIsLookedAt) {
  inContext([&] {
    plant("acorn");
    context->save();
    context->reset();
    const auto list = controller();

    list->performFetch();

    EXPECT_TRUE(list->object({0, 0})->isFault());
  });
}

TEST_F(NSFetchedResultsControllerTest, CutsTheListByEqualValues) {
  inContext([&] {
    plant("acorn", 3);
    plant("beech", 7);
    plant("clover", 3);
    const auto list = controller("leaves", "leaves");

    list->performFetch();

    EXPECT_EQ(sections(*list), (Sections{{"3", 2}, {"7", 1}}));
    EXPECT_EQ(list->object({0, 1})->name(), "clover");
    EXPECT_EQ(list->object({1, 0})->name(), "beech");
    EXPECT_EQ(list->indexPath(*list->object({1, 0})), (IndexPath{1, 0}));
  });
}

TEST_F(NSFetchedResultsControllerTest, CutsByAValueOfARelatedObject) {
  inContext([&] {
    const auto bed = make<Bed>(*context);
    bed->setName("north");
    plant("acorn", 0, bed);
    plant("beech");
    const auto list = controller("bed.name", "bed.name");

    list->performFetch();

    EXPECT_EQ(sections(*list), (Sections{{"", 1}, {"north", 1}}));
  });
}

TEST_F(NSFetchedResultsControllerTest, HasNoSectionsByKeyPathWhenNothingMatches) {
  inContext([&] {
    const auto list = controller("leaves", "leaves");
    list->performFetch();

    EXPECT_TRUE(list->sections().empty());
  });
}

TEST_F(NSFetchedResultsControllerTest, RefusesAnOrderThatTearsASectionApart) {
  inContext([&] {
    plant("acorn", 3);
    plant("beech", 7);
    plant("clover", 3);
    const auto list = controller("leaves", "name");

    EXPECT_EQ(errorCode([&] { list->performFetch(); }), number(FetchErrorCode::unsuitableKey));
    EXPECT_TRUE(list->sections().empty());
  });
}

TEST_F(NSFetchedResultsControllerTest, RefusesAnUnknownSectionKey) {
  inContext([&] {
    plant("acorn");
    const auto list = controller("moons");

    EXPECT_EQ(errorCode([&] { list->performFetch(); }), number(FetchErrorCode::unknownKey));
    EXPECT_TRUE(list->sections().empty());
  });
}

TEST_F(NSFetchedResultsControllerTest, HasNoSectionsAfterAFetchThatFailed) {
  inContext([&] {
    plant("acorn");
    const auto list = controller();
    list->performFetch();
    list->fetchRequest().setSortDescriptors({{"moons", true}});

    EXPECT_EQ(errorCode([&] { list->performFetch(); }), number(FetchErrorCode::unknownKey));

    EXPECT_TRUE(list->sections().empty());
    EXPECT_EQ(list->numberOfFetchedObjects(), 0U);
  });
}

TEST_F(NSFetchedResultsControllerTest, HoldsToTheLimitOfItsRequest) {
  inContext([&] {
    for (const char* name : {"a", "b", "c"}) plant(name);
    const auto list = controller();
    list->fetchRequest().setFetchLimit(2);

    list->performFetch();

    EXPECT_EQ(sections(*list), (Sections{{"", 2}}));
  });
}

TEST_F(NSFetchedResultsControllerTest, LeavesNoFilesBehind) {
  const auto files = [&] {
    const std::filesystem::recursive_directory_iterator all(store.directory());
    return std::distance(begin(all), end(all));
  };
  inContext([&] {
    plant("acorn");
    context->save();
  });
  const auto before = files();

  inContext([&] { controller()->performFetch(); });

  EXPECT_EQ(files(), before);
}

using NSFetchedResultsControllerDeathTest = NSFetchedResultsControllerTest;

TEST_F(NSFetchedResultsControllerDeathTest, StopsAtAnIndexPathOutside) {
  inContext([&] {
    plant("acorn");
    const auto list = controller();
    list->performFetch();

    EXPECT_DEATH(static_cast<void>(list->object({0, 1})), "no object at item 1 of section 0");
    EXPECT_DEATH(static_cast<void>(list->object({1, 0})), "no object at item 0 of section 1");
  });
}

}  // namespace
}  // namespace garden
