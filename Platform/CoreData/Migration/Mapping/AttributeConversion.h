#pragma once

#include "CoreData/Model/NSAttributeType.h"

namespace coredata {

/// Whether every value of one type is a value of the other as it stands: of the same type, or of
/// one that holds all its numbers. 64 bits do not fit a double.
[[nodiscard]] constexpr bool holdsEvery(NSAttributeType type, NSAttributeType of) noexcept {
  if (type == of) return true;
  switch (of) {
    case NSAttributeType::boolean:
      return isNumeric(type);
    case NSAttributeType::integer16:
      return isNumeric(type) && type != NSAttributeType::boolean;
    case NSAttributeType::integer32:
      return type == NSAttributeType::integer64 || type == NSAttributeType::double_;
    case NSAttributeType::integer64:
    case NSAttributeType::double_:
    case NSAttributeType::string:
    case NSAttributeType::date:
    case NSAttributeType::binaryData:
    case NSAttributeType::uuid:
    case NSAttributeType::undefined:
      return false;
  }
  return false;
}

}  // namespace coredata
