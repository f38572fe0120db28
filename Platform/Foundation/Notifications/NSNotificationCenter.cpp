#include "Foundation/Notifications/NSNotificationCenter.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Foundation/Values/WeakRef.h"

namespace foundation {

namespace {

struct Registration {
  WeakHandle observer;
  /// Not set when the registration is for any object.
  WeakHandle object;
  std::function<void(Object&, const NSNotification&)> call;
  const char* selector;

  [[nodiscard]] bool accepts(const Object* posted) const noexcept {
    return !object.isSet() || object.refersTo(posted);
  }
  [[nodiscard]] bool isOver() const noexcept {
    return observer.expired() || (object.isSet() && object.expired());
  }
};

/// Replaced as a whole by every change, so that a post walks through what it took at its start.
using Registrations = std::vector<Registration>;
using SharedRegistrations = std::shared_ptr<const Registrations>;

/// The observer of a block: it is the token, and dies with the last handle to it.
class BlockObserver final : public Object {
 public:
  explicit BlockObserver(NSNotificationCenter::Handler handler) : handler_(std::move(handler)) {}

  void receive(const NSNotification& notification) { handler_(notification); }

 private:
  NSNotificationCenter::Handler handler_;
};

template <typename Predicate>
SharedRegistrations without(const Registrations& registrations, Predicate&& ended) {
  Registrations kept;
  kept.reserve(registrations.size());
  for (const Registration& registration : registrations) {
    if (!registration.isOver() && !ended(registration)) kept.push_back(registration);
  }
  if (kept.empty()) return nullptr;
  return std::make_shared<const Registrations>(std::move(kept));
}

}  // namespace

struct NSNotificationCenter::State {
  mutable std::mutex mutex;
  /// Names without registrations have no entry.
  std::unordered_map<NSNotificationName, SharedRegistrations> byName;
  /// The marks of the names in `byName`; written with the mutex. Contexts ask at each of their
  /// turns whether somebody listens, and mostly nobody does.
  std::atomic<std::uint64_t> marks{0};

  [[nodiscard]] static std::uint64_t mark(const NSNotificationName& name) noexcept {
    constexpr std::size_t kMarks = 64;
    return std::uint64_t{1} << (name.hash() % kMarks);
  }

  /// With the mutex held.
  void erase(const NSNotificationName& name) noexcept {
    byName.erase(name);
    std::uint64_t left = 0;
    for (const auto& [other, registrations] : byName) left |= mark(other);
    marks.store(left, std::memory_order_relaxed);
  }

  [[nodiscard]] SharedRegistrations registrationsFor(const NSNotificationName& name) const {
    const std::scoped_lock guard(mutex);
    const auto found = byName.find(name);
    return found == byName.end() ? nullptr : found->second;
  }

  /// Drops what is over, and what `ended` says. What is replaced is freed outside the lock.
  template <typename Predicate>
  void remove(const NSNotificationName& name, Predicate&& ended) {
    SharedRegistrations replaced;
    const std::scoped_lock guard(mutex);
    const auto found = byName.find(name);
    if (found == byName.end()) return;
    replaced = std::exchange(found->second, without(*found->second, ended));
    if (found->second == nullptr) erase(name);
  }

  void removeThoseOver(const NSNotificationName& name) noexcept {
    try {
      remove(name, [](const Registration&) { return false; });
    } catch (const std::bad_alloc&) {
      // Everybody was told; the next post tidies up.
    }
  }
};

NSNotificationCenter::NSNotificationCenter() : state_(std::make_unique<State>()) {}

NSNotificationCenter::~NSNotificationCenter() = default;

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
  // Never destroyed: watcher threads may post while the process ends.
  static auto& center = *new NSNotificationCenter;
  return center;
}

void NSNotificationCenter::add(const Object* observer, const char* selector,
                               const NSNotificationName& name, const Object* object, Call call) {
  Registration added{WeakHandle(observer), WeakHandle(object), std::move(call), selector};
  SharedRegistrations replaced;
  const std::scoped_lock guard(state_->mutex);
  const auto found = state_->byName.find(name);
  auto next = std::make_shared<Registrations>();
  if (found != state_->byName.end()) {
    next->reserve(found->second->size() + 1);
    for (const Registration& registration : *found->second) {
      if (!registration.isOver()) next->push_back(registration);
    }
    replaced = found->second;
  }
  next->push_back(std::move(added));
  state_->byName.insert_or_assign(name, std::move(next));
  state_->marks.fetch_or(State::mark(name), std::memory_order_release);
}

Ref<Object> NSNotificationCenter::addObserver(const NSNotificationName& name,
                                              const Ref<Object>& object, Handler handler) {
  const auto observer = make<BlockObserver>(std::move(handler));
  addObserver(observer, Selector<BlockObserver>{"block", &BlockObserver::receive}, name, object);
  return observer;
}

void NSNotificationCenter::removeObserver(const Object& observer) {
  std::vector<NSNotificationName> names;
  {
    const std::scoped_lock guard(state_->mutex);
    for (const auto& [name, registrations] : state_->byName) names.push_back(name);
  }
  for (const NSNotificationName& name : names) removeObserver(observer, name);
}

void NSNotificationCenter::removeObserver(const Object& observer, const NSNotificationName& name,
                                          const Ref<Object>& object) {
  state_->remove(name, [&](const Registration& registration) {
    return registration.observer.refersTo(&observer) &&
           (object == nullptr || registration.object.refersTo(object.get()));
  });
}

void NSNotificationCenter::post(const NSNotification& notification) {
  const SharedRegistrations taken = state_->registrationsFor(notification.name());
  if (taken == nullptr) return;
  bool someAreOver = false;
  for (const Registration& registration : *taken) {
    if (!registration.accepts(notification.object().get())) {
      someAreOver = someAreOver || registration.isOver();
      continue;
    }
    if (const Ref<Object> observer = registration.observer.lock()) {
      registration.call(*observer, notification);
    } else {
      someAreOver = true;
    }
  }
  if (someAreOver) state_->removeThoseOver(notification.name());
}

bool NSNotificationCenter::hasObservers(const NSNotificationName& name) const noexcept {
  if ((state_->marks.load(std::memory_order_acquire) & State::mark(name)) == 0) return false;
  const std::scoped_lock guard(state_->mutex);
  return state_->byName.contains(name);
}

std::string NSNotificationCenter::debugDescription() const {
  std::string text;
  const std::scoped_lock guard(state_->mutex);
  for (const auto& [name, registrations] : state_->byName) {
    for (const Registration& registration : *registrations) {
      text.append(name.text()).append(" -> ").append(registration.selector).append("\n");
    }
  }
  return text;
}

}  // namespace foundation
