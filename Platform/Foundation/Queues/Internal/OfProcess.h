#pragma once

#include <pthread.h>

#include <atomic>

namespace foundation {

/// The one `T` of this process. It lives to the end of the process, static destructors included.
///
/// A forked child has one of its own, made when it is first asked for: the threads that served its
/// parent's have not come along, and what its parent's holds is for its parent to do.
///
/// Threading: any thread.
template <typename T>
class OfProcess {
 public:
  [[nodiscard]] static T& get() {
    T* const known = current_.load(std::memory_order_acquire);
    return known != nullptr ? *known : make();
  }

 private:
  static T& make() {
    // Can only fail for want of memory; then a child would have its parent's.
    static const int registered = ::pthread_atfork(nullptr, nullptr, leave);
    static_cast<void>(registered);
    T* made = new T;
    T* before = nullptr;
    if (current_.compare_exchange_strong(before, made, std::memory_order_acq_rel)) return *made;
    delete made;
    return *before;
  }
  /// In the child. What is left may be locked, and is kept only to be found by leak checkers.
  static void leave() noexcept { left_ = current_.exchange(nullptr, std::memory_order_relaxed); }

  static inline std::atomic<T*> current_{nullptr};
  static inline T* left_ = nullptr;
};

}  // namespace foundation
