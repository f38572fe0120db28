#include "CoreData/Fetching/FetchPlanBuilder.h"

#include <algorithm>

#include "CoreData/Fetching/FetchError.h"

namespace coredata {

using foundation::make;
using foundation::NSExpression;
using foundation::Ref;

namespace {

ResolvedPath singleValuedPath(const NSEntityDescription& entity, std::string_view keyPath,
                              std::string_view use) {
  ResolvedPath path = resolvePath(entity, keyPath);
  if (path.end == ResolvedPath::End::toMany || path.passesToMany()) {
    throw fetchError(FetchErrorCode::unsuitableKey,
                     "\"" + std::string(keyPath) + "\" of " + entity.name() +
                         " has many values and cannot be used to " + std::string(use) + ".");
  }
  return path;
}

Aggregate aggregateOf(NSExpression::Function function) noexcept {
  switch (function) {
    case NSExpression::Function::sum:
      return Aggregate::sum;
    case NSExpression::Function::min:
      return Aggregate::minimum;
    case NSExpression::Function::max:
      return Aggregate::maximum;
    case NSExpression::Function::average:
      return Aggregate::average;
    case NSExpression::Function::count:
      return Aggregate::count;
  }
  return Aggregate::none;
}

FetchColumn computedColumn(const NSEntityDescription& entity,
                           const NSExpressionDescription& computed) {
  const NSExpression* expression = &computed.expression();
  FetchColumn column{computed.name(), {}, Aggregate::none, computed.expressionResultType()};
  if (expression->expressionType() == NSExpression::ExpressionType::function) {
    column.aggregate = aggregateOf(expression->function());
    expression = &expression->arguments().front();
  }
  if (expression->expressionType() != NSExpression::ExpressionType::keyPath) {
    throw fetchError(FetchErrorCode::unsuitableKey, "\"" + computed.name() + "\" (" +
                                                        computed.expression().description() +
                                                        ") is not computed from a property.");
  }
  column.path = singleValuedPath(entity, expression->keyPath(), "fill a column");
  const bool needsNumbers =
      column.aggregate == Aggregate::sum || column.aggregate == Aggregate::average;
  if (needsNumbers &&
      (column.path.attribute == nullptr || !isNumeric(column.path.attribute->attributeType()))) {
    throw fetchError(FetchErrorCode::kindMismatch, "\"" + expression->keyPath() + "\" of " +
                                                       entity.name() + " holds no numbers.");
  }
  return column;
}

FetchColumn columnFor(const NSEntityDescription& entity, const FetchProperty& property) {
  if (property.computed() != nullptr) return computedColumn(entity, *property.computed());
  ResolvedPath path = singleValuedPath(entity, property.name(), "fill a column");
  const NSAttributeType type =
      path.attribute == nullptr ? NSAttributeType::undefined : path.attribute->attributeType();
  return {property.name(), std::move(path), Aggregate::none, type};
}

std::vector<FetchColumn> columnsOf(const NSFetchRequestBase& request,
                                   const NSEntityDescription& entity) {
  std::vector<FetchColumn> columns;
  for (const FetchProperty& property : request.propertiesToFetch()) {
    columns.push_back(columnFor(entity, property));
  }
  if (columns.empty()) {
    for (const Slot& slot : entity.slots()) {
      columns.push_back(columnFor(entity, FetchProperty(slot.property->name())));
    }
  }
  return columns;
}

/// In a grouped result only what all rows of a group share can be shown or sorted by.
void checkGrouping(const FetchPlan::Form& form) {
  if (form.grouping.empty()) return;
  const auto isGrouped = [&](const ResolvedPath& path) {
    return std::ranges::find(form.grouping, path) != form.grouping.end();
  };
  for (const FetchColumn& column : form.columns) {
    if (column.aggregate == Aggregate::none && !isGrouped(column.path)) {
      throw fetchError(FetchErrorCode::unsuitableKey,
                       "\"" + column.name + "\" is neither grouped by nor computed over a group.");
    }
  }
  for (const SortTerm& sort : form.sorts) {
    if (!isGrouped(sort.path)) {
      throw fetchError(FetchErrorCode::unsuitableKey,
                       "A grouped result of " + form.entity->name() +
                           " can only be sorted by what it groups by.");
    }
  }
}

}  // namespace

Ref<const FetchPlan> buildPlan(const NSFetchRequestBase& request,
                               const NSEntityDescription& entity) {
  FetchPlan::Form form;
  form.entity = &entity;
  if (request.predicate()) {
    form.predicate =
        std::make_shared<const BoundPredicate>(request.predicate()->sharedShape(), entity);
  }
  for (const foundation::NSSortDescriptor& sort : request.sortDescriptors()) {
    form.sorts.push_back({singleValuedPath(entity, sort.key(), "sort"), sort.ascending()});
  }
  if (request.resultType() == NSFetchRequestResultType::dictionaries) {
    form.columns = columnsOf(request, entity);
    form.distinct = request.returnsDistinctResults();
    for (const FetchProperty& property : request.propertiesToGroupBy()) {
      form.grouping.push_back(singleValuedPath(entity, property.name(), "group"));
    }
    checkGrouping(form);
  }
  return make<FetchPlan>(std::move(form));
}

}  // namespace coredata
