#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Foundation/Values/Internal/WeakCells.h"
#include "Foundation/Values/Ref.h"

namespace foundation {

class Value;

/// The root of everything that has identity: counted from 1 at birth, destroyed when the last
/// handle goes.
///
/// Threading: counting is safe on any thread; the destructor runs on the thread that dropped the
/// last handle. All else is the subclass's to say.
class Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  void retain() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept {
    if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) lastReferenceDropped();
  }
  /// Shares the object unless its last handle is already gone. Zero is final: an object whose count
  /// reached it is being destroyed, and reviving it would destroy it twice.
  [[nodiscard]] bool retainIfAlive() const noexcept;

  /// Whether the caller's handle is the only way to the object: no other handle, strong or weak.
  [[nodiscard]] bool isHeldOnce() const noexcept {
    return count_.load(std::memory_order_acquire) == 1 &&
           !isWeaklyHeld_.load(std::memory_order_relaxed);
  }

  /// Equal values; identity unless a subclass says otherwise.
  [[nodiscard]] virtual bool isEqual(const Object& other) const noexcept;
  [[nodiscard]] virtual std::size_t hash() const noexcept;
  /// A text for people and logs.
  [[nodiscard]] virtual std::string description() const;

  /// Key-value access: the value of the property named `key`.
  /// Throws `Error` of domain `NSCocoaErrorDomain` for a key that the object does not have.
  [[nodiscard]] virtual Value valueForKey(std::string_view key) const;

 protected:
  Object() noexcept = default;
  virtual ~Object() {
    if (isWeaklyHeld_.load(std::memory_order_relaxed)) clearWeakCell(this);
  }

 private:
  friend class WeakHandle;

  /// What the last release does; a subclass that must leave a registry first overrides it.
  virtual void lastReferenceDropped() const noexcept;

  mutable std::atomic<std::uint32_t> count_{1};
  mutable std::atomic<bool> isWeaklyHeld_{false};
};

}  // namespace foundation
