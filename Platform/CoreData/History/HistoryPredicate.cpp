#include "CoreData/History/HistoryPredicate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "CoreData/History/HistoryError.h"

namespace coredata {

using foundation::ComparisonModifier;
using foundation::ComparisonOperator;
using foundation::ExpressionNode;
using foundation::KeyPathExpression;
using foundation::NSPredicate;
using foundation::Operand;
using foundation::PredicateNode;
using foundation::Subject;
using foundation::Value;

namespace {

constexpr std::array<std::pair<std::string_view, HistoryPredicate::Key>, 7> kKeys = {{
    {"author", HistoryPredicate::Key::author},
    {"bundleID", HistoryPredicate::Key::bundleID},
    {"contextName", HistoryPredicate::Key::contextName},
    {"processID", HistoryPredicate::Key::processID},
    {"storeID", HistoryPredicate::Key::storeID},
    {"timestamp", HistoryPredicate::Key::timestamp},
    {"transactionNumber", HistoryPredicate::Key::transactionNumber},
}};

Operand named(const std::optional<std::string>& name) {
  return name ? Operand::text(*name) : Operand();
}

/// The value that a side stands for, where it is one and no key path.
const Value* constantOf(const ExpressionNode& side, const NSPredicate& predicate) {
  switch (side.kind) {
    case ExpressionNode::Kind::literal:
      return &side.literal;
    case ExpressionNode::Kind::argument:
      return &predicate.arguments()[side.argument];
    case ExpressionNode::Kind::keyPath:
    case ExpressionNode::Kind::count:
    case ExpressionNode::Kind::subqueryCount:
    case ExpressionNode::Kind::aggregate:
      return nullptr;
  }
  return nullptr;
}

bool boundsBelow(ComparisonOperator comparison) noexcept {
  return comparison == ComparisonOperator::greater ||
         comparison == ComparisonOperator::greaterOrEqual ||
         comparison == ComparisonOperator::equal;
}

bool boundsAbove(ComparisonOperator comparison) noexcept {
  return comparison == ComparisonOperator::less || comparison == ComparisonOperator::lessOrEqual ||
         comparison == ComparisonOperator::equal;
}

void narrowStamp(HistoryBounds& bounds, ComparisonOperator comparison, double stamp) {
  if (boundsBelow(comparison)) {
    // The bound itself is outside, unlike with `>=` and `=`.
    const double below = std::nextafter(stamp, -std::numeric_limits<double>::infinity());
    bounds.afterStamp = std::max(bounds.afterStamp, below);
  }
  if (boundsAbove(comparison)) bounds.lastStamp = std::min(bounds.lastStamp, stamp);
}

void narrowNumber(HistoryBounds& bounds, ComparisonOperator comparison, std::int64_t number) {
  if (boundsBelow(comparison) && number > 0) {
    bounds.afterNumber = std::max(bounds.afterNumber, number - 1);
  }
  if (boundsAbove(comparison)) bounds.lastNumber = std::min(bounds.lastNumber, number);
}

/// Whether the bounds have it now.
bool narrowAuthor(HistoryBounds& bounds, ComparisonOperator comparison, const Value& author) {
  const bool isWanted = comparison == ComparisonOperator::equal;
  if (!isWanted && comparison != ComparisonOperator::notEqual) return false;
  if (author.text() == nullptr && !author.isNone()) return false;
  // One condition is all that the way can be shortened by; a wanted author shortens it most.
  if (bounds.author && !isWanted) return false;
  bounds.author = {isWanted, author.isNone() ? std::nullopt : std::optional(*author.text())};
  return true;
}

}  // namespace

/// Reads a transaction as it lies in the records.
class HistoryPredicate::Reader final : public foundation::SubjectReader {
 public:
  Reader(const HistoryPredicate& predicate, const HistoryRecords& records)
      : predicate_(predicate), records_(records) {}

  [[nodiscard]] Operand read(Subject subject, const KeyPathExpression& path,
                             Value& keep) const override {
    const auto& transaction = *static_cast<const HistoryTransactionRecord*>(subject);
    switch (predicate_.keys_[path.site]) {
      case Key::author:
        return named(records_.names[transaction.author]);
      case Key::bundleID:
        return Operand::text(records_.names[transaction.bundle]
                                 ? *records_.names[transaction.bundle]
                                 : std::string_view());
      case Key::contextName:
        return named(records_.names[transaction.contextName]);
      case Key::processID:
        keep = std::to_string(transaction.process);
        return Operand::of(keep);
      case Key::storeID:
        return Operand::text(predicate_.storeID_);
      case Key::timestamp:
        return Operand::date(transaction.timestamp);
      case Key::transactionNumber:
        return Operand::integer(transaction.number);
    }
    return {};
  }

