#pragma once

#include <concepts>
#include <utility>

#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"

namespace foundation {

/// What weak handles to one object share. Made when the object is first held weakly; an object that
/// never is pays a flag test in its destructor and nothing else.
class WeakCell;

/// A weak handle to an object of any class: does not keep it alive, and knows when it is gone.
///
/// It never mistakes a later object at the same address for its own.
///
/// Threading: a handle belongs to one thread at a time; handles to one object may be used, copied
/// and dropped on any threads while the object lives or dies on another.
class WeakHandle {
 public:
  /// Refers to nothing.
  WeakHandle() noexcept = default;
  /// Refers to an object that the caller keeps alive during the call; null refers to nothing.
  explicit WeakHandle(const Object* object);
  WeakHandle(const WeakHandle& other) noexcept;
  WeakHandle(WeakHandle&& other) noexcept : cell_(std::exchange(other.cell_, nullptr)) {}
  WeakHandle& operator=(WeakHandle other) noexcept {
    std::swap(cell_, other.cell_);
    return *this;
  }
  ~WeakHandle();

  /// The object, kept alive by the result; empty once its last counted handle is gone, also while
  /// its destructor is still running.
  [[nodiscard]] Ref<Object> lock() const noexcept;
  /// Whether this is the object referred to, without taking a count: `object` must be alive.
  [[nodiscard]] bool refersTo(const Object* object) const noexcept;
  /// Whether the object is gone or there never was one. True stays true; false may be out of date
  /// at once, and is still the answer while the object is being destroyed.
  [[nodiscard]] bool expired() const noexcept;
  /// Whether the handle was made from an object at all, dead or alive.
  [[nodiscard]] bool isSet() const noexcept { return cell_ != nullptr; }

 private:
  WeakCell* cell_ = nullptr;
};

/// A weak handle that remembers the object's class.
template <typename T>
class WeakRef {
 public:
  WeakRef() noexcept = default;
  explicit WeakRef(T* object) : handle_(object) {}
  template <typename U>
  requires std::convertible_to<U*, T*>
  explicit WeakRef(const Ref<U>& object) : WeakRef(static_cast<T*>(object.get())) {}

  /// The object, kept alive by the result, or an empty handle when it is gone.
  [[nodiscard]] Ref<T> lock() const noexcept {
    return Ref<T>::adopt(static_cast<T*>(handle_.lock().leak()));
  }
  [[nodiscard]] bool expired() const noexcept { return handle_.expired(); }
  [[nodiscard]] bool refersTo(const T* object) const noexcept { return handle_.refersTo(object); }

 private:
  WeakHandle handle_;
};

}  // namespace foundation
