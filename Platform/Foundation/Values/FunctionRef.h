#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace foundation {

template <typename Signature>
class FunctionRef;

/// A callable that is lent for the time of a call: two words, never an allocation. It must not be
/// kept beyond the call that received it.
template <typename Result, typename... Arguments>
class FunctionRef<Result(Arguments...)> {
 public:
  template <typename F>
  requires(!std::same_as<std::remove_cvref_t<F>, FunctionRef> &&
           std::is_invocable_r_v<Result, F&, Arguments...>)
      // NOLINTNEXTLINE(google-explicit-constructor): a lambda becomes one when it is passed
      FunctionRef(F&& callable)
  noexcept
      : callable_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
        call_([](void* target, Arguments... arguments) -> Result {
          return std::invoke(*static_cast<std::remove_reference_t<F>*>(target),
                             std::forward<Arguments>(arguments)...);
        }) {}

  Result operator()(Arguments... arguments) const {
    return call_(callable_, std::forward<Arguments>(arguments)...);
  }

 private:
  void* callable_;
  Result (*call_)(void*, Arguments...);
};

}  // namespace foundation
