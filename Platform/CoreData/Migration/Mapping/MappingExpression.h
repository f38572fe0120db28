#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Foundation/Values/Value.h"

namespace coredata {

/// How a mapping computes the value of one property: a constant, a path of keys from a variable, or
/// a call. Immutable; copies share their content.
///
/// As a text it is written in one of these ways:
///
///     null, true, false, -12, 1.5, 'text', "text"
///     $source, $source.checkin.date, $destination, $manager, $entityPolicy
///     FUNCTION($entityPolicy, "transformStringToData:", $source.filename)
///
/// Inside a text a backslash stands before a quote or a backslash that is meant as such. Only
/// `$source` and `$destination` have keys, and only `$manager` and `$entityPolicy` are called; a
/// call has as many arguments as its selector has colons.
class MappingExpression {
 public:
  enum class Variable : std::uint8_t { source, destination, manager, entityPolicy };

  struct KeyPath {
    Variable variable = Variable::source;
    /// The keys in order; none for the variable itself.
    std::vector<std::string> keys;

    friend bool operator==(const KeyPath&, const KeyPath&) = default;
  };
  struct Function;

  /// Deeper calls and longer texts are refused, so that no file can exhaust whoever reads it.
  static constexpr int kGreatestDepth = 8;
  static constexpr std::size_t kLongestText = 65535;

  /// Throws an `Error` of code `MappingErrorCode::unreadableExpression` that names the character at
  /// which the text is no expression.
  [[nodiscard]] static MappingExpression parse(std::string_view text);

  /// A constant: absent, a number or a text.
  explicit MappingExpression(foundation::Value constant) : content_(std::move(constant)) {}
  explicit MappingExpression(KeyPath keyPath) : content_(std::move(keyPath)) {}
  explicit MappingExpression(Function function);

  /// Exactly one of the three is not null.
  [[nodiscard]] const foundation::Value* constant() const noexcept;
  [[nodiscard]] const KeyPath* keyPath() const noexcept;
  [[nodiscard]] const Function* function() const noexcept;

  /// The text that parses to an equal expression; its texts stand in quotes of that kind.
  [[nodiscard]] std::string description(char quote = '"') const;

  friend bool operator==(const MappingExpression& a, const MappingExpression& b) noexcept;

 private:
  std::variant<foundation::Value, KeyPath, std::shared_ptr<const Function>> content_;
};

/// A call by name.
struct MappingExpression::Function {
  Variable target = Variable::manager;
  /// A word, or words with a colon behind each: "sourceInstances:", "a:b:".
  std::string selector;
  std::vector<MappingExpression> arguments;

  friend bool operator==(const Function&, const Function&) = default;
};

/// The variable as expressions name it: "$source".
[[nodiscard]] std::string_view name(MappingExpression::Variable variable) noexcept;

}  // namespace coredata
