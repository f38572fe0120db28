#include "Foundation/Notifications/NSNotificationCenter.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Foundation/Values/WeakRef.h"

namespace foundation {
namespace {

constexpr NSNotificationName kDidGrow{"Garden.didGrow"};
constexpr NSNotificationName kDidWither{"Garden.didWither"};

/// Says to a shared list that it was called, and does what the test asks.
class Gardener : public Object {
 public:
  Gardener(std::string name, std::vector<std::string>& calls)
      : name_(std::move(name)), calls_(calls) {}

  void didGrow(const NSNotification& notification) {
    calls_.push_back(name_);
    lastThread = std::this_thread::get_id();
    if (then) then(notification);
    // Reads a member after the call: it must still be there, whatever the call did.
    calledName = name_;
  }

  std::function<void(const NSNotification&)> then;
  std::string calledName;
  std::thread::id lastThread;

 private:
  std::string name_;
  std::vector<std::string>& calls_;
};

constexpr Selector<Gardener> kSelector{"didGrow:", &Gardener::didGrow};

class Plant : public Object {
 public:
  static void* operator new(std::size_t size) {
    return reusesRoom ? room.data() : ::operator new(size);
  }
  static void operator delete(void* memory) {
    if (memory != room.data()) ::operator delete(memory);
  }

  static inline bool reusesRoom = false;

 private:
  alignas(Object) static inline std::array<std::byte, 64> room;
};

class NSNotificationCenterTest : public testing::Test {
 protected:
  using Calls = std::vector<std::string>;

  Ref<Gardener> gardener(const std::string& name) { return make<Gardener>(name, calls); }

  NSNotificationCenter center;
  Calls calls;
};

TEST_F(NSNotificationCenterTest, CallsTheObserverOnThePostingThreadBeforePostReturns) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);

  std::thread::id poster;
  std::thread([&] {
    poster = std::this_thread::get_id();
    center.post(kDidGrow);
    EXPECT_EQ(calls, Calls{"anna"});
  }).join();

  EXPECT_EQ(anna->lastThread, poster);
}

TEST_F(NSNotificationCenterTest, CallsInTheOrderOfRegistration) {
  const auto anna = gardener("anna");
  const auto bert = gardener("bert");
  const auto cora = gardener("cora");
  center.addObserver(bert, kSelector, kDidGrow);
  const auto token = center.addObserver(kDidGrow, nullptr,
                                        [&](const NSNotification&) { calls.push_back("block"); });
  center.addObserver(anna, kSelector, kDidGrow);
  center.addObserver(cora, kSelector, kDidGrow);

  center.post(kDidGrow);

  EXPECT_EQ(calls, (Calls{"bert", "block", "anna", "cora"}));
}

TEST_F(NSNotificationCenterTest, CallsNobodyForAnotherName) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);

  center.post(kDidWither);

  EXPECT_TRUE(calls.empty());
}

TEST_F(NSNotificationCenterTest, FindsRegistrationsByTheTextOfTheName) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);

  center.post(NSNotificationName::named("Garden.didGrow"));

  EXPECT_EQ(calls, Calls{"anna"});
}

TEST_F(NSNotificationCenterTest, CallsARegistrationForOneObjectForThatObjectOnly) {
  const auto anna = gardener("anna");
  const auto rose = make<Plant>();
  const auto lily = make<Plant>();
  center.addObserver(anna, kSelector, kDidGrow, rose);

  center.post(kDidGrow, lily);
  center.post(kDidGrow);
  EXPECT_TRUE(calls.empty());

  center.post(kDidGrow, rose);
  EXPECT_EQ(calls, Calls{"anna"});
}

TEST_F(NSNotificationCenterTest, CallsARegistrationForAnyObjectForAllOfThem) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);

  center.post(kDidGrow, make<Plant>());
  center.post(kDidGrow);

  EXPECT_EQ(calls, (Calls{"anna", "anna"}));
}

TEST_F(NSNotificationCenterTest, CallsAnObserverAsOftenAsItIsRegistered) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);
  center.addObserver(anna, kSelector, kDidGrow);

  center.post(kDidGrow);

  EXPECT_EQ(calls, (Calls{"anna", "anna"}));
}

TEST_F(NSNotificationCenterTest, HandsOverWhatWasPosted) {
  const auto anna = gardener("anna");
  const auto rose = make<Plant>();
  const auto info = std::make_shared<const ValueDictionary>(ValueDictionary{{"height", 12}});
  center.addObserver(anna, kSelector, kDidGrow);
  anna->then = [&](const NSNotification& notification) {
    EXPECT_EQ(notification.name(), kDidGrow);
    EXPECT_EQ(notification.object(), rose);
    EXPECT_EQ(notification.userInfo(), info);
  };

  center.post(kDidGrow, rose, info);

  EXPECT_EQ(calls.size(), 1U);
}

