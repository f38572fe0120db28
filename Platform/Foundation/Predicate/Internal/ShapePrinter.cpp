#include "Foundation/Predicate/Internal/ShapePrinter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "Foundation/Internal/ASCII.h"
#include "Foundation/Predicate/Internal/FormatLexer.h"

namespace foundation {
namespace {

constexpr std::array<std::string_view, 25> kReservedWords = {"ALL",
                                                             "AND",
                                                             "ANY",
                                                             "BEGINSWITH",
                                                             "BETWEEN",
                                                             "CONTAINS",
                                                             "ENDSWITH",
                                                             "FALSE",
                                                             "IN",
                                                             "LIKE",
                                                             "MATCHES",
                                                             "NIL",
                                                             "NO",
                                                             "NONE",
                                                             "NOT",
                                                             "NULL",
                                                             "OR",
                                                             "SELF",
                                                             "SOME",
                                                             "SUBQUERY",
                                                             "TRUE",
                                                             "YES",
                                                             "FALSEPREDICATE",
                                                             "TRUEPREDICATE",
                                                             "CAST"};

/// Quoted so that the lexer gives the text back.
std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
      case '\\':
        result += '\\';
        result += c;
        break;
      case '\n':
        result += "\\n";
        break;
      case '\t':
        result += "\\t";
        break;
      case '\r':
        result += "\\r";
        break;
      case '\0':
        result += "\\0";
        break;
      case '%':
        result += "%%";
        break;
      default:
        result += c;
    }
  }
  return result += '"';
}

/// The shortest digits that give the same double, marked as a real number.
std::string printedReal(double value) {
  std::array<char, 32> buffer{};
  const auto [end, problem] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  std::string result(buffer.data(), end);
  if (std::isfinite(value) && result.find_first_of(".e") == std::string::npos) result += ".0";
  return result;
}

std::string printedNumber(NSNumber number) {
  switch (number.kind()) {
    case NSNumber::Kind::boolean:
      return number.boolValue() ? "TRUE" : "FALSE";
    case NSNumber::Kind::integer:
      return std::to_string(number.int64Value());
    case NSNumber::Kind::real:
      return printedReal(number.doubleValue());
  }
  return {};
}

std::string printedLiteral(const Value& value) {
  if (const std::string* text = value.text()) return quoted(*text);
  if (const NSNumber* number = value.number()) return printedNumber(*number);
  return "nil";
}

/// Writes a tree into one text. What an argument's place shows is the subclass's.
class Printer {
 public:
  virtual ~Printer() = default;

  void print(const PredicateNode& node) {
    switch (node.kind) {
      case PredicateNode::Kind::constant:
        out_ += node.constant ? "TRUEPREDICATE" : "FALSEPREDICATE";
        return;
      case PredicateNode::Kind::comparison:
        return printComparison(node);
      case PredicateNode::Kind::conjunction:
        return printJoined(node, " AND ");
      case PredicateNode::Kind::disjunction:
        return printJoined(node, " OR ");
      case PredicateNode::Kind::negation:
        out_ += "NOT ";
        return printOperand(node.children.front(), isCompound(node.children.front()));
    }
  }

  [[nodiscard]] std::string take() { return std::move(out_); }

 protected:
  virtual void printArgument(std::uint32_t index, std::string& out) const = 0;

 private:
  static bool isCompound(const PredicateNode& node) noexcept {
    return node.kind == PredicateNode::Kind::conjunction ||
           node.kind == PredicateNode::Kind::disjunction;
  }

  void printOperand(const PredicateNode& node, bool needsParentheses) {
    if (needsParentheses) out_ += '(';
    print(node);
    if (needsParentheses) out_ += ')';
  }

  void printJoined(const PredicateNode& node, std::string_view connective) {
    for (const PredicateNode& child : node.children) {
      if (&child != &node.children.front()) out_ += connective;
      printOperand(child, child.kind == PredicateNode::Kind::disjunction);
    }
  }

  void printComparison(const PredicateNode& node) {
    if (node.modifier != ComparisonModifier::direct) {
      out_ += node.modifier == ComparisonModifier::any ? "ANY " : "ALL ";
    }
    print(node.left);
    out_ += ' ';
    out_ += spelling(node.comparison);
    if (node.option == TextOption::caseInsensitive) out_ += "[c]";
    out_ += ' ';
    print(node.right);
  }

