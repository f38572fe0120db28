#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/Value.h"

namespace foundation {

/// A value to be computed: a constant, a property, or a function of such. What comparisons are put
/// together from and what a fetch computes for its dictionaries.
///
/// Threading: immutable; use it on any thread.
class NSExpression {
 public:
  enum class ExpressionType : std::uint8_t { constantValue, keyPath, function };
  enum class Function : std::uint8_t { sum, min, max, average, count };

  [[nodiscard]] static NSExpression forConstantValue(Value value);
  /// A dotted path of keys. Throws `Error` for a text that is none.
  [[nodiscard]] static NSExpression forKeyPath(std::string_view keyPath);
  /// `sum:`, `min:`, `max:`, `average:` or `count:` with one argument. Throws `Error` for any other
  /// name or number of arguments.
  [[nodiscard]] static NSExpression forFunction(std::string_view name,
                                                std::vector<NSExpression> arguments);

  [[nodiscard]] ExpressionType expressionType() const noexcept { return type_; }
  /// The constant; absent for the other types.
  [[nodiscard]] const Value& constantValue() const noexcept { return constant_; }
  /// The path as it was given; empty for the other types.
  [[nodiscard]] const std::string& keyPath() const noexcept { return keyPath_; }
  /// Meaningful for functions only.
  [[nodiscard]] Function function() const noexcept { return function_; }
  [[nodiscard]] const std::vector<NSExpression>& arguments() const noexcept { return arguments_; }

  /// `count`, `"text"`, `sum:(count)`.
  [[nodiscard]] std::string description() const;

 private:
  NSExpression() = default;

  ExpressionType type_ = ExpressionType::constantValue;
  Function function_ = Function::count;
  Value constant_;
  std::string keyPath_;
  std::vector<NSExpression> arguments_;
};

/// The name under which a function is asked for, colon included.
[[nodiscard]] std::string_view functionName(NSExpression::Function function) noexcept;

}  // namespace foundation
