#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace coredata {

/// What deleting an object does to the objects that a relationship of it leads to.
enum class NSDeleteRule : std::uint8_t {
  /// Nothing; the other side keeps a reference that leads nowhere, and reads as absent.
  noAction = 0,
  /// The other side forgets the deleted object.
  nullify = 1,
  /// The other side is deleted too.
  cascade = 2,
  /// The deletion is refused, at save, while the relationship leads anywhere.
  deny = 3,
};

/// The rule's name in model sources and messages: "noAction", "nullify", "cascade", "deny".
[[nodiscard]] std::string_view name(NSDeleteRule rule) noexcept;
/// The rule of that name, or none.
[[nodiscard]] std::optional<NSDeleteRule> deleteRuleNamed(std::string_view name) noexcept;

}  // namespace coredata
