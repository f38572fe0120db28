#pragma once

#include "Foundation/Predicate/NSExpression.h"
#include "Foundation/Predicate/NSPredicate.h"

namespace foundation {

/// A predicate of one comparison, put together in code. Constants become arguments, so that
/// comparisons that differ in them alone share their shape with each other and with the format that
/// says the same.
class NSComparisonPredicate : public NSPredicate {
 public:
  /// Throws `Error` when the parts do not fit together, as a format would, and for functions, which
  /// no predicate computes.
  NSComparisonPredicate(const NSExpression& left, const NSExpression& right,
                        ComparisonModifier modifier, ComparisonOperator comparison,
                        TextOption option = TextOption::exact);
};

}  // namespace foundation
