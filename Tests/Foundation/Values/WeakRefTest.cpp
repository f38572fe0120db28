#include "Foundation/Values/WeakRef.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <latch>
#include <thread>
#include <utility>

namespace foundation {
namespace {

class Plant : public Object {
 public:
  Plant() = default;
  explicit Plant(std::function<void()> atDeath) : atDeath_(std::move(atDeath)) {}
  ~Plant() override {
    if (atDeath_) atDeath_();
  }

 private:
  std::function<void()> atDeath_;
};

/// Objects of this class are always made at the same address.
class Tenant : public Object {
 public:
  static void* operator new(std::size_t) { return room.data(); }
  static void operator delete(void*) {}

 private:
  alignas(Object) static inline std::array<std::byte, 64> room;
};

TEST(WeakRef, GivesTheObjectWhileItLives) {
  const auto plant = make<Plant>();

  const WeakRef<Plant> weak(plant);

  EXPECT_EQ(weak.lock(), plant);
  EXPECT_FALSE(weak.expired());
}

TEST(WeakRef, IsEmptyOnceTheLastHandleIsGone) {
  auto plant = make<Plant>();
  const WeakRef<Plant> weak(plant);

  plant = nullptr;

  EXPECT_EQ(weak.lock(), nullptr);
  EXPECT_TRUE(weak.expired());
}

TEST(WeakRef, KeepsTheObjectAliveByWhatItGives) {
  bool isDead = false;
  auto plant = make<Plant>([&] { isDead = true; });
  const WeakRef<Plant> weak(plant);

  auto locked = weak.lock();
  plant = nullptr;

  EXPECT_FALSE(isDead);
  locked = nullptr;
  EXPECT_TRUE(isDead);
}

TEST(WeakRef, GivesNothingWhileTheObjectIsBeingDestroyed) {
  WeakRef<Plant> weak;
  bool wasRevived = true;
  auto plant = make<Plant>([&] { wasRevived = weak.lock() != nullptr; });
  weak = WeakRef<Plant>(plant);

  plant = nullptr;

  EXPECT_FALSE(wasRevived);
}

TEST(WeakRef, RefersToNothingUnlessTold) {
  const WeakRef<Plant> weak;

  EXPECT_EQ(weak.lock(), nullptr);
  EXPECT_TRUE(weak.expired());
  EXPECT_FALSE(weak.refersTo(nullptr));
}

TEST(WeakRef, DoesNotTakeALaterObjectAtTheSameAddressForItsOwn) {
  auto first = make<Tenant>();
  const WeakRef<Tenant> weak(first);
  const Tenant* address = first.get();

  first = nullptr;
  const auto second = make<Tenant>();

  ASSERT_EQ(second.get(), address);
  EXPECT_FALSE(weak.refersTo(second.get()));
  EXPECT_EQ(weak.lock(), nullptr);
}

TEST(WeakRef, TellsOneLifeFromTheNextWhenBothAreHeldWeakly) {
  auto first = make<Tenant>();
  const WeakRef<Tenant> weakFirst(first);
  first = nullptr;
  const auto second = make<Tenant>();

  const WeakRef<Tenant> weakSecond(second);

  EXPECT_EQ(weakSecond.lock(), second);
  EXPECT_EQ(weakFirst.lock(), nullptr);
}

TEST(WeakRef, CopiesOutliveTheirOrigin) {
  const auto plant = make<Plant>();
  WeakRef<Plant> copy;

  {
    const WeakRef<Plant> origin(plant);
    copy = origin;
  }

  EXPECT_EQ(copy.lock(), plant);
}

TEST(WeakRef, GivesAWholeObjectOrNoneWhileItDiesOnAnotherThread) {
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> deaths = 0;
    auto plant = make<Plant>([&] { ++deaths; });
    const WeakRef<Plant> weak(plant);
    std::latch start(2);

    std::thread other([&, copy = weak] {
      start.arrive_and_wait();
      while (const auto alive = copy.lock()) EXPECT_EQ(deaths, 0);
    });
    start.arrive_and_wait();
    plant = nullptr;
    other.join();

    EXPECT_EQ(deaths, 1);
  }
}

TEST(WeakRef, CostsAnObjectNoRoom) { EXPECT_EQ(sizeof(Object), 2 * sizeof(void*)); }

}  // namespace
}  // namespace foundation
