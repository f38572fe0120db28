#include "Combine/AnyCancellable.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Combine/PassthroughSubject.h"

namespace combine {
namespace {

static_assert(!std::is_copy_constructible_v<AnyCancellable>);
static_assert(std::is_nothrow_move_constructible_v<AnyCancellable>);

class AnyCancellableTest : public testing::Test {
 protected:
  /// A subscription that adds what it receives to `received`.
  AnyCancellable subscribed() {
    return subject->sink([this](const int& value) { received.push_back(value); });
  }

  foundation::Ref<PassthroughSubject<int>> subject = foundation::make<PassthroughSubject<int>>();
  std::vector<int> received;
};

TEST_F(AnyCancellableTest, EndsTheSubscriptionWhenItIsDestroyed) {
  {
    const AnyCancellable token = subscribed();
    subject->send(1);
  }

  subject->send(2);

  EXPECT_EQ(received, std::vector{1});
}

TEST_F(AnyCancellableTest, EndsTheSubscriptionWhenItIsCancelledOnceOrTwice) {
  AnyCancellable token = subscribed();

  token.cancel();
  token.cancel();
  subject->send(1);

  EXPECT_TRUE(received.empty());
}

TEST_F(AnyCancellableTest, DoesNothingWhileItIsEmpty) {
  AnyCancellable empty;

  empty.cancel();

  EXPECT_EQ(empty, AnyCancellable());
}

TEST_F(AnyCancellableTest, HandsTheSubscriptionOnWhenItIsMoved) {
  std::optional<AnyCancellable> first(subscribed());

  const AnyCancellable second = std::move(*first);
  first.reset();
  subject->send(1);

  EXPECT_EQ(received, std::vector{1});
}

TEST_F(AnyCancellableTest, EndsWhatItHeldWhenAnotherIsMovedIn) {
  AnyCancellable token = subscribed();
  std::vector<int> others;
  AnyCancellable other = subject->sink([&](const int& value) { others.push_back(value); });

  token = std::move(other);
  subject->send(1);

  EXPECT_TRUE(received.empty());
  EXPECT_EQ(others, std::vector{1});
}

TEST_F(AnyCancellableTest, KeepsItsSubscriptionWhenItIsMovedToItself) {
  AnyCancellable token = subscribed();
  AnyCancellable& same = token;

  token = std::move(same);
  subject->send(1);

  EXPECT_EQ(received, std::vector{1});
}

TEST_F(AnyCancellableTest, IsKeptAmongTheTokensOfAReceiver) {
  std::vector<AnyCancellable> tokens;
  subscribed().storeIn(tokens);
  subscribed().storeIn(tokens);
  subject->send(1);

  tokens.clear();
  subject->send(2);

  EXPECT_EQ(received, (std::vector{1, 1}));
}

TEST_F(AnyCancellableTest, DiffersFromEveryOtherInASet) {
  std::unordered_set<AnyCancellable> tokens;
  tokens.insert(subscribed());
  tokens.insert(subscribed());
  subject->send(1);
  EXPECT_EQ(tokens.size(), 2U);

  tokens.clear();
  subject->send(2);

  EXPECT_EQ(received, (std::vector{1, 1}));
}

TEST_F(AnyCancellableTest, LetsTheClosureGoWhenItEnds) {
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = captured;
  AnyCancellable token = subject->sink([captured](const int&) {});
  captured.reset();
  ASSERT_FALSE(watched.expired());

  token.cancel();

  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace combine
