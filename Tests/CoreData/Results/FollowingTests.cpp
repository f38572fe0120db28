#include <gtest/gtest.h>

#include "CoreData/Results/NSFetchedResultsController.h"
#include "Tests/Support/GardenTest.h"

namespace garden {
namespace {

using coredata::NSFetchedResultsChangeType;
using coredata::NSFetchedResultsControllerBase;
using coredata::NSFetchedResultsSectionInfo;
using foundation::IndexPath;
using foundation::make;
using foundation::Ref;
using Controller = coredata::NSFetchedResultsController<Plant>;
using Story = std::vector<std::string>;

/// Writes down what it is told.
class Diary final : public coredata::NSFetchedResultsControllerDelegate {
 public:
  void controllerWillChangeContent(NSFetchedResultsControllerBase& /*controller*/) override {
    told_.emplace_back("will");
  }
  void controllerDidChangeSection(NSFetchedResultsControllerBase& /*controller*/,
                                  const NSFetchedResultsSectionInfo& section, std::size_t atIndex,
                                  NSFetchedResultsChangeType forType) override {
    told_.push_back(name(forType) + " section " + section.name + " " + std::to_string(atIndex));
  }
  void controllerDidChangeObject(NSFetchedResultsControllerBase& /*controller*/,
                                 const Ref<coredata::NSManagedObject>& object,
                                 std::optional<IndexPath> at, NSFetchedResultsChangeType forType,
                                 std::optional<IndexPath> newIndexPath) override {
    told_.push_back(name(forType) + " " + object->valueForKey("name").description() + text(at) +
                    (newIndexPath ? " to" + text(newIndexPath) : ""));
  }
  void controllerDidChangeContent(NSFetchedResultsControllerBase& controller) override {
    told_.push_back("did " + std::to_string(controller.numberOfFetchedObjects()));
  }

  [[nodiscard]] Story take() { return std::exchange(told_, {}); }

 private:
  static std::string name(NSFetchedResultsChangeType type) {
    using enum NSFetchedResultsChangeType;
    return type == insert    ? "insert"
           : type == delete_ ? "delete"
           : type == move    ? "move"
                             : "update";
  }
  static std::string text(const std::optional<IndexPath>& path) {
    if (!path) return "";
    return " " + std::to_string(path->section) + "." + std::to_string(path->item);
  }

  Story told_;
};

class FollowingTest : public Test {
 protected:
  FollowingTest() {
    change([&] {
      for (const char* each : {"b", "d", "f"}) plants_.push_back(plant(*context, each));
      context->save();
    });
  }
  static Ref<Plant> plant(coredata::NSManagedObjectContext& where, const std::string& name,
                          int leaves = 0) {
    auto result = make<Plant>(where);
    result->setName(name);
    result->setLeaves(static_cast<std::int16_t>(leaves));
    return result;
  }
  void follow(std::optional<std::string> sectionNameKeyPath = std::nullopt) {
    change([&] {
      auto request = Plant::fetchRequest();
      request.setSortDescriptors({{"leaves", true}, {"name", true}});
      request.setPredicate(foundation::NSPredicate::format("leaves >= 0"));
      controller_ = make<Controller>(request, context, std::move(sectionNameKeyPath));
      controller_->setDelegate(diary_);
      controller_->performFetch();
    });
  }
  /// Runs a block of the context, at whose end its changes are processed.
  void change(const std::function<void()>& work) { context->performBlockAndWait(work); }

