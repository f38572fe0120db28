#pragma once

#include <atomic>
#include <memory>

#include "Foundation/Values/FunctionRef.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"

namespace combine {

/// One receiver's place in a subject, from its subscription to its cancellation. It holds the
/// receiver's closure, so whoever is in the middle of a call holds it, too.
class Subscription : public foundation::Object {
 public:
  /// Gives the place up; again does nothing. Whoever looks at `isCancelled` afterwards calls the
  /// closure no more.
  void cancel() noexcept;
  [[nodiscard]] bool isCancelled() const noexcept {
    return isCancelled_.load(std::memory_order_acquire);
  }

 protected:
  Subscription() = default;

 private:
  friend class SubscriptionList;
  struct Places;

  std::atomic<bool> isCancelled_{false};
  /// The list may go before those who stand in it.
  std::weak_ptr<Places> places_;
};

/// The subscriptions of one subject, in their order.
///
/// Threading: safe on any thread.
class SubscriptionList {
 public:
  SubscriptionList();

  /// Adds a subscription that stands in no list yet.
  void add(const foundation::Ref<Subscription>& subscription);
  /// Visits those that stood in the list when the call began, leaving out the ones cancelled since.
  /// Nothing is locked meanwhile, and the list itself may go.
  void forEach(foundation::FunctionRef<void(Subscription&)> visit) const;

 private:
  using Places = Subscription::Places;

  std::shared_ptr<Places> places_;
};

}  // namespace combine
