#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Predicate/Internal/FormatParser.h"
#include "Foundation/Predicate/Internal/ShapePrinter.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Predicate/PredicateEvaluation.h"
#include "Foundation/Predicate/ValueReader.h"
#include "Foundation/Values/Error.h"
#include "Fuzz/Support/SameTree.h"
#include "Fuzz/Support/Tolerance.h"

namespace {

using foundation::Error;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

constexpr std::size_t kLongestInput = 4096;

/// Some value that the place of an argument takes.
Value argumentFor(const foundation::ArgumentRule& rule) {
  if (rule.specifier != foundation::ArgumentSpecifier::value) return 1;
  switch (rule.use) {
    case foundation::ArgumentUse::any:
      return nullptr;
    case foundation::ArgumentUse::text:
      return "a*";
    case foundation::ArgumentUse::list:
    case foundation::ArgumentUse::pair:
      return ValueList{0, "b"};
  }
  return nullptr;
}

/// Keys that a mutated corpus is likely to use; all others read as absent.
const Value& subject() {
  static const Value leaf(ValueDictionary{{"date", "2024-02-10"}, {"status", 1}});
  static const Value root(ValueDictionary{{"activity", leaf},
                                          {"checkins", ValueList{leaf, leaf}},
                                          {"count", 2.5},
                                          {"date", "2024-02-10"},
                                          {"group", nullptr}});
  return root;
}

bool evaluates(const foundation::PredicateShape& shape) {
  std::vector<Value> arguments;
  for (const auto& rule : shape.argumentRules()) arguments.push_back(argumentFor(rule));
  try {
    return foundation::evaluate(shape, arguments, &subject(), foundation::ValueReader());
  } catch (const Error&) {
    return false;  // A key was asked of a value that has none.
  }
}

/// What is printed reads as the same tree, and prints as the same text. Past the table of shapes,
/// which would take two trees of one text for the same.
void requireSameTreeAgain(std::string_view format) {
  const auto read = foundation::FormatParser(format, {}).parse();
  const std::string printed = foundation::printedFormat(read.root, read.rules);
  const auto again = foundation::FormatParser(printed, {}).parse();
  fuzz::require(fuzz::areSame(again, read));
  fuzz::require(foundation::printedFormat(again.root, again.rules) == printed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const std::string_view format(reinterpret_cast<const char*>(data), size);
  try {
    const auto shape = foundation::PredicateShape::parse(format);
    fuzz::require(foundation::PredicateShape::parse(shape->format()) == shape);
    requireSameTreeAgain(format);
    static_cast<void>(evaluates(*shape));
  } catch (const Error&) {
    // A format may be bad; it may only not do harm.
  }
  return 0;
}
