#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace coredatastack {

/// The processes that share a store, by the names under which each remembers how far it has merged
/// what the others wrote.
class AppTarget {
 public:
  static const AppTarget app;
  static const AppTarget shareExtension;

  /// In this order: `app`, `shareExtension`.
  [[nodiscard]] static std::span<const AppTarget> allCases() noexcept;
  /// The target of exactly that name; none for any other text.
  [[nodiscard]] static std::optional<AppTarget> withRawValue(std::string_view rawValue) noexcept;

  [[nodiscard]] constexpr std::string_view rawValue() const noexcept { return rawValue_; }

  friend constexpr bool operator==(const AppTarget&, const AppTarget&) noexcept = default;

 private:
  explicit constexpr AppTarget(std::string_view rawValue) noexcept : rawValue_(rawValue) {}

  std::string_view rawValue_;
};

inline constexpr AppTarget AppTarget::app("app");
inline constexpr AppTarget AppTarget::shareExtension("shareExtension");

}  // namespace coredatastack

template <>
struct std::hash<coredatastack::AppTarget> {
  std::size_t operator()(const coredatastack::AppTarget& target) const noexcept {
    return std::hash<std::string_view>{}(target.rawValue());
  }
};
