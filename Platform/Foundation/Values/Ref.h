#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

namespace foundation {

/// A counted, nullable handle to a shared object: the one way in which objects, contexts,
/// containers and other things with identity are held.
///
/// Two handles are equal when they hold the same object; the hash follows identity. Copying costs
/// one atomic increment, moving nothing.
///
/// Threading: a handle itself is like a pointer and belongs to one thread at a time; the object's
/// count is atomic, so handles to one object may be copied and dropped on any threads.
template <typename T>
class Ref {
 public:
  constexpr Ref() noexcept = default;
  // NOLINTNEXTLINE(google-explicit-constructor): a handle is nullable
  constexpr Ref(std::nullptr_t) noexcept {}
  /// Shares an object that is already counted.
  explicit Ref(T* object) noexcept : object_(object) {
    if (object_ != nullptr) object_->retain();
  }
  Ref(const Ref& other) noexcept : Ref(other.object_) {}
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  // NOLINTBEGIN(google-explicit-constructor): a handle to an object is one to what it derives from
  template <typename U>
  requires std::convertible_to<U*, T*> Ref(const Ref<U>& other)
  noexcept : Ref(other.get()) {}
  template <typename U>
  requires std::convertible_to<U*, T*> Ref(Ref<U>&& other)
  noexcept : object_(other.leak()) {}
  // NOLINTEND(google-explicit-constructor)
  ~Ref() {
    if (object_ != nullptr) object_->release();
  }

  /// Takes the new object before it lets the old one go, so that assigning a handle to itself, or
  /// to one that only the old object held, is safe.
  Ref& operator=(Ref other) noexcept {
    swap(other);
    return *this;
  }

  /// Takes over a count that the caller already owns.
  [[nodiscard]] static Ref adopt(T* object) noexcept {
    Ref result;
    result.object_ = object;
    return result;
  }

  [[nodiscard]] T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  /// Gives the count up to the caller and leaves the handle empty.
  [[nodiscard]] T* leak() noexcept { return std::exchange(object_, nullptr); }
  void swap(Ref& other) noexcept { std::swap(object_, other.object_); }

  friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.object_ == b.object_; }
  friend bool operator==(const Ref& a, std::nullptr_t) noexcept { return a.object_ == nullptr; }

 private:
  T* object_ = nullptr;
};

/// Makes a new object and returns the first handle to it.
template <typename T, typename... Arguments>
[[nodiscard]] Ref<T> make(Arguments&&... arguments) {
  return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

/// The handle as another class, or none when the object is not of it.
template <typename U, typename T>
[[nodiscard]] Ref<U> as(const Ref<T>& object) noexcept {
  return Ref<U>(dynamic_cast<U*>(object.get()));
}

}  // namespace foundation

template <typename T>
struct std::hash<foundation::Ref<T>> {
  std::size_t operator()(const foundation::Ref<T>& object) const noexcept {
    return std::hash<T*>{}(object.get());
  }
};
