#include "Foundation/Predicate/PredicateEvaluation.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <memory>

#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/TextMatching.h"

namespace foundation {
namespace {

using Expression = ExpressionNode::Kind;

/// Where a reader keeps a value that it made on the spot. Readers of rows never do, so that an
/// unused place must not cost a visit of the value's kinds.
class Keep {
 public:
  Keep() noexcept : value_() {}
  Keep(const Keep&) = delete;
  Keep& operator=(const Keep&) = delete;
  ~Keep() {
    if (!value_.isNone()) std::destroy_at(&value_);
  }

  [[nodiscard]] Value& value() noexcept { return value_; }

 private:
  union {
    Value value_;
  };
};

/// One judgement of one subject. Values that readers make live in the frames that compare them.
class Evaluation {
 public:
  Evaluation(std::span<const Value> arguments, Subject subject, const SubjectReader& reader)
      : arguments_(arguments), reader_(reader) {
    scopes_[0] = subject;
  }

  [[nodiscard]] bool holds(const PredicateNode& node) {
    switch (node.kind) {
      case PredicateNode::Kind::constant:
        return node.constant;
      case PredicateNode::Kind::comparison:
        return compare(node);
      case PredicateNode::Kind::conjunction:
        return std::ranges::all_of(node.children, [this](const auto& c) { return holds(c); });
      case PredicateNode::Kind::disjunction:
        return std::ranges::any_of(node.children, [this](const auto& c) { return holds(c); });
      case PredicateNode::Kind::negation:
        return !holds(node.children.front());
    }
    return false;
  }

 private:
  [[nodiscard]] Subject subjectOf(const KeyPathExpression& path) const noexcept {
    return scopes_[path.scope];
  }

  [[nodiscard]] bool compare(const PredicateNode& node) {
    switch (node.modifier) {
      case ComparisonModifier::direct:
        break;
      case ComparisonModifier::any:
        return holdsForSome(node, true);
      case ComparisonModifier::all:
        return !holdsForSome(node, false);
    }
    if (node.left.kind == Expression::subqueryCount) return compareSubquery(node);
    Keep keep;
    return test(node, operand(node.left, keep));
  }

  /// Whether the comparison comes out as `wanted` for at least one value of the left side.
  [[nodiscard]] bool holdsForSome(const PredicateNode& node, bool wanted) {
    bool found = false;
    reader_.forEachValue(subjectOf(node.left.path), node.left.path, [&](const Operand& left) {
      found = test(node, left) == wanted;
      return !found;
    });
    return found;
  }

  /// Counting past the other side by one decides every comparison, so that "> 0" stops at the first
  /// match.
  [[nodiscard]] bool compareSubquery(const PredicateNode& node) {
    std::int64_t enough = std::numeric_limits<std::int64_t>::max();
    const bool isPlain =
        node.right.kind == Expression::literal || node.right.kind == Expression::argument;
    if (isPlain && node.comparison < ComparisonOperator::beginsWith) {
      Keep keep;
      const Operand right = operand(node.right, keep);
      if (right.kind() == Operand::Kind::integer && right.asInteger() < enough) {
        enough = std::max<std::int64_t>(right.asInteger() + 1, 0);
      }
    }
    return test(node, Operand::integer(matchingMembers(node.left, enough)));
  }

  [[nodiscard]] std::int64_t matchingMembers(const ExpressionNode& subquery, std::int64_t enough) {
    std::int64_t count = 0;
    if (enough == 0) return count;
    const std::size_t scope = ++depth_;
    reader_.forEachMember(subjectOf(subquery.path), subquery.path, [&](Subject member) {
      scopes_[scope] = member;
      if (holds(subquery.condition.front())) ++count;
      return count < enough;
    });
    --depth_;
    return count;
  }

  [[nodiscard]] Operand operand(const ExpressionNode& node, Keep& keep) {
    switch (node.kind) {
      case Expression::literal:
        return Operand::of(node.literal);
      case Expression::argument:
        return reader_.operandForArgument(arguments_[node.argument]);
      case Expression::keyPath:
        return reader_.read(subjectOf(node.path), node.path, keep.value());
      case Expression::count:
        return Operand::integer(reader_.memberCount(subjectOf(node.path), node.path));
      case Expression::subqueryCount:
        return Operand::integer(matchingMembers(node, std::numeric_limits<std::int64_t>::max()));
      case Expression::aggregate:
        break;
    }
    return Operand::other();
  }

  [[nodiscard]] bool test(const PredicateNode& node, const Operand& left) {
    switch (node.comparison) {
      case ComparisonOperator::in:
        return isIn(node, left);
      case ComparisonOperator::between:
        return isBetween(node.right, left);
      case ComparisonOperator::equal:
      case ComparisonOperator::notEqual:
      case ComparisonOperator::less:
      case ComparisonOperator::lessOrEqual:
      case ComparisonOperator::greater:
      case ComparisonOperator::greaterOrEqual:
      case ComparisonOperator::beginsWith:
      case ComparisonOperator::endsWith:
      case ComparisonOperator::contains:
      case ComparisonOperator::like:
        break;
    }
    Keep keep;
    return testPair(node, left, operand(node.right, keep));
  }

