#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "Combine/Internal/SubscriptionList.h"
#include "Foundation/Values/Ref.h"

namespace combine {

/// The token of a subscription: whoever holds it receives, and the subscription ends when it is
/// cancelled or destroyed. One that was made from nothing, or moved away, is empty.
///
/// - Cancelling is allowed inside a receive, one's own included. Once it has returned, its thread
///   calls the closure no more; a call that another thread is in may finish.
/// - The closure goes when the subscription has ended and the last call is over, on the thread that
///   comes last.
/// - Two tokens are equal when they stand for the same subscription, so only if both are empty: a
///   set of any kind can hold them.
///
/// Threading: a token belongs to one thread at a time; tokens of one subject may be cancelled on
/// any threads.
class AnyCancellable {
 public:
  AnyCancellable() noexcept = default;
  explicit AnyCancellable(foundation::Ref<Subscription> subscription) noexcept
      : subscription_(std::move(subscription)) {}
  AnyCancellable(AnyCancellable&& other) noexcept = default;
  AnyCancellable& operator=(AnyCancellable&& other) noexcept {
    AnyCancellable replaced(std::exchange(subscription_, std::move(other).taken()));
    return *this;
  }
  ~AnyCancellable() { cancel(); }

  /// Ends the subscription, if it has not ended. Leaves the token empty.
  void cancel() noexcept {
    if (const auto ended = std::move(*this).taken()) ended->cancel();
  }
  /// Moves the token to those that a receiver keeps for its life.
  void storeIn(std::vector<AnyCancellable>& set) && { set.push_back(std::move(*this)); }

  friend bool operator==(const AnyCancellable&, const AnyCancellable&) noexcept = default;

 private:
  friend struct std::hash<AnyCancellable>;

  [[nodiscard]] foundation::Ref<Subscription> taken() && noexcept {
    return std::exchange(subscription_, nullptr);
  }

  foundation::Ref<Subscription> subscription_;
};

}  // namespace combine

template <>
struct std::hash<combine::AnyCancellable> {
  std::size_t operator()(const combine::AnyCancellable& token) const noexcept {
    return std::hash<foundation::Ref<combine::Subscription>>{}(token.subscription_);
  }
};
