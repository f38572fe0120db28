#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <string>

#include "Foundation/Notifications/NSNotification.h"

namespace foundation {

/// A handler registered by name: the text that people see, and the member function that is called.
/// The text is a literal.
template <typename T>
struct Selector {
  const char* text;
  void (T::*method)(const NSNotification&);
};

/// Tells those who registered what happened, without the two sides knowing each other.
///
/// - `post` calls the receivers one after the other, in the order in which they registered, on the
///   posting thread, and returns when all have returned. An exception that a receiver throws leaves
///   `post`, and those behind it are not called.
/// - Registering twice means being called twice.
/// - Observers and the objects that registrations are limited to are held weakly: a registration
/// ends
///   by itself when one of them dies. An observer is kept alive while it is being called.
/// - Handlers may post, register, remove and destroy as they like: no lock is held during a call.
/// Who
///   registers during a post is not called for it; who is removed during one may still be called.
///
/// Threading: safe on any thread. An observer may be called on any thread that posts.
class NSNotificationCenter {
 public:
  using Handler = std::function<void(const NSNotification&)>;

  NSNotificationCenter();
  NSNotificationCenter(const NSNotificationCenter&) = delete;
  NSNotificationCenter& operator=(const NSNotificationCenter&) = delete;
  ~NSNotificationCenter();

  /// The process's center. Lives to the end of the process, static destructors included.
  [[nodiscard]] static NSNotificationCenter& defaultCenter();

  /// Calls the selector's method on `observer` whenever `name` is posted, for any object, or for
  /// `object` alone when one is given.
  template <typename Observer, typename T>
  requires std::derived_from<Observer, T> && std::derived_from<T, Object>
  void addObserver(const Ref<Observer>& observer, Selector<T> selector,
                   const NSNotificationName& name, const Ref<Object>& object = nullptr) {
    add(observer.get(), selector.text, name, object.get(),
        [method = selector.method](Object& receiver, const NSNotification& notification) {
          (static_cast<T&>(receiver).*method)(notification);
        });
  }
  /// Calls `handler` whenever `name` is posted, as long as somebody holds the token that is
  /// returned. Dropping the token ends the registration, and so does `removeObserver` with it.
  [[nodiscard]] Ref<Object> addObserver(const NSNotificationName& name, const Ref<Object>& object,
                                        Handler handler);

  /// Ends all registrations of an observer. It may call this in its destructor, but need not.
  void removeObserver(const Object& observer);
  /// Ends those registrations of an observer that are for `name`, and, when an object is given, are
  /// limited to it.
  void removeObserver(const Object& observer, const NSNotificationName& name,
                      const Ref<Object>& object = nullptr);

  void post(const NSNotification& notification);
  void post(const NSNotificationName& name, Ref<Object> object = nullptr,
            NSNotification::UserInfo userInfo = nullptr) {
    post(NSNotification(name, std::move(object), std::move(userInfo)));
  }
  /// Whether anybody may be listening for `name`: a poster asks before it builds costly user info.
  /// True may be wrong for observers that have just died, false only for those that register now.
  [[nodiscard]] bool hasObservers(const NSNotificationName& name) const noexcept;

  /// One line a registration, for people: the name and the selector.
  [[nodiscard]] std::string debugDescription() const;

 private:
  struct State;
  using Call = std::function<void(Object&, const NSNotification&)>;

  void add(const Object* observer, const char* selector, const NSNotificationName& name,
           const Object* object, Call call);

  std::unique_ptr<State> state_;
};

}  // namespace foundation