  std::vector<Ref<Plant>> plants_;
  Ref<Diary> diary_ = make<Diary>();
  Ref<Controller> controller_;
};

TEST_F(FollowingTest, TellsOfAnInsertion) {
  follow();

  change([&] { plant(*context, "c"); });

  EXPECT_EQ(diary_->take(), (Story{"will", "insert c to 0.1", "did 4"}));
}

TEST_F(FollowingTest, TellsOfADeletion) {
  follow();

  change([&] { context->delete_(plants_[1]); });

  EXPECT_EQ(diary_->take(), (Story{"will", "delete d 0.1", "did 2"}));
}

TEST_F(FollowingTest, TellsOfAnUpdateThatKeepsThePlace) {
  follow();

  change([&] { plants_[1]->setName("e"); });

  EXPECT_EQ(diary_->take(), (Story{"will", "update e 0.1 to 0.1", "did 3"}));
}

TEST_F(FollowingTest, TellsOfEveryFurtherUpdate) {
  follow();
  change([&] { plants_[1]->setName("e"); });
  static_cast<void>(diary_->take());

  change([&] { plants_[1]->setHeight(2); });

  EXPECT_EQ(diary_->take(), (Story{"will", "update e 0.1 to 0.1", "did 3"}));
}

TEST_F(FollowingTest, TellsThatTheChangedOneMoved) {
  follow();

  change([&] { plants_[0]->setName("e"); });

  EXPECT_EQ(diary_->take(), (Story{"will", "move e 0.0 to 0.1", "did 3"}));
}

TEST_F(FollowingTest, TellsOfAnUpdateWhereNeighboursOnlyMadeRoom) {
  follow();

  change([&] {
    plants_[2]->setHeight(1);
    plant(*context, "a");
  });

  EXPECT_EQ(diary_->take(), (Story{"will", "insert a to 0.0", "update f 0.2 to 0.3", "did 4"}));
}

TEST_F(FollowingTest, TellsOfObjectsThatBeginOrCeaseToMatch) {
  follow();
  change([&] { plants_[0]->setLeaves(-1); });
  EXPECT_EQ(diary_->take(), (Story{"will", "delete b 0.0", "did 2"}));

  change([&] { plants_[0]->setLeaves(0); });

  EXPECT_EQ(diary_->take(), (Story{"will", "insert b to 0.0", "did 3"}));
}

TEST_F(FollowingTest, TellsOfSectionsThatComeAndGo) {
  follow("leaves");

  change([&] {
    for (const Ref<Plant>& each : plants_) each->setLeaves(5);
    plant(*context, "x", 9);
  });

  EXPECT_EQ(diary_->take(), (Story{"will", "delete section 0 0", "insert section 5 0",
                                   "insert section 9 1", "insert x to 1.0", "move b 0.0 to 0.0",
                                   "move d 0.1 to 0.1", "move f 0.2 to 0.2", "did 4"}));
}

TEST_F(FollowingTest, TellsNothingWhenASaveChangesNothingMore) {
  follow();
  change([&] { plant(*context, "c"); });
  static_cast<void>(diary_->take());

  change([&] { context->save(); });

  EXPECT_EQ(diary_->take(), Story{});
  change([&] { EXPECT_EQ(controller_->object({0, 1})->name(), "c"); });
}

TEST_F(FollowingTest, TellsNothingOfOtherEntities) {
  follow();

  change([&] { make<Bed>(*context)->setName("north"); });

  EXPECT_EQ(diary_->take(), Story{});
}

TEST_F(FollowingTest, TellsNothingOfWhatCameAndWent) {
  follow();

  change([&] { context->delete_(plant(*context, "c")); });

  EXPECT_EQ(diary_->take(), Story{});
}

TEST_F(FollowingTest, TellsOfARollback) {
  follow();
  change([&] {
    plant(*context, "c");
    context->delete_(plants_[2]);
  });
  EXPECT_EQ(diary_->take(), (Story{"will", "delete f 0.2", "insert c to 0.1", "did 3"}));

  change([&] { context->rollback(); });

  const Story told = diary_->take();
  ASSERT_EQ(told.size(), 4U);
  EXPECT_EQ(told[2], "insert f to 0.2");
  EXPECT_EQ(told[3], "did 3");
}

TEST_F(FollowingTest, TellsOfWhatOthersSavedOnceItIsMerged) {
  change([&] { context->setAutomaticallyMergesChangesFromParent(true); });
  follow();
  plants_.clear();
  const auto other = store.newContext();
  other->performBlockAndWait([&] {
    const auto all = other->fetch(Plant::fetchRequest());
    all[0]->setName("z");
    other->delete_(all[1]);
    plant(*other, "c");
    other->save();
  });

  settle();

  EXPECT_EQ(diary_->take(),
            (Story{"will", "delete nil 0.1", "insert c to 0.0", "move z 0.0 to 0.2", "did 3"}));
}

TEST_F(FollowingTest, FollowsAnEmptyListOfAnEmptyContext) {
  change([&] {
    for (const Ref<Plant>& each : plants_) context->delete_(each);
    context->save();
    context->setAutomaticallyMergesChangesFromParent(true);
  });
  plants_.clear();
  follow();
  const auto other = store.newContext();
  other->performBlockAndWait([&] {
    plant(*other, "c");
    other->save();
  });

  settle();

  EXPECT_EQ(diary_->take(), (Story{"will", "insert c to 0.0", "did 1"}));
}

TEST_F(FollowingTest, ShowsTheNewObjectsAfterAReset) {
  follow();

  change([&] { context->reset(); });

  EXPECT_EQ(diary_->take(), (Story{"will", "update b 0.0 to 0.0", "update d 0.1 to 0.1",
                                   "update f 0.2 to 0.2", "did 3"}));
}

TEST_F(FollowingTest, EndsWithTheDelegate) {
  follow();
  diary_ = nullptr;

  change([&] { plant(*context, "c"); });

  EXPECT_EQ(controller_->delegate(), nullptr);
  EXPECT_EQ(controller_->numberOfFetchedObjects(), 3U);
}

TEST_F(FollowingTest, BeginsWithALaterDelegate) {
  follow();
  change([&] { controller_->setDelegate(nullptr); });
  change([&] { plant(*context, "c"); });
  EXPECT_EQ(diary_->take(), Story{});
  change([&] { controller_->setDelegate(diary_); });

  change([&] { plant(*context, "e"); });

  EXPECT_EQ(diary_->take(), (Story{"will", "insert c to 0.1", "insert e to 0.3", "did 5"}));
}

TEST_F(FollowingTest, LetsADelegateFetchAndChange) {
  class Meddler final : public coredata::NSFetchedResultsControllerDelegate {
   public:
    void controllerDidChangeContent(NSFetchedResultsControllerBase& controller) override {
      if (++rounds > 1) return;
      plant(*controller.managedObjectContext(), "meddled");
      seen = controller.managedObjectContext()->count(Plant::fetchRequest());
    }
    int rounds = 0;
    std::int64_t seen = 0;
  };
  const auto meddler = make<Meddler>();
  follow();
  change([&] { controller_->setDelegate(meddler); });

  change([&] { plant(*context, "c"); });

  EXPECT_EQ(meddler->rounds, 2);
  EXPECT_EQ(meddler->seen, 5);
  EXPECT_EQ(controller_->numberOfFetchedObjects(), 5U);
}

}  // namespace
}  // namespace garden
