#include "CoreData/Model/NSAttributeType.h"

#include <array>
#include <utility>

namespace coredata {
namespace {

constexpr std::array<std::pair<NSAttributeType, std::string_view>, 9> kNames = {{
    {NSAttributeType::integer16, "integer16"},
    {NSAttributeType::integer32, "integer32"},
    {NSAttributeType::integer64, "integer64"},
    {NSAttributeType::double_, "double"},
    {NSAttributeType::string, "text"},
    {NSAttributeType::boolean, "boolean"},
    {NSAttributeType::date, "date"},
    {NSAttributeType::binaryData, "binary"},
    {NSAttributeType::uuid, "uuid"},
}};

}  // namespace

std::string_view name(NSAttributeType type) noexcept {
  for (const auto& [known, text] : kNames) {
    if (known == type) return text;
  }
  return "undefined";
}

std::optional<NSAttributeType> attributeTypeNamed(std::string_view text) noexcept {
  for (const auto& [type, known] : kNames) {
    if (known == text) return type;
  }
  return std::nullopt;
}

std::optional<NSAttributeType> attributeTypeNumbered(std::uint16_t number) noexcept {
  for (const auto& [type, text] : kNames) {
    if (static_cast<std::uint16_t>(type) == number) return type;
  }
  return std::nullopt;
}

}  // namespace coredata