  [[nodiscard]] bool testPair(const PredicateNode& node, const Operand& left,
                              const Operand& right) {
    switch (node.comparison) {
      case ComparisonOperator::equal:
        return areEqual(left, right, node.option);
      case ComparisonOperator::notEqual:
        return !areEqual(left, right, node.option);
      case ComparisonOperator::less:
        return order(left, right) < 0;
      case ComparisonOperator::lessOrEqual:
        return order(left, right) <= 0 && haveOrder(left);
      case ComparisonOperator::greater:
        return order(left, right) > 0;
      case ComparisonOperator::greaterOrEqual:
        return order(left, right) >= 0 && haveOrder(left);
      case ComparisonOperator::beginsWith:
        return areTexts(left, right) && textBeginsWith(left.asText(), right.asText(), node.option);
      case ComparisonOperator::endsWith:
        return areTexts(left, right) && textEndsWith(left.asText(), right.asText(), node.option);
      case ComparisonOperator::like:
        return areTexts(left, right) && textIsLike(left.asText(), right.asText(), node.option);
      case ComparisonOperator::contains:
        return contains(node, left, right);
      case ComparisonOperator::in:
      case ComparisonOperator::between:
        break;
    }
    return false;
  }

  [[nodiscard]] static bool areTexts(const Operand& left, const Operand& right) noexcept {
    return left.kind() == Operand::Kind::text && right.kind() == Operand::Kind::text;
  }

  /// Objects can be equal, which is no answer to "at most".
  [[nodiscard]] static bool haveOrder(const Operand& operand) noexcept {
    return operand.kind() != Operand::Kind::object;
  }

  [[nodiscard]] static bool areEqual(const Operand& left, const Operand& right,
                                     TextOption option) noexcept {
    if (option == TextOption::exact || !areTexts(left, right)) return isEqual(left, right);
    return textsAreEqual(left.asText(), right.asText(), option);
  }

  [[nodiscard]] bool contains(const PredicateNode& node, const Operand& left,
                              const Operand& right) {
    if (areTexts(left, right)) return textContains(left.asText(), right.asText(), node.option);
    if (left.kind() == Operand::Kind::list) return hasElement(left.asList(), right, node.option);
    if (left.kind() != Operand::Kind::many || node.left.kind != Expression::keyPath) return false;
    return hasMember(node.left.path, right, node.option);
  }

  [[nodiscard]] bool isIn(const PredicateNode& node, const Operand& left) {
    if (node.right.kind == Expression::aggregate) {
      return std::ranges::any_of(node.right.elements, [&](const ExpressionNode& element) {
        Keep keep;
        return areEqual(left, operand(element, keep), node.option);
      });
    }
    Keep keep;
    const Operand right = operand(node.right, keep);
    if (right.kind() == Operand::Kind::list) return hasElement(right.asList(), left, node.option);
    return right.kind() == Operand::Kind::many && hasMember(node.right.path, left, node.option);
  }

  [[nodiscard]] bool hasElement(const ValueList& list, const Operand& sought, TextOption option) {
    return std::ranges::any_of(list, [&](const Value& element) {
      return areEqual(reader_.operandForArgument(element), sought, option);
    });
  }

  [[nodiscard]] bool hasMember(const KeyPathExpression& path, const Operand& sought,
                               TextOption option) {
    bool found = false;
    reader_.forEachValue(subjectOf(path), path, [&](const Operand& member) {
      found = areEqual(member, sought, option);
      return !found;
    });
    return found;
  }

  [[nodiscard]] bool isBetween(const ExpressionNode& bounds, const Operand& value) {
    if (bounds.kind == Expression::aggregate) {
      Keep keepLow;
      Keep keepHigh;
      return liesBetween(operand(bounds.elements[0], keepLow), value,
                         operand(bounds.elements[1], keepHigh));
    }
    Keep keep;
    const Operand pair = operand(bounds, keep);
    if (pair.kind() != Operand::Kind::list || pair.asList().size() != 2) return false;
    return liesBetween(reader_.operandForArgument(pair.asList()[0]), value,
                       reader_.operandForArgument(pair.asList()[1]));
  }

  [[nodiscard]] static bool liesBetween(const Operand& low, const Operand& value,
                                        const Operand& high) noexcept {
    return haveOrder(value) && order(low, value) <= 0 && order(value, high) <= 0;
  }

  std::span<const Value> arguments_;
  const SubjectReader& reader_;
  std::size_t depth_ = 0;
  // What each scope stands for at the moment; only entries up to depth_ are set.
  std::array<Subject, PredicateShape::kMaximumScopeDepth + 1> scopes_;
};

}  // namespace

bool evaluate(const PredicateShape& shape, std::span<const Value> arguments, Subject subject,
              const SubjectReader& reader) {
  if (arguments.size() != shape.argumentCount()) {
    throwArgumentError(shape.format(), "their number is not the format's");
  }
  return Evaluation(arguments, subject, reader).holds(shape.root());
}

bool evaluate(const PredicateNode& node, std::span<const Value> arguments, Subject subject,
              const SubjectReader& reader) {
  return Evaluation(arguments, subject, reader).holds(node);
}

bool testTexts(ComparisonOperator comparison, std::string_view left, std::string_view right,
               TextOption option) noexcept {
  switch (comparison) {
    case ComparisonOperator::equal:
      return textsAreEqual(left, right, option);
    case ComparisonOperator::beginsWith:
      return textBeginsWith(left, right, option);
    case ComparisonOperator::endsWith:
      return textEndsWith(left, right, option);
    case ComparisonOperator::contains:
      return textContains(left, right, option);
    case ComparisonOperator::like:
      return textIsLike(left, right, option);
    case ComparisonOperator::notEqual:
    case ComparisonOperator::less:
    case ComparisonOperator::lessOrEqual:
    case ComparisonOperator::greater:
    case ComparisonOperator::greaterOrEqual:
    case ComparisonOperator::in:
    case ComparisonOperator::between:
      break;
  }
  return false;
}

}  // namespace foundation
