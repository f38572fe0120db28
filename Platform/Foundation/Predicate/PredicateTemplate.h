#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <utility>

#include "Foundation/Predicate/NSPredicate.h"

namespace foundation {

/// A format that is written once at its call site and read once in the process: binding afterwards
/// neither parses nor looks anything up.
///
/// ```
/// static constinit PredicateTemplate kOfActivityAndDay{"activity = %@ AND date = %@"};
/// request.setPredicate(kOfActivityAndDay.bind(activity, dayKey));
/// ```
///
/// Make it a static: the shape it finds stays for the life of the process. A template takes no
/// `%K`.
///
/// Threading: use it on any thread.
class PredicateTemplate {
 public:
  /// Reads nothing yet, so that a template costs nothing before it is used.
  constexpr explicit PredicateTemplate(const char* format) noexcept : format_(format) {}
  PredicateTemplate(const PredicateTemplate&) = delete;
  PredicateTemplate& operator=(const PredicateTemplate&) = delete;

  /// Throws `Error` for a wrong number or kind of arguments, and the first time for bad syntax.
  template <typename... Arguments>
  [[nodiscard]] NSPredicate bind(Arguments&&... arguments) const {
    std::array<Value, sizeof...(Arguments)> values{
        predicateArgument(std::forward<Arguments>(arguments))...};
    return NSPredicate(shape(), values);
  }

  /// Throws `Error` for bad syntax.
  [[nodiscard]] const std::shared_ptr<const PredicateShape>& shape() const {
    const Kept* kept = kept_.load(std::memory_order_acquire);
    return kept != nullptr ? kept->lent : read();
  }

 private:
  using Handle = std::shared_ptr<const PredicateShape>;
  /// Never destroyed. What is lent of it counts nobody, so that predicates cost no count.
  struct Kept {
    explicit Kept(Handle own) : shape(std::move(own)), lent(Handle(), shape.get()) {}
    Handle shape;
    Handle lent;
  };

  [[nodiscard]] const Handle& read() const;

  const char* format_;
  mutable std::atomic<const Kept*> kept_{nullptr};
};

}  // namespace foundation