  void forEachValue(Subject subject, const KeyPathExpression& path,
                    foundation::FunctionRef<bool(const Operand&)> visit) const override {
    Value keep;
    static_cast<void>(visit(read(subject, path, keep)));
  }

  // A transaction has no to-many that a predicate may name: `resolve` has refused the key.
  void forEachMember(Subject /*subject*/, const KeyPathExpression& /*path*/,
                     foundation::FunctionRef<bool(Subject)> /*visit*/) const override {}
  [[nodiscard]] std::int64_t memberCount(Subject /*subject*/,
                                         const KeyPathExpression& /*path*/) const override {
    return 0;
  }

 private:
  const HistoryPredicate& predicate_;
  const HistoryRecords& records_;
};

std::optional<HistoryPredicate::Key> HistoryPredicate::keyNamed(std::string_view name) noexcept {
  const auto* found = std::ranges::find(kKeys, name, [](const auto& key) { return key.first; });
  if (found == kKeys.end()) return std::nullopt;
  return found->second;
}

HistoryPredicate::HistoryPredicate(std::optional<NSPredicate> predicate, std::string storeID)
    : predicate_(std::move(predicate)), storeID_(std::move(storeID)) {
  if (!predicate_) return;
  keys_.resize(predicate_->shape().siteCount());
  resolve(predicate_->shape().root());
}

void HistoryPredicate::resolve(const PredicateNode& node) {
  if (node.kind == PredicateNode::Kind::comparison) {
    resolve(node.left);
    resolve(node.right);
  }
  for (const PredicateNode& child : node.children) resolve(child);
}

void HistoryPredicate::resolve(const ExpressionNode& side) {
  switch (side.kind) {
    case ExpressionNode::Kind::literal:
    case ExpressionNode::Kind::argument:
      return;
    case ExpressionNode::Kind::aggregate:
      for (const ExpressionNode& element : side.elements) resolve(element);
      return;
    case ExpressionNode::Kind::keyPath:
      if (side.path.segments.size() == 1) {
        if (const std::optional<Key> key = keyNamed(side.path.segments.front())) {
          keys_[side.path.site] = *key;
          return;
        }
      }
      break;
    case ExpressionNode::Kind::count:
    case ExpressionNode::Kind::subqueryCount:
      break;
  }
  throw historyError(HistoryErrorCode::unknownKey, "A transaction of the history has no \"" +
                                                       side.path.text +
                                                       "\" that a predicate could ask for.");
}

bool HistoryPredicate::narrow(HistoryBounds& bounds) const {
  return !predicate_ || narrow(bounds, predicate_->shape().root());
}

bool HistoryPredicate::narrow(HistoryBounds& bounds, const PredicateNode& node) const {
  if (node.kind == PredicateNode::Kind::conjunction) {
    // One condition may take another's place in the bounds.
    for (const PredicateNode& child : node.children) static_cast<void>(narrow(bounds, child));
  }
  if (node.kind != PredicateNode::Kind::comparison ||
      node.left.kind != ExpressionNode::Kind::keyPath ||
      node.modifier != ComparisonModifier::direct || node.option != foundation::TextOption::exact) {
    return false;
  }
  const Value* constant = constantOf(node.right, *predicate_);
  if (constant == nullptr) return false;
  const Key key = keys_[node.left.path.site];
  if (key == Key::author) return narrowAuthor(bounds, node.comparison, *constant);
  if (key == Key::timestamp && constant->date() != nullptr) {
    narrowStamp(bounds, node.comparison, constant->date()->timeIntervalSinceReferenceDate());
  }
  if (key == Key::transactionNumber && constant->number() != nullptr &&
      !constant->number()->isReal()) {
    narrowNumber(bounds, node.comparison, constant->number()->int64Value());
  }
  return false;
}

bool HistoryPredicate::holds(const HistoryTransactionRecord& transaction,
                             const HistoryRecords& records) const {
  return !predicate_ || predicate_->evaluate(&transaction, Reader(*this, records));
}

}  // namespace coredata
