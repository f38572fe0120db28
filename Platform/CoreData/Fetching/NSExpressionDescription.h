#pragma once

#include "CoreData/Model/NSAttributeType.h"
#include "CoreData/Model/NSPropertyDescription.h"
#include "Foundation/Predicate/NSExpression.h"

namespace coredata {

/// A column of a dictionary fetch that is computed: a key path or a function over one, under a name
/// of its own.
class NSExpressionDescription final : public NSPropertyDescription {
 public:
  NSExpressionDescription(std::string name, foundation::NSExpression expression,
                          NSAttributeType resultType)
      : NSPropertyDescription(std::move(name)),
        expression_(std::move(expression)),
        resultType_(resultType) {}

  [[nodiscard]] const foundation::NSExpression& expression() const noexcept { return expression_; }
  /// The kind that the value is given as.
  [[nodiscard]] NSAttributeType expressionResultType() const noexcept { return resultType_; }

 private:
  foundation::NSExpression expression_;
  NSAttributeType resultType_;
};

}  // namespace coredata
