#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace coredata {

/// The kinds of attributes, with the numbers under which compiled models and requests name them.
enum class NSAttributeType : std::uint16_t {
  undefined = 0,
  integer16 = 100,
  integer32 = 200,
  integer64 = 300,
  double_ = 500,
  string = 700,
  boolean = 800,
  date = 900,
  binaryData = 1000,
  uuid = 1100,
};

/// Whether values of the type are numbers (Booleans included, dates not).
[[nodiscard]] constexpr bool isNumeric(NSAttributeType type) noexcept {
  return type == NSAttributeType::integer16 || type == NSAttributeType::integer32 ||
         type == NSAttributeType::integer64 || type == NSAttributeType::double_ ||
         type == NSAttributeType::boolean;
}

/// The type's name in model sources and messages: "integer16", "double", "text", "date", ...
[[nodiscard]] std::string_view name(NSAttributeType type) noexcept;
/// The type of that name, or none.
[[nodiscard]] std::optional<NSAttributeType> attributeTypeNamed(std::string_view name) noexcept;
/// The type of that number, or none; `undefined` is no type that an attribute can have.
[[nodiscard]] std::optional<NSAttributeType> attributeTypeNumbered(std::uint16_t number) noexcept;

}  // namespace coredata