  void print(const ExpressionNode& node) {
    switch (node.kind) {
      case ExpressionNode::Kind::literal:
        out_ += printedLiteral(node.literal);
        return;
      case ExpressionNode::Kind::argument:
        return printArgument(node.argument, out_);
      case ExpressionNode::Kind::keyPath:
        out_ += node.path.text;
        return;
      case ExpressionNode::Kind::count:
        out_ += node.path.text;
        out_ += ".@count";
        return;
      case ExpressionNode::Kind::subqueryCount:
        out_ += "SUBQUERY(" + node.path.text + ", $" + node.variable + ", ";
        print(node.condition.front());
        out_ += ").@count";
        return;
      case ExpressionNode::Kind::aggregate:
        return printAggregate(node);
    }
  }

  void printAggregate(const ExpressionNode& node) {
    out_ += '{';
    for (const ExpressionNode& element : node.elements) {
      if (&element != &node.elements.front()) out_ += ", ";
      print(element);
    }
    out_ += '}';
  }

  std::string out_;
};

class FormatPrinter final : public Printer {
 public:
  explicit FormatPrinter(std::span<const ArgumentRule> rules) : rules_(rules) {}

 private:
  void printArgument(std::uint32_t index, std::string& out) const override {
    out += placeholder(rules_[index].specifier);
  }

  std::span<const ArgumentRule> rules_;
};

class ValuePrinter final : public Printer {
 public:
  explicit ValuePrinter(std::span<const Value> arguments) : arguments_(arguments) {}

 private:
  void printArgument(std::uint32_t index, std::string& out) const override {
    out += printed(arguments_[index]);
  }

  static std::string printed(const Value& value) {
    if (value.isNone() || value.text() != nullptr || value.number() != nullptr) {
      return printedLiteral(value);
    }
    const ValueList* list = value.list();
    if (list == nullptr) return value.description();
    std::string result = "{";
    for (const Value& element : *list) {
      if (&element != &list->front()) result += ", ";
      result += printed(element);
    }
    return result += '}';
  }

  std::span<const Value> arguments_;
};

}  // namespace

std::string printedFormat(const PredicateNode& root, std::span<const ArgumentRule> rules) {
  FormatPrinter printer(rules);
  printer.print(root);
  return printer.take();
}

std::string printedWithValues(const PredicateNode& root, std::span<const Value> arguments) {
  ValuePrinter printer(arguments);
  printer.print(root);
  return printer.take();
}

std::string_view placeholder(ArgumentSpecifier specifier) noexcept {
  switch (specifier) {
    case ArgumentSpecifier::value:
      return "%@";
    case ArgumentSpecifier::int32:
      return "%d";
    case ArgumentSpecifier::int64:
      return "%ld";
    case ArgumentSpecifier::uint32:
      return "%u";
    case ArgumentSpecifier::uint64:
      return "%lu";
    case ArgumentSpecifier::real:
      return "%lf";
  }
  return {};
}

std::string_view spelling(ComparisonOperator comparison) noexcept {
  switch (comparison) {
    case ComparisonOperator::equal:
      return "=";
    case ComparisonOperator::notEqual:
      return "!=";
    case ComparisonOperator::less:
      return "<";
    case ComparisonOperator::lessOrEqual:
      return "<=";
    case ComparisonOperator::greater:
      return ">";
    case ComparisonOperator::greaterOrEqual:
      return ">=";
    case ComparisonOperator::beginsWith:
      return "BEGINSWITH";
    case ComparisonOperator::endsWith:
      return "ENDSWITH";
    case ComparisonOperator::contains:
      return "CONTAINS";
    case ComparisonOperator::like:
      return "LIKE";
    case ComparisonOperator::in:
      return "IN";
    case ComparisonOperator::between:
      return "BETWEEN";
  }
  return {};
}

bool isReservedWord(std::string_view word) noexcept {
  return std::ranges::any_of(kReservedWords, [word](std::string_view reserved) {
    return std::ranges::equal(word, reserved, {}, ascii::uppered);
  });
}

std::string printedKeyPath(std::span<const std::string> segments) {
  std::string result;
  for (const std::string& segment : segments) {
    if (!result.empty()) result += '.';
    if (result.empty() && isReservedWord(segment)) result += '#';
    result += segment;
  }
  return result;
}

}  // namespace foundation
