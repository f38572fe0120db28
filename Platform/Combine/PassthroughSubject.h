#pragma once

#include <functional>
#include <utility>

#include "Combine/AnyCancellable.h"
#include "Combine/Internal/SubscriptionList.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"

namespace combine {

/// A stream of values that somebody sends and whoever has subscribed receives. It keeps nothing:
/// who subscribes later does not learn what was sent before. It never fails and never completes.
///
/// - `send` calls the receivers one after the other, in the order in which they subscribed, on the
///   sender's thread, and returns when all have returned. An exception that a receiver throws
///   leaves `send`, and those behind it are not called.
/// - Receivers may send, subscribe, cancel and destroy as they like, the subject included: no lock
///   is held during a call. Who subscribes during a send is not called for it; who is cancelled
///   during one, by a receiver before it, is not called any more.
/// - The subject and the tokens of its subscriptions do not keep each other alive.
///
/// Threading: safe on any thread. A receiver may be called on any thread that sends, on several at
/// once if several send.
template <typename Output>
class PassthroughSubject final : public foundation::Object {
 public:
  using Receiver = std::function<void(const Output&)>;

  PassthroughSubject() = default;

  void send(const Output& value) {
    subscriptions_.forEach(
        [&](Subscription& subscription) { static_cast<const Sink&>(subscription).receive(value); });
  }

  /// Calls `receive` with every value sent from now on, as long as somebody holds the token.
  [[nodiscard]] AnyCancellable sink(Receiver receive) {
    auto sink = foundation::make<Sink>(std::move(receive));
    subscriptions_.add(sink);
    return AnyCancellable(std::move(sink));
  }

 private:
  class Sink final : public Subscription {
   public:
    explicit Sink(Receiver receive) : receive_(std::move(receive)) {}

    void receive(const Output& value) const { receive_(value); }

   private:
    Receiver receive_;
  };

  SubscriptionList subscriptions_;
};

}  // namespace combine
