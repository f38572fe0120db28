#include "Foundation/Predicate/NSSortDescriptor.h"

#include "Foundation/Predicate/Internal/KeyPathText.h"
#include "Foundation/Predicate/Operand.h"
#include "Foundation/Predicate/ValueReader.h"

namespace foundation {

NSSortDescriptor::NSSortDescriptor(std::string_view key, bool ascending) : ascending_(ascending) {
  path_.segments = keyPathSegments(key);
  path_.text = key;
}

NSSortDescriptor NSSortDescriptor::reversed() const {
  NSSortDescriptor result = *this;
  result.ascending_ = !ascending_;
  return result;
}

std::weak_ordering NSSortDescriptor::compare(const Object& left, const Object& right) const {
  const ValueReader reader;
  const Value leftOwner{Ref<const Object>(&left)};
  const Value rightOwner{Ref<const Object>(&right)};
  Value leftKeep;
  Value rightKeep;
  const Operand leftValue = reader.read(&leftOwner, path_, leftKeep);
  const Operand rightValue = reader.read(&rightOwner, path_, rightKeep);
  return ascending_ ? sortOrder(leftValue, rightValue) : sortOrder(rightValue, leftValue);
}

std::weak_ordering compare(std::span<const NSSortDescriptor> descriptors, const Object& left,
                           const Object& right) {
  for (const NSSortDescriptor& descriptor : descriptors) {
    if (const std::weak_ordering result = descriptor.compare(left, right); result != 0) {
      return result;
    }
  }
  return std::weak_ordering::equivalent;
}

}  // namespace foundation
