#include "Tests/Support/Interleaving.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace support {

using foundation::nameOf;
using foundation::TestPoint;

namespace {
/// Longer than any machine needs from one point to the next.
constexpr std::chrono::seconds kLimit{60};
/// Where nobody can do anything but wait, SQLite gives up after fewer turns.
constexpr std::size_t kMostBarrenTurns = 1000;

std::uint32_t bit(TestPoint point) noexcept {
  return std::uint32_t{1} << static_cast<unsigned>(point);
}
}  // namespace

struct Interleaving::Actor {
  /// Whose work the calling thread does.
  static inline thread_local Actor* ofThread = nullptr;

  std::string name;
  std::function<void()> work;
  std::thread thread;
  std::exception_ptr failure;
  TestPoint at = TestPoint::passBegins;
  bool hasBegun = false;
  bool hasEnded = false;
  bool isWaiting = false;
  bool isPassing = false;
  /// How many steps had been made when it last stopped.
  std::size_t stoppedAfter = 0;
};

Interleaving::Interleaving(std::span<const TestPoint> stops) : previous_(install(this)) {
  for (const TestPoint point : stops) stops_ |= bit(point);
}

Interleaving::~Interleaving() { install(previous_); }

void Interleaving::add(std::string name, std::function<void()> work) {
  auto actor = std::make_unique<Actor>();
  actor->name = std::move(name);
  actor->work = std::move(work);
  actors_.push_back(std::move(actor));
}

void Interleaving::run(const Choice& choose) {
  for (const auto& actor : actors_) {
    actor->thread = std::thread([this, &each = *actor] { live(each); });
  }
  for (std::vector<Actor*> able = candidates(); !able.empty(); able = candidates()) {
    letOn(*able[able.size() == 1 ? 0 : choose(able.size())]);
  }
  for (const auto& actor : actors_) actor->thread.join();
  for (const auto& actor : actors_) {
    if (actor->failure) std::rethrow_exception(actor->failure);
  }
}

std::vector<Interleaving::Actor*> Interleaving::candidates() {
  std::vector<Actor*> able;
  std::vector<Actor*> waiting;
  for (const auto& actor : actors_) {
    if (actor->hasEnded) continue;
    const bool isInVain = actor->isWaiting && actor->stoppedAfter == steps_;
    (isInVain ? waiting : able).push_back(actor.get());
  }
  if (!able.empty() || waiting.empty()) return able;
  if (++barren_ > kMostBarrenTurns) giveUp("everybody waits");
  return waiting;
}

void Interleaving::letOn(Actor& actor) {
  story_.push_back(actor.name + " from " +
                   (!actor.hasBegun   ? "the beginning"
                    : actor.isWaiting ? "waiting"
                                      : std::string(nameOf(actor.at))));
  actor.hasBegun = true;
  std::unique_lock lock(mutex_);
  moving_ = &actor;
  changed_.notify_all();
  if (!changed_.wait_for(lock, kLimit, [&] { return moving_ == nullptr; })) {
    giveUp("somebody does not come to the next point");
  }
  // Only who got somewhere may have let go of what others wait for.
  if (!actor.isWaiting) {
    ++steps_;
    barren_ = 0;
  }
  if (look_) look_();
}

void Interleaving::live(Actor& actor) {
  Actor::ofThread = &actor;
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return moving_ == &actor; });
  }
  try {
    actor.work();
  } catch (...) {
    actor.failure = std::current_exception();
  }
  const std::scoped_lock lock(mutex_);
  actor.hasEnded = true;
  actor.isWaiting = false;
  moving_ = nullptr;
  changed_.notify_all();
}

void Interleaving::reached(TestPoint point) noexcept {
  if (point == TestPoint::passBegins && Actor::ofThread == nullptr) {
    const std::scoped_lock lock(mutex_);
    if (moving_ != nullptr && moving_->isPassing) Actor::ofThread = moving_;
  }
  Actor* const actor = Actor::ofThread;
  if (actor == nullptr) return;
  if (point == TestPoint::passEnds) {
    Actor::ofThread = nullptr;
    const std::scoped_lock lock(mutex_);
    actor->isPassing = false;
    changed_.notify_all();
    return;
  }
  if ((stops_ & bit(point)) == 0) return;
  actor->at = point;
  stop(*actor, false);
}

void Interleaving::waits() {
  Actor* const actor = Actor::ofThread;
  if (actor != nullptr) stop(*actor, true);
}

void Interleaving::pause() { stop(*Actor::ofThread, false); }

void Interleaving::stop(Actor& actor, bool isWaiting) {
  std::unique_lock lock(mutex_);
  waits_ += isWaiting ? 1 : 0;
  actor.isWaiting = isWaiting;
  // This step is counted once it is over; a waiting one is not a step.
  actor.stoppedAfter = steps_;
  moving_ = nullptr;
  changed_.notify_all();
  changed_.wait(lock, [&] { return moving_ == &actor; });
}

void Interleaving::awaitPass(const std::function<void()>& start) {
  Actor& actor = *Actor::ofThread;
  {
    const std::scoped_lock lock(mutex_);
    actor.isPassing = true;
  }
  start();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return !actor.isPassing; });
}

std::string Interleaving::story() const {
  std::string text;
  for (const std::string& step : story_) text += "  " + step + '\n';
  return text;
}

void Interleaving::giveUp(const char* why) const {
  std::fprintf(stderr, "%s:\n%s", why, story().c_str());
  std::_Exit(EXIT_FAILURE);
}

}  // namespace support
