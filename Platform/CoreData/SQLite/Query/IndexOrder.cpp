#include <algorithm>
#include <ranges>

#include "CoreData/SQLite/Query/QueryCompiler.h"

namespace coredata {

using foundation::ComparisonModifier;
using foundation::ComparisonOperator;
using foundation::ExpressionNode;
using foundation::PredicateNode;

namespace {

bool isValue(const ExpressionNode& expression) noexcept {
  return expression.kind == ExpressionNode::Kind::literal ||
         expression.kind == ExpressionNode::Kind::argument;
}

/// Adds the slot that a comparison of the form `slot = value` ties.
void addTied(const BoundPredicate& predicate, const PredicateNode& node, SlotMask& tied) {
  const bool isTie = node.kind == PredicateNode::Kind::comparison &&
                     node.comparison == ComparisonOperator::equal &&
                     node.modifier == ComparisonModifier::direct &&
                     node.option == foundation::TextOption::exact;
  if (!isTie) return;
  const ExpressionNode& path = isValue(node.right) ? node.left : node.right;
  const ExpressionNode& value = isValue(node.right) ? node.right : node.left;
  if (path.kind != ExpressionNode::Kind::keyPath || !isValue(value)) return;
  const ResolvedPath& resolved = predicate.path(path.path);
  if (resolved.links.empty() && resolved.end == ResolvedPath::End::slot) {
    tied |= SlotMask{1} << resolved.slot;
  }
}

SlotMask tiedSlots(const BoundPredicate* predicate) {
  SlotMask tied = 0;
  if (predicate == nullptr) return tied;
  const PredicateNode& root = predicate->shape().root();
  addTied(*predicate, root, tied);
  if (root.kind == PredicateNode::Kind::conjunction) {
    for (const PredicateNode& part : root.children) addTied(*predicate, part, tied);
  }
  return tied;
}

bool servesSorts(const NSFetchIndexDescription& index, SlotMask tied,
                 const std::vector<SortTerm>& sorts) {
  const auto isTied = [&](SlotIndex slot) { return (tied >> slot & 1U) != 0; };
  auto column = std::ranges::find_if_not(index.slots(), isTied);
  for (const SortTerm& sort : sorts) {
    if (isTied(sort.path.slot)) continue;
    if (column == index.slots().end() || *column != sort.path.slot) return false;
    ++column;
  }
  return true;
}

}  // namespace

bool indexGivesOrder(const FetchPlan& plan) {
  const std::vector<SortTerm>& sorts = plan.sorts();
  const bool isPlain = !sorts.empty() && std::ranges::all_of(sorts, [&](const SortTerm& sort) {
    return sort.path.links.empty() && sort.path.end == ResolvedPath::End::slot &&
           sort.ascending == sorts.front().ascending;
  });
  if (!isPlain) return false;
  const SlotMask tied = tiedSlots(plan.predicate());
  return std::ranges::any_of(plan.entity().indexes(), [&](const NSFetchIndexDescription* index) {
    return servesSorts(*index, tied, sorts);
  });
}

}  // namespace coredata
