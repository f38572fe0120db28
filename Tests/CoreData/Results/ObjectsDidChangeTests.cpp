#include "CoreData/Context/ObjectsDidChange.h"

#include <gtest/gtest.h>

#include <map>

#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Tests/Support/GardenTest.h"

namespace garden {
namespace {

using foundation::make;
using foundation::NSNotification;
using foundation::Ref;
using Names = std::multimap<std::string, std::string>;

class ObjectsDidChangeTest : public Test {
 protected:
  void observe() {
    observation_ = foundation::NSNotificationCenter::defaultCenter().addObserver(
        coredata::NSManagedObjectContextObjectsDidChangeNotification,
        Ref<foundation::Object>(context), [&](const NSNotification& notification) {
          ++rounds_;
          for (const auto& [key, objects] : *notification.userInfo()) {
            for (const auto& object : *objects.list()) {
              names_.emplace(key, object.object()->valueForKey("name").description());
            }
          }
        });
    context->performBlockAndWait([] {});
  }
  Ref<Plant> plant(const std::string& name) {
    auto result = make<Plant>(*context);
    result->setName(name);
    return result;
  }
  void change(const std::function<void()>& work) { context->performBlockAndWait(work); }
  [[nodiscard]] Names take() { return std::exchange(names_, {}); }

  int rounds_ = 0;
  Names names_;
  Ref<foundation::Object> observation_;
};

TEST_F(ObjectsDidChangeTest, ListsEveryKindOfChangeOnce) {
  Ref<Plant> kept;
  Ref<Plant> lost;
  Ref<Plant> read;
  change([&] {
    kept = plant("kept");
    lost = plant("lost");
    read = plant("read");
    context->save();
  });
  observe();

  change([&] {
    plant("new");
    kept->setHeight(1);
    kept->setHeight(2);
    context->delete_(lost);
    context->refresh(read, true);
  });

  EXPECT_EQ(rounds_, 1);
  EXPECT_EQ(
      take(),
      (Names{
          {"inserted", "new"}, {"updated", "kept"}, {"deleted", "lost"}, {"refreshed", "read"}}));
}

TEST_F(ObjectsDidChangeTest, IsPostedBeforeAFetch) {
  observe();

  change([&] {
    plant("new");
    static_cast<void>(context->count(Plant::fetchRequest()));
    EXPECT_EQ(rounds_, 1);
  });

  EXPECT_EQ(rounds_, 1);
}

TEST_F(ObjectsDidChangeTest, IsNotPostedForASaveAlone) {
  observe();
  change([&] { plant("new"); });

  change([&] { context->save(); });

  EXPECT_EQ(rounds_, 1);
}

TEST_F(ObjectsDidChangeTest, LeavesOutAnObjectWhoseConstructorThrew) {
  class Thistle final : public coredata::NSManagedObject {
   public:
    explicit Thistle(coredata::NSManagedObjectContext& where)
        : NSManagedObject(where.entity(Plant::entityClass()), &where) {
      throw std::runtime_error("no thistles here");
    }
  };
  observe();

  change([&] { EXPECT_THROW(static_cast<void>(make<Thistle>(*context)), std::runtime_error); });

  EXPECT_EQ(rounds_, 0);
}

TEST_F(ObjectsDidChangeTest, EndsWithTheObservation) {
  observe();
  observation_ = nullptr;

  change([&] { plant("new"); });
  change([&] { plant("newer"); });

  EXPECT_EQ(rounds_, 0);
}

}  // namespace
}  // namespace garden
