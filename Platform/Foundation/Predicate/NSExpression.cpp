#include "Foundation/Predicate/NSExpression.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/KeyPathText.h"

namespace foundation {
namespace {

constexpr std::array kFunctions = {NSExpression::Function::sum, NSExpression::Function::min,
                                   NSExpression::Function::max, NSExpression::Function::average,
                                   NSExpression::Function::count};

}  // namespace

NSExpression NSExpression::forConstantValue(Value value) {
  NSExpression result;
  result.constant_ = std::move(value);
  return result;
}

NSExpression NSExpression::forKeyPath(std::string_view keyPath) {
  static_cast<void>(keyPathSegments(keyPath));
  NSExpression result;
  result.type_ = ExpressionType::keyPath;
  result.keyPath_ = keyPath;
  return result;
}

NSExpression NSExpression::forFunction(std::string_view name, std::vector<NSExpression> arguments) {
  const auto* const function = std::ranges::find(kFunctions, name, functionName);
  if (function == kFunctions.end()) throwArgumentError(name, "there is no such function");
  if (arguments.size() != 1) throwArgumentError(name, "the function takes one argument");
  NSExpression result;
  result.type_ = ExpressionType::function;
  result.function_ = *function;
  result.arguments_ = std::move(arguments);
  return result;
}

std::string NSExpression::description() const {
  switch (type_) {
    case ExpressionType::constantValue:
      return constant_.text() != nullptr ? '"' + *constant_.text() + '"' : constant_.description();
    case ExpressionType::keyPath:
      return keyPath_;
    case ExpressionType::function:
      return std::string(functionName(function_)) + '(' + arguments_.front().description() + ')';
  }
  return {};
}

std::string_view functionName(NSExpression::Function function) noexcept {
  switch (function) {
    case NSExpression::Function::sum:
      return "sum:";
    case NSExpression::Function::min:
      return "min:";
    case NSExpression::Function::max:
      return "max:";
    case NSExpression::Function::average:
      return "average:";
    case NSExpression::Function::count:
      return "count:";
  }
  return {};
}

}  // namespace foundation
