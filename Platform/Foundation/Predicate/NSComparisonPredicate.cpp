#include "Foundation/Predicate/NSComparisonPredicate.h"

#include <string>
#include <vector>

#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/ShapePrinter.h"

namespace foundation {
namespace {

/// Writes the comparison as a format and collects what its placeholders stand for.
class ComparisonWriter {
 public:
  void write(std::string_view text) { format_ += text; }

  void write(const NSExpression& expression) {
    switch (expression.expressionType()) {
      case NSExpression::ExpressionType::constantValue:
        format_ += "%@";
        values_.push_back(expression.constantValue());
        return;
      case NSExpression::ExpressionType::keyPath:
        format_ += "%K";
        keyPaths_.emplace_back(expression.keyPath());
        return;
      case NSExpression::ExpressionType::function:
        throwArgumentError(expression.description(), "a comparison computes no function");
    }
  }

  [[nodiscard]] NSPredicate finish() {
    return {PredicateShape::parse(format_, keyPaths_), values_};
  }

 private:
  std::string format_;
  std::vector<std::string_view> keyPaths_;
  std::vector<Value> values_;
};

NSPredicate comparison(const NSExpression& left, const NSExpression& right,
                       ComparisonModifier modifier, ComparisonOperator comparison,
                       TextOption option) {
  ComparisonWriter writer;
  if (modifier != ComparisonModifier::direct) {
    writer.write(modifier == ComparisonModifier::any ? "ANY " : "ALL ");
  }
  writer.write(left);
  writer.write(" ");
  writer.write(spelling(comparison));
  writer.write(option == TextOption::caseInsensitive ? "[c] " : " ");
  writer.write(right);
  return writer.finish();
}

}  // namespace

NSComparisonPredicate::NSComparisonPredicate(const NSExpression& left, const NSExpression& right,
                                             ComparisonModifier modifier,
                                             ComparisonOperator comparison, TextOption option)
    : NSPredicate(foundation::comparison(left, right, modifier, comparison, option)) {}

}  // namespace foundation