TEST_F(NSNotificationCenterTest, DoesNotKeepObserversAlive) {
  auto anna = gardener("anna");
  const WeakRef<Gardener> weak(anna);
  center.addObserver(anna, kSelector, kDidGrow);

  anna = nullptr;

  EXPECT_TRUE(weak.expired());
}

TEST_F(NSNotificationCenterTest, SkipsAndForgetsObserversThatAreGone) {
  auto anna = gardener("anna");
  const auto bert = gardener("bert");
  center.addObserver(anna, kSelector, kDidGrow);
  center.addObserver(bert, kSelector, kDidGrow);

  anna = nullptr;
  center.post(kDidGrow);

  EXPECT_EQ(calls, Calls{"bert"});
  EXPECT_EQ(center.debugDescription(), "Garden.didGrow -> didGrow:\n");
}

TEST_F(NSNotificationCenterTest, KeepsAnObserverAliveWhileItIsBeingCalled) {
  auto anna = gardener("anna");
  const WeakRef<Gardener> weak(anna);
  center.addObserver(anna, kSelector, kDidGrow);
  anna->then = [&](const NSNotification&) {
    anna = nullptr;
    EXPECT_FALSE(weak.expired());
  };

  center.post(kDidGrow);

  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(calls, Calls{"anna"});
}

TEST_F(NSNotificationCenterTest, DoesNotKeepTheObjectOfARegistrationAlive) {
  const auto anna = gardener("anna");
  auto rose = make<Plant>();
  const WeakRef<Plant> weak(rose);
  center.addObserver(anna, kSelector, kDidGrow, rose);

  rose = nullptr;

  EXPECT_TRUE(weak.expired());
}

TEST_F(NSNotificationCenterTest, DoesNotMatchALaterObjectAtTheSameAddress) {
  Plant::reusesRoom = true;
  const auto anna = gardener("anna");
  auto rose = make<Plant>();
  const Plant* address = rose.get();
  center.addObserver(anna, kSelector, kDidGrow, rose);

  rose = nullptr;
  const auto lily = make<Plant>();
  Plant::reusesRoom = false;
  center.post(kDidGrow, lily);

  ASSERT_EQ(lily.get(), address);
  EXPECT_TRUE(calls.empty());
  EXPECT_FALSE(center.hasObservers(kDidGrow));
}

TEST_F(NSNotificationCenterTest, LetsHandlersPost) {
  const auto anna = gardener("anna");
  const auto bert = gardener("bert");
  center.addObserver(anna, kSelector, kDidGrow);
  center.addObserver(bert, kSelector, kDidWither);
  anna->then = [&](const NSNotification&) { center.post(kDidWither); };

  center.post(kDidGrow);

  EXPECT_EQ(calls, (Calls{"anna", "bert"}));
}

TEST_F(NSNotificationCenterTest, CallsWhoRegistersDuringAPostFromTheNextOneOn) {
  const auto anna = gardener("anna");
  const auto bert = gardener("bert");
  center.addObserver(anna, kSelector, kDidGrow);
  anna->then = [&](const NSNotification&) {
    if (calls.size() == 1) center.addObserver(bert, kSelector, kDidGrow);
  };

  center.post(kDidGrow);
  EXPECT_EQ(calls, Calls{"anna"});

  center.post(kDidGrow);
  EXPECT_EQ(calls, (Calls{"anna", "anna", "bert"}));
}

TEST_F(NSNotificationCenterTest, SkipsAnObserverThatAnEarlierOneDestroys) {
  const auto anna = gardener("anna");
  auto bert = gardener("bert");
  center.addObserver(anna, kSelector, kDidGrow);
  center.addObserver(bert, kSelector, kDidGrow);
  anna->then = [&](const NSNotification&) { bert = nullptr; };

  center.post(kDidGrow);

  EXPECT_EQ(calls, Calls{"anna"});
}

TEST_F(NSNotificationCenterTest, LetsHandlersRemove) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);
  anna->then = [&](const NSNotification&) { center.removeObserver(*anna); };

  center.post(kDidGrow);
  center.post(kDidGrow);

  EXPECT_EQ(calls, Calls{"anna"});
}

TEST_F(NSNotificationCenterTest, CallsABlockAsLongAsItsTokenIsHeld) {
  auto token = center.addObserver(kDidGrow, nullptr,
                                  [&](const NSNotification&) { calls.push_back("block"); });

  center.post(kDidGrow);
  token = nullptr;
  center.post(kDidGrow);

  EXPECT_EQ(calls, Calls{"block"});
}

TEST_F(NSNotificationCenterTest, RemovesABlockByItsToken) {
  const auto token = center.addObserver(kDidGrow, nullptr,
                                        [&](const NSNotification&) { calls.push_back("block"); });

  center.removeObserver(*token);
  center.post(kDidGrow);

  EXPECT_TRUE(calls.empty());
}

