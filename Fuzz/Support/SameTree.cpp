#include "Fuzz/Support/SameTree.h"

#include <algorithm>
#include <tuple>

namespace fuzz {

using foundation::ArgumentRule;
using foundation::ExpressionNode;
using foundation::KeyPathExpression;
using foundation::PredicateNode;

namespace {

bool isSame(const PredicateNode& one, const PredicateNode& other);

auto partsOf(const KeyPathExpression& path) {
  return std::tie(path.scope, path.site, path.segments, path.text);
}

bool isSameExpression(const ExpressionNode& one, const ExpressionNode& other) {
  const auto parts = [](const ExpressionNode& node) {
    return std::tie(node.kind, node.literal, node.argument, node.variable);
  };
  return parts(one) == parts(other) && partsOf(one.path) == partsOf(other.path) &&
         std::ranges::equal(one.elements, other.elements, isSameExpression) &&
         std::ranges::equal(one.condition, other.condition, isSame);
}

bool isSame(const PredicateNode& one, const PredicateNode& other) {
  const auto parts = [](const PredicateNode& node) {
    return std::tie(node.kind, node.constant, node.comparison, node.modifier, node.option);
  };
  return parts(one) == parts(other) && isSameExpression(one.left, other.left) &&
         isSameExpression(one.right, other.right) &&
         std::ranges::equal(one.children, other.children, isSame);
}

bool isSameRule(const ArgumentRule& one, const ArgumentRule& other) {
  return one.specifier == other.specifier && one.use == other.use;
}

}  // namespace

bool areSame(const foundation::ParsedFormat& one, const foundation::ParsedFormat& other) {
  return one.siteCount == other.siteCount && one.scopeDepth == other.scopeDepth &&
         std::ranges::equal(one.rules, other.rules, isSameRule) && isSame(one.root, other.root);
}

}  // namespace fuzz
