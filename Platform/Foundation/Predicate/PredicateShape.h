#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/Value.h"

namespace foundation {

/// What a comparison asks. Text operators match by bytes.
enum class ComparisonOperator : std::uint8_t {
  equal,
  notEqual,
  less,
  lessOrEqual,
  greater,
  greaterOrEqual,
  beginsWith,
  endsWith,
  contains,  ///< a text has another one inside, or a list or to-many has a member
  like,      ///< `*` is any run of characters, `?` exactly one, `\` takes the next one as it is
  in,        ///< the right side is a list or a to-many
  between,   ///< the right side is a list of two, both ends included
};

/// How many of the values that the left side's key path meets must satisfy the comparison.
enum class ComparisonModifier : std::uint8_t { direct, any, all };

/// `caseInsensitive` ("[c]") treats the letters A to Z as a to z and leaves all others alone, so
/// that memory and store agree.
enum class TextOption : std::uint8_t { exact, caseInsensitive };

/// A dotted path, read from the object that is judged or from a subquery's variable.
struct KeyPathExpression {
  /// 0 is the object that is judged; n is the variable of the n-th subquery around this place.
  std::uint32_t scope = 0;
  /// Numbered from 0 in the order of the text and unique within the shape: what is resolved once
  /// for a path can be kept in a table by site.
  std::uint32_t site = 0;
  /// Empty for the object or the variable itself (`SELF`, `$v`).
  std::vector<std::string> segments;
  /// The path as it is printed: "activity.status", "$checkin.date", "SELF".
  std::string text;
};

struct PredicateNode;

/// One side of a comparison. Which members count depends on `kind`.
struct ExpressionNode {
  enum class Kind : std::uint8_t {
    literal,        ///< `literal`
    argument,       ///< `argument`
    keyPath,        ///< `path`
    count,          ///< `path`: the number of members of a to-many (`checkins.@count`)
    subqueryCount,  ///< `path`, `variable`, `condition`: the number of members for which the
                    ///< condition holds
    aggregate,      ///< `elements`: `{a, b}`; no element is an aggregate
  };

  Kind kind = Kind::literal;
  /// Absent, a number or a text.
  Value literal;
  /// The argument's index in the predicate that binds the shape.
  std::uint32_t argument = 0;
  KeyPathExpression path;
  /// The subquery's variable without its dollar sign. Paths inside refer to it by `scope`.
  std::string variable;
  std::vector<ExpressionNode> elements;
  /// Exactly one node for a subquery, none otherwise.
  std::vector<PredicateNode> condition;
};

/// A node of the tree. Which members count depends on `kind`.
struct PredicateNode {
  enum class Kind : std::uint8_t {
    constant,     ///< `constant`
    comparison,   ///< `left` to `option`
    conjunction,  ///< all of `children`: two or more, none of them a conjunction
    disjunction,  ///< any of `children`: two or more, none of them a disjunction
    negation,     ///< not the one child
  };

  Kind kind = Kind::constant;
  bool constant = true;
  ComparisonOperator comparison = ComparisonOperator::equal;
  /// Other than `direct` only where `left` is a key path.
  ComparisonModifier modifier = ComparisonModifier::direct;
  TextOption option = TextOption::exact;
  ExpressionNode left;
  ExpressionNode right;
  std::vector<PredicateNode> children;
};

/// How a compound joins its parts; a negation has exactly one.
enum class CompoundKind : std::uint8_t { negation, conjunction, disjunction };

/// What a format says about an argument.
enum class ArgumentSpecifier : std::uint8_t { value, int32, int64, uint32, uint64, real };

/// What the place of an argument demands of it beyond its specifier.
enum class ArgumentUse : std::uint8_t { any, text, list, pair };

struct ArgumentRule {
  ArgumentSpecifier specifier = ArgumentSpecifier::value;
  ArgumentUse use = ArgumentUse::any;
};

/// A predicate without its arguments' values: the tree that a format text stands for.
///
/// - Shapes are interned by their normalised text: while a shape is alive, every format of the same
/// meaning gives
///   the same pointer. A cache by pointer must hold the shape; a cache by `serial()` need not.
/// - Literals of the format (1, 'x', nil, TRUE) are in the tree; arguments are places, numbered
/// from 0.
/// - Nesting is at most `kMaximumDepth` levels, so that walking the tree by recursion is safe.
///
/// Unused shapes are dropped when more than about a thousand are there, so that formats built from
/// user data do not fill the memory.
///
/// Threading: immutable; use it on any thread. Interning takes a process-wide lock for a moment.
class PredicateShape {
 public:
  /// Levels of parentheses, NOT and SUBQUERY; the tree has at most twice as many levels.
  static constexpr std::size_t kMaximumDepth = 1000;
  /// Subqueries inside each other.
  static constexpr std::uint32_t kMaximumScopeDepth = 16;

  /// The shape of a format. `keyPaths` are the texts for its `%K` in their order.
  /// Throws `Error` for bad syntax, with the position and what was expected there.
  [[nodiscard]] static std::shared_ptr<const PredicateShape> parse(
      std::string_view format, std::span<const std::string_view> keyPaths = {});

  /// The shape of a compound; its arguments are those of `parts` one after the other. A conjunction
  /// of nothing is true, a disjunction of nothing false; a part of the compound's own kind is taken
  /// apart into its parts. Combining the same shapes again costs one look-up.
  [[nodiscard]] static std::shared_ptr<const PredicateShape> combine(
      CompoundKind kind, std::span<const std::shared_ptr<const PredicateShape>> parts);

  PredicateShape(const PredicateShape&) = delete;
  PredicateShape& operator=(const PredicateShape&) = delete;

  [[nodiscard]] const PredicateNode& root() const noexcept { return root_; }
  [[nodiscard]] std::size_t argumentCount() const noexcept { return rules_.size(); }
  [[nodiscard]] std::span<const ArgumentRule> argumentRules() const noexcept { return rules_; }
  /// How many key paths the tree has; their sites are 0 to one less.
  [[nodiscard]] std::uint32_t siteCount() const noexcept { return siteCount_; }
  /// Subqueries inside each other, 0 for none.
  [[nodiscard]] std::uint32_t scopeDepth() const noexcept { return scopeDepth_; }
  /// The normalised text; parsing it gives this shape again.
  [[nodiscard]] const std::string& format() const noexcept { return format_; }
  /// Unique in this process and never used again, also when the shape is gone.
  [[nodiscard]] std::uint64_t serial() const noexcept { return serial_; }

 private:
  friend class ShapeTable;
  PredicateShape() = default;

  PredicateNode root_;
  std::vector<ArgumentRule> rules_;
  std::uint32_t siteCount_ = 0;
  std::uint32_t scopeDepth_ = 0;
  std::string format_;
  std::uint64_t serial_ = 0;
};

/// The codes of errors thrown while a predicate is built, in the domain `kCocoaErrorDomain`.
enum class PredicateErrorCode : std::int64_t {
  invalidFormat = 5001,    ///< the text does not follow the grammar
  invalidArgument = 5002,  ///< number or kind of the arguments do not fit the format
  tooDeep = 5003,          ///< more than `PredicateShape::kMaximumDepth` levels
};

}  // namespace foundation
