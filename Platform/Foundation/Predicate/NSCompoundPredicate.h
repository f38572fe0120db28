#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>

#include "Foundation/Predicate/NSPredicate.h"

namespace foundation {

/// A predicate that joins others. Its arguments are theirs, one after the other; joining predicates
/// of the same shapes again costs one look-up.
class NSCompoundPredicate : public NSPredicate {
 public:
  /// The numbers by which callers may give the type.
  enum class LogicalType : std::uint8_t { not_ = 0, and_ = 1, or_ = 2 };

  /// AND of an empty list is true, OR of one false. Throws `Error` when NOT has not exactly one
  /// part, or when the nesting would become too deep.
  NSCompoundPredicate(LogicalType type, std::span<const NSPredicate> subpredicates);

  [[nodiscard]] static NSCompoundPredicate andPredicate(std::span<const NSPredicate> subpredicates);
  [[nodiscard]] static NSCompoundPredicate andPredicate(
      std::initializer_list<NSPredicate> subpredicates);
  [[nodiscard]] static NSCompoundPredicate orPredicate(std::span<const NSPredicate> subpredicates);
  [[nodiscard]] static NSCompoundPredicate orPredicate(
      std::initializer_list<NSPredicate> subpredicates);
  [[nodiscard]] static NSCompoundPredicate notPredicate(const NSPredicate& subpredicate);
};

}  // namespace foundation
