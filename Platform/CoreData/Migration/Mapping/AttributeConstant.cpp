#include "CoreData/Migration/Mapping/AttributeConstant.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace coredata {
namespace {

using foundation::NSNumber;
using foundation::Value;

template <typename Integer>
bool holds(std::int64_t number) {
  return number >= std::numeric_limits<Integer>::min() &&
         number <= std::numeric_limits<Integer>::max();
}

bool holds(NSAttributeType type, std::int64_t number) {
  if (type == NSAttributeType::integer16) return holds<std::int16_t>(number);
  if (type == NSAttributeType::integer32) return holds<std::int32_t>(number);
  return type == NSAttributeType::integer64;
}

std::optional<Value> numberOfType(const NSNumber& number, NSAttributeType type) {
  const bool isTruthValue = number.kind() == NSNumber::Kind::boolean;
  if (isTruthValue != (type == NSAttributeType::boolean)) return std::nullopt;
  if (isTruthValue) return Value(number);
  if (type == NSAttributeType::double_) {
    return std::isfinite(number.doubleValue()) ? std::optional<Value>(number.doubleValue())
                                               : std::nullopt;
  }
  const auto whole = number.exactInt64();
  return whole && holds(type, *whole) ? std::optional<Value>(*whole) : std::nullopt;
}

}  // namespace

std::optional<Value> constantOfType(const Value& constant, NSAttributeType type) {
  if (const auto* number = constant.number()) return numberOfType(*number, type);
  if (constant.text() != nullptr && type == NSAttributeType::string) return constant;
  return std::nullopt;
}

}  // namespace coredata
