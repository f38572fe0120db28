#include <thread>

#include "Foundation/Queues/MainQueue.h"
#include "Tests/Support/GardenTest.h"

#ifndef NDEBUG

namespace {

using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Plant;

constexpr const char* kMessage =
    "Fatal error: a context or one of its objects is used outside of its queue";

/// A context and a saved plant, used where neither belongs.
class WrongThreadDeathTest : public garden::Test {
 protected:
  Ref<Plant> plant;

  void SetUp() override {
    context->performBlockAndWait([&] {
      plant = make<Plant>(*context);
      context->save();
    });
  }
};

TEST_F(WrongThreadDeathTest, StopsTheProcessThatFetches) {
  EXPECT_DEATH(static_cast<void>(context->fetch(Plant::fetchRequest())), kMessage);
  EXPECT_DEATH(static_cast<void>(context->fetchFirst(Plant::fetchRequest())), kMessage);
  EXPECT_DEATH(static_cast<void>(context->count(Plant::fetchRequest())), kMessage);
}

TEST_F(WrongThreadDeathTest, StopsTheProcessThatInserts) {
  EXPECT_DEATH(static_cast<void>(make<Plant>(*context)), kMessage);
  EXPECT_DEATH(context->insertNewObject("Plant"), kMessage);
}

TEST_F(WrongThreadDeathTest, StopsTheProcessThatDeletesRefreshesOrSaves) {
  EXPECT_DEATH(context->delete_(plant), kMessage);
  EXPECT_DEATH(context->refresh(plant, true), kMessage);
  EXPECT_DEATH(context->refreshAllObjects(), kMessage);
  EXPECT_DEATH(context->save(), kMessage);
  EXPECT_DEATH(context->rollback(), kMessage);
}

TEST_F(WrongThreadDeathTest, StopsTheProcessThatWritesToAnObject) {
  EXPECT_DEATH(plant->setName("ash"), kMessage);
  EXPECT_DEATH(plant->setValue(3, "leaves"), kMessage);
}

TEST_F(WrongThreadDeathTest, StopsTheProcessThatLooksIntoAFault) {
  context->performBlockAndWait([&] { context->refresh(plant, false); });

  EXPECT_DEATH(static_cast<void>(plant->name()), kMessage);
}

TEST_F(WrongThreadDeathTest, StopsTheProcessInTheBlockOfAnotherContext) {
  const auto other = store.newContext();
  EXPECT_DEATH(other->performBlockAndWait([&] { plant->setName("ash"); }), kMessage);
}

TEST_F(WrongThreadDeathTest, StopsTheProcessThatUsesTheViewContextElsewhere) {
  foundation::MainQueue::declareMainThread();
  const auto view = store.container().viewContext();
  EXPECT_EQ(view->count(Plant::fetchRequest()), 1);

  EXPECT_DEATH(std::thread([&] { static_cast<void>(view->count(Plant::fetchRequest())); }).join(),
               kMessage);
}

}  // namespace

#endif
