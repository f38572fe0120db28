#include "Foundation/Predicate/NSCompoundPredicate.h"

#include <vector>

namespace foundation {
namespace {

CompoundKind kindOf(NSCompoundPredicate::LogicalType type) noexcept {
  switch (type) {
    case NSCompoundPredicate::LogicalType::not_:
      return CompoundKind::negation;
    case NSCompoundPredicate::LogicalType::and_:
      return CompoundKind::conjunction;
    case NSCompoundPredicate::LogicalType::or_:
      return CompoundKind::disjunction;
  }
  return CompoundKind::conjunction;
}

NSPredicate combined(CompoundKind kind, std::span<const NSPredicate> subpredicates) {
  std::vector<std::shared_ptr<const PredicateShape>> shapes;
  std::vector<Value> values;
  shapes.reserve(subpredicates.size());
  for (const NSPredicate& part : subpredicates) {
    shapes.push_back(part.sharedShape());
    values.insert(values.end(), part.arguments().begin(), part.arguments().end());
  }
  return {PredicateShape::combine(kind, shapes), values};
}

std::span<const NSPredicate> listed(std::initializer_list<NSPredicate> predicates) noexcept {
  return {predicates.begin(), predicates.size()};
}

}  // namespace

NSCompoundPredicate::NSCompoundPredicate(LogicalType type,
                                         std::span<const NSPredicate> subpredicates)
    : NSPredicate(combined(kindOf(type), subpredicates)) {}

NSCompoundPredicate NSCompoundPredicate::andPredicate(std::span<const NSPredicate> subpredicates) {
  return {LogicalType::and_, subpredicates};
}

NSCompoundPredicate NSCompoundPredicate::andPredicate(
    std::initializer_list<NSPredicate> subpredicates) {
  return andPredicate(listed(subpredicates));
}

NSCompoundPredicate NSCompoundPredicate::orPredicate(std::span<const NSPredicate> subpredicates) {
  return {LogicalType::or_, subpredicates};
}

NSCompoundPredicate NSCompoundPredicate::orPredicate(
    std::initializer_list<NSPredicate> subpredicates) {
  return orPredicate(listed(subpredicates));
}

NSCompoundPredicate NSCompoundPredicate::notPredicate(const NSPredicate& subpredicate) {
  return {LogicalType::not_, {&subpredicate, 1}};
}

}  // namespace foundation
