#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "Foundation/Internal/TestPoint.h"

namespace support {

/// Runs several works that would run side by side so that only one of them moves at a time: at each
/// point where it stops, a choice says who goes on. The same choices make the same order of things.
///
/// Threads that a work sets going belong to it from `passBegins` to `passEnds`, if it waits for
/// them by `awaitPass`; no other may do anything that matters.
///
/// Threading: made, filled and run on one thread; one at a time. The works call `awaitPass` and
/// `waits`.
class Interleaving final : private foundation::TestPointObserver {
 public:
  /// Of `count` that could go on, counted from 0, the one that does.
  using Choice = std::function<std::size_t(std::size_t count)>;

  /// Works stop at these points, and run past all others.
  explicit Interleaving(std::span<const foundation::TestPoint> stops);
  ~Interleaving() override;
  Interleaving(const Interleaving&) = delete;
  Interleaving& operator=(const Interleaving&) = delete;

  void add(std::string name, std::function<void()> work);
  /// While nobody moves, after each stop and each end.
  void lookAfterSteps(std::function<void()> look) { look_ = std::move(look); }

  /// Runs all works to their ends, and throws what one of them threw. A process in which none can
  /// go on is ended, with the story.
  void run(const Choice& choose);

  /// By a work: sets a pass going and returns when it has ended.
  void awaitPass(const std::function<void()>& start);
  /// By a work: a stop that is no point of the product's.
  void pause();
  /// By a work that waits for a lock: it goes on after somebody else did.
  void waits();

  /// Who went on from where, in the order in which they did.
  [[nodiscard]] std::string story() const;
  [[nodiscard]] std::size_t numberOfWaits() const noexcept { return waits_; }

 private:
  struct Actor;

  void reached(foundation::TestPoint point) noexcept override;
  void live(Actor& actor);
  void stop(Actor& actor, bool isWaiting);
  void letOn(Actor& actor);
  [[nodiscard]] std::vector<Actor*> candidates();
  [[noreturn]] void giveUp(const char* why) const;

  std::uint32_t stops_ = 0;
  foundation::TestPointObserver* previous_;
  std::function<void()> look_;
  std::vector<std::unique_ptr<Actor>> actors_;
  std::mutex mutex_;
  std::condition_variable changed_;
  Actor* moving_ = nullptr;
  std::size_t steps_ = 0;
  std::size_t waits_ = 0;
  std::size_t barren_ = 0;
  std::vector<std::string> story_;
};

}  // namespace support
