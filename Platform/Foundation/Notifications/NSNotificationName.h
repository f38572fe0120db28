#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace foundation {

/// The name of a kind of notification. Two names are equal when their texts are, wherever they were
/// declared; the text's hash is part of the name, so that looking one up reads no text.
///
/// A constant made from a literal is initialised by the compiler and may be used before `main` and
/// after it. A library adds its own names under a type that derives from this one:
///
///     struct GardenNotificationName : NSNotificationName {
///       static constexpr NSNotificationName GardenDidGrow{"Garden.didGrow"};
///     };
class NSNotificationName {
 public:
  /// Names a literal, whose storage is used as it is.
  template <std::size_t n>
  explicit consteval NSNotificationName(const char (&text)[n])
      : text_(text, n - 1), hash_(hashOf(text_)) {}

  /// The name with a text that is known at run time only. Each different text is kept for the life
  /// of the process. Safe on any thread.
  [[nodiscard]] static NSNotificationName named(std::string_view text);

  /// Valid for the life of the process.
  [[nodiscard]] constexpr std::string_view text() const noexcept { return text_; }
  [[nodiscard]] constexpr std::size_t hash() const noexcept { return hash_; }

  friend constexpr bool operator==(const NSNotificationName& a,
                                   const NSNotificationName& b) noexcept {
    return a.hash_ == b.hash_ && a.text_ == b.text_;
  }

 protected:
  /// For types that only hold names and are never made.
  NSNotificationName() = default;

 private:
  explicit NSNotificationName(std::string_view kept) : text_(kept), hash_(hashOf(kept)) {}

  static constexpr std::size_t hashOf(std::string_view text) noexcept {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char character : text) {
      hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3;
    }
    return static_cast<std::size_t>(hash);
  }

  std::string_view text_;
  std::size_t hash_ = 0;
};

}  // namespace foundation

template <>
struct std::hash<foundation::NSNotificationName> {
  std::size_t operator()(const foundation::NSNotificationName& name) const noexcept {
    return name.hash();
  }
};
