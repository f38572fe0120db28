#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Tests/CoreDataStack/History/Interplay.h"
#include "Tests/CoreDataStack/History/Silence.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/EnvironmentSetting.h"

// Two programs that observe and prune one history, and writers: every order of their larger steps,
// and random orders of their smallest ones. What fails prints how to repeat it.

namespace {

using foundation::TestPoint;
using support::Interleaving;

/// Where a pass can be divided without anybody waiting for anybody.
constexpr std::array<TestPoint, 3> kLargeSteps{TestPoint::afterFetch, TestPoint::cleanerDeletes,
                                               TestPoint::cleanerFetches};
/// How many of these a quick run stops at.
constexpr std::size_t kLargestSteps = 2;
constexpr std::array kSmallSteps{
    TestPoint::beforeStamp,    TestPoint::afterStamp,      TestPoint::beforeCommit,
    TestPoint::afterCommit,    TestPoint::passBegins,      TestPoint::beforeFetch,
    TestPoint::afterFetch,     TestPoint::beforeTimestamp, TestPoint::afterTimestamp,
    TestPoint::cleanerFetches, TestPoint::cleanerDeletes,  TestPoint::cleanerClears,
};

/// A walk through all sequences of choices, one after the other.
class AllChoices {
 public:
  /// The choices of the sequence as it is so far decide, then the first of what can go on.
  std::size_t operator()(std::size_t count) {
    if (at_ == taken_.size()) taken_.push_back({0, count});
    return taken_[at_++].index;
  }
  /// False after the last sequence.
  bool next() {
    taken_.resize(at_);
    at_ = 0;
    while (!taken_.empty() && ++taken_.back().index == taken_.back().count) taken_.pop_back();
    return !taken_.empty();
  }
  [[nodiscard]] std::string text() const {
    std::string digits;
    for (const Taken& one : taken_) digits += static_cast<char>('0' + one.index);
    return digits;
  }
  void follow(std::string_view digits) {
    for (const char digit : digits) taken_.push_back({static_cast<std::size_t>(digit - '0'), 0});
  }

 private:
  struct Taken {
    std::size_t index;
    std::size_t count;
  };

  std::vector<Taken> taken_;
  std::size_t at_ = 0;
};

class InterleavedObservers : public support::Interplay {
 protected:
  /// Two passes and two commits, and all that was promised.
  void play(AllChoices& choices) {
    const support::Silence silence;
    Interleaving interleaving(std::span<const TestPoint>(kLargeSteps)
                                  .first(support::tries(kLargestSteps, kLargeSteps.size())));
    begin(interleaving);
    interleaving.add("app", [&] { pass(interleaving, app_); });
    interleaving.add("extension", [&] { pass(interleaving, extension_); });
    interleaving.add("writer", [&] {
      commit(writers_[2]);
      interleaving.pause();
      commit(writers_[3]);
    });
    interleaving.run([&](std::size_t count) { return choices(count); });
    end("to repeat: INTERLEAVING=" + choices.text() +
        (support::tries(0, 1) == 1 ? " TEST_EFFORT=full" : "") +
        " InterleavedObserversTests --gtest_filter=InterleavedObservers.*EveryOrder\n" +
        interleaving.story());
  }

  /// Up to three passes and commits of each, and up to three commits of two others, in one of the
  /// orders of all the small steps.
  void play(std::uint64_t seed) {
    const support::Silence silence;
    std::mt19937_64 random(seed);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    Interleaving interleaving(kSmallSteps);
    begin(interleaving);
    for (std::size_t i = 0; i < writers_.size(); ++i) {
      Part* const part = i == 0 ? &app_ : i == 1 ? &extension_ : nullptr;
      std::vector<bool> passes(below(4));
      for (auto&& isPass : passes) isPass = part != nullptr && below(3) > 0;
      interleaving.add(writers_[i].author, [&, i, part, passes] {
        for (const bool isPass : passes) isPass ? pass(interleaving, *part) : commit(writers_[i]);
      });
    }
    interleaving.run([&](std::size_t count) {
      if (below(8) == 0) mergeViews();
      return below(count);
    });
    waits_ += interleaving.numberOfWaits();
    end("to repeat: INTERLEAVING_SEED=" + std::to_string(seed) +
        " InterleavedObserversTests --gtest_filter=InterleavedObservers.*RandomOrders\n" +
        interleaving.story());
  }

  std::size_t waits_ = 0;
};

TEST_F(InterleavedObservers, KeepTheirPromisesInEveryOrder) {
  AllChoices choices;
  const char* given = std::getenv("INTERLEAVING");
  if (given != nullptr) choices.follow(given);
  int orders = 0;
  do {
    play(choices);
    ++orders;
  } while (given == nullptr && !HasFailure() && choices.next());
  std::printf("%d orders\n", orders);
  if (given == nullptr && !HasFailure()) {
    EXPECT_GT(orders, 100);
  }
}

TEST_F(InterleavedObservers, KeepTheirPromisesInRandomOrders) {
  const char* given = std::getenv("INTERLEAVING_SEED");
  const std::uint64_t first =
      support::numberFrom("INTERLEAVING_SEED", support::runSeed(std::random_device()()));
  const std::uint64_t count = given != nullptr ? 1 : support::numberFrom("INTERLEAVINGS", 200);
  for (std::uint64_t i = 0; i < count && !HasFailure(); ++i) play(first + i);
  std::printf("%llu orders, waited %zu times\n", static_cast<unsigned long long>(count), waits_);
}

}  // namespace
