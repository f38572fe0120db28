#include "Combine/Internal/SubscriptionList.h"

#include <mutex>
#include <utility>
#include <vector>

namespace combine {

using foundation::Ref;

namespace {

/// Replaced as a whole by every change, so that a visit walks through what it took at its start.
using Subscriptions = std::vector<Ref<Subscription>>;
using SharedSubscriptions = std::shared_ptr<const Subscriptions>;

Subscriptions with(const Subscriptions& subscriptions, const Ref<Subscription>& added) {
  Subscriptions next;
  next.reserve(subscriptions.size() + 1);
  next = subscriptions;
  next.push_back(added);
  return next;
}

Subscriptions without(const Subscriptions& subscriptions, const Subscription* removed) {
  Subscriptions next;
  next.reserve(subscriptions.size());
  for (const Ref<Subscription>& subscription : subscriptions) {
    if (subscription.get() != removed) next.push_back(subscription);
  }
  return next;
}

}  // namespace

struct Subscription::Places {
  std::mutex mutex;
  // Guarded by mutex.
  SharedSubscriptions current = std::make_shared<const Subscriptions>();

  [[nodiscard]] SharedSubscriptions taken() {
    const std::scoped_lock guard(mutex);
    return current;
  }

  /// What is replaced may hold the last handles to closures, and what those captured may do
  /// anything: it goes after the lock.
  template <typename Change>
  void replace(Change change) {
    SharedSubscriptions replaced;
    const std::scoped_lock guard(mutex);
    replaced = std::exchange(
        current, std::make_shared<const Subscriptions>(change(std::as_const(*current))));
  }
};

void Subscription::cancel() noexcept {
  if (isCancelled_.exchange(true, std::memory_order_acq_rel)) return;
  if (const auto places = places_.lock()) {
    places->replace([this](const Subscriptions& current) { return without(current, this); });
  }
}

SubscriptionList::SubscriptionList() : places_(std::make_shared<Places>()) {}

void SubscriptionList::add(const Ref<Subscription>& subscription) {
  subscription->places_ = places_;
  places_->replace([&](const Subscriptions& current) { return with(current, subscription); });
}

void SubscriptionList::forEach(foundation::FunctionRef<void(Subscription&)> visit) const {
  const SharedSubscriptions taken = places_->taken();
  for (const Ref<Subscription>& subscription : *taken) {
    if (!subscription->isCancelled()) visit(*subscription);
  }
}

}  // namespace combine