TEST_F(NSNotificationCenterTest, RemovesAllRegistrationsOfOneObserverAndNoOthers) {
  const auto anna = gardener("anna");
  const auto bert = gardener("bert");
  center.addObserver(anna, kSelector, kDidGrow);
  center.addObserver(bert, kSelector, kDidGrow);
  center.addObserver(anna, kSelector, kDidWither);

  center.removeObserver(*anna);
  center.post(kDidGrow);
  center.post(kDidWither);

  EXPECT_EQ(calls, Calls{"bert"});
}

TEST_F(NSNotificationCenterTest, RemovesTheRegistrationsForOneName) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);
  center.addObserver(anna, kSelector, kDidWither);

  center.removeObserver(*anna, kDidGrow);

  EXPECT_FALSE(center.hasObservers(kDidGrow));
  EXPECT_TRUE(center.hasObservers(kDidWither));
}

TEST_F(NSNotificationCenterTest, RemovesTheRegistrationForOneObject) {
  const auto anna = gardener("anna");
  const auto rose = make<Plant>();
  const auto lily = make<Plant>();
  center.addObserver(anna, kSelector, kDidGrow, rose);
  center.addObserver(anna, kSelector, kDidGrow, lily);

  center.removeObserver(*anna, kDidGrow, rose);
  center.post(kDidGrow, rose);
  EXPECT_TRUE(calls.empty());

  center.post(kDidGrow, lily);
  EXPECT_EQ(calls, Calls{"anna"});
}

TEST_F(NSNotificationCenterTest, KnowsWhetherAnybodyListensForAName) {
  EXPECT_FALSE(center.hasObservers(kDidGrow));
  const auto anna = gardener("anna");

  center.addObserver(anna, kSelector, kDidGrow);

  EXPECT_TRUE(center.hasObservers(kDidGrow));
  EXPECT_FALSE(center.hasObservers(kDidWither));
}

TEST_F(NSNotificationCenterTest, KnowsWhoListensAmongManyNames) {
  constexpr int kNames = 200;
  const auto anna = gardener("anna");
  const auto name = [](int number) {
    return NSNotificationName::named("Garden.bed" + std::to_string(number));
  };
  for (int number = 0; number < kNames; ++number) {
    center.addObserver(anna, kSelector, name(number));
  }

  for (int number = 0; number < kNames; number += 2) center.removeObserver(*anna, name(number));

  for (int number = 0; number < kNames; ++number) {
    EXPECT_EQ(center.hasObservers(name(number)), number % 2 != 0) << number;
  }
}

TEST_F(NSNotificationCenterTest, LetsAnExceptionOfAHandlerReachThePoster) {
  const auto anna = gardener("anna");
  center.addObserver(anna, kSelector, kDidGrow);
  anna->then = [](const NSNotification&) { throw std::runtime_error("a worm"); };

  EXPECT_THROW(center.post(kDidGrow), std::runtime_error);

  anna->then = nullptr;
  center.post(kDidGrow);
  EXPECT_EQ(calls, (Calls{"anna", "anna"}));
}

TEST_F(NSNotificationCenterTest, ShowsTheTextOfTheSelector) {
  const auto anna = gardener("anna");

  center.addObserver(anna, kSelector, kDidGrow);

  EXPECT_EQ(center.debugDescription(), "Garden.didGrow -> didGrow:\n");
}

TEST_F(NSNotificationCenterTest, IsOneForTheProcessByDefault) {
  const auto anna = gardener("anna");
  NSNotificationCenter::defaultCenter().addObserver(anna, kSelector, kDidGrow);

  NSNotificationCenter::defaultCenter().post(kDidGrow);
  center.post(kDidGrow);

  EXPECT_EQ(calls, Calls{"anna"});
}

TEST(NSNotificationCenter, ServesPostersAndRegistrationsOfManyThreadsAtOnce) {
  NSNotificationCenter center;
  std::atomic<int> heard = 0;
  constexpr int kRounds = 300;
  const auto listener =
      center.addObserver(kDidGrow, nullptr, [&](const NSNotification&) { ++heard; });

  const auto post = [&] {
    for (int round = 0; round < kRounds; ++round) center.post(kDidGrow);
  };
  const auto comeAndGo = [&] {
    for (int round = 0; round < kRounds; ++round) {
      const auto passing = center.addObserver(kDidGrow, nullptr, [](const NSNotification&) {});
      if (round % 2 == 0) center.removeObserver(*passing);
    }
  };
  std::vector<std::jthread> threads;
  for (int pair = 0; pair < 2; ++pair) {
    threads.emplace_back(post);
    threads.emplace_back(comeAndGo);
  }
  threads.clear();

  EXPECT_EQ(heard, 2 * kRounds);
}

}  // namespace
}  // namespace foundation
