#include "CoreData/SQLite/Query/QueryBinding.h"

#include "CoreData/SQLite/Query/ColumnValue.h"
#include "CoreData/SQLite/Query/ConstantReader.h"
#include "Foundation/Predicate/PredicateEvaluation.h"

namespace coredata {

using foundation::Operand;
using foundation::Value;
using foundation::ValueList;

namespace {
using Role = QueryParameter::Role;
using Source = QueryParameter::Source;
}  // namespace

void QueryBinding::bind(const CompiledQuery& query) {
  for (const QueryParameter& parameter : query.parameters) bind(query, parameter);
}

void QueryBinding::bind(const CompiledQuery& query, const QueryParameter& parameter) {
  switch (parameter.source) {
    case Source::argument:
      bindValue(parameter.number, parameter, input_.arguments[parameter.index]);
      return;
    case Source::literal:
      bindValue(parameter.number, parameter, parameter.literal);
      return;
    case Source::element:
      bindElement(parameter);
      return;
    case Source::members:
      bindMembers(parameter);
      return;
    case Source::list:
      bindList(parameter);
      return;
    case Source::test: {
      const ConstantReader reader(*query.model, objects_);
      const bool holds =
          foundation::evaluate(query.tests[parameter.index], input_.arguments, nullptr, reader);
      statement_.bindInteger(parameter.number, holds ? 1 : 0);
      return;
    }
    case Source::limit:
      statement_.bindInteger(parameter.number, static_cast<std::int64_t>(input_.limit));
      return;
    case Source::offset:
      statement_.bindInteger(parameter.number, static_cast<std::int64_t>(input_.offset));
      return;
  }
}

void QueryBinding::bindValue(int number, const QueryParameter& parameter, const Value& value) {
  if (parameter.role == Role::prefixEnd) {
    bindPrefixEnd(number, value);
    return;
  }
  const Operand operand = columnValue(value, parameter.type, parameter.role, objects_);
  const bool isUnequal = operand.kind() == Operand::Kind::other && parameter.role == Role::equality;
  statement_.bind(number, isUnequal ? unequalValue(parameter.type) : operand);
}

void QueryBinding::bindPrefixEnd(int number, const Value& value) {
  if (value.text() == nullptr) {
    statement_.bindNull(number);
    return;
  }
  const std::string& end = prefixEnds_.emplace_front(prefixEnd(*value.text()));
  if (end.empty()) {
    // Any bytes are greater than every text.
    statement_.bindBytes(number, {});
  } else {
    statement_.bindText(number, end);
  }
}

void QueryBinding::bindElement(const QueryParameter& parameter) {
  const ValueList* list = input_.arguments[parameter.index].list();
  if (list == nullptr || parameter.element >= list->size()) {
    statement_.bindNull(parameter.number);
    return;
  }
  bindValue(parameter.number, parameter, (*list)[parameter.element]);
}

void QueryBinding::bindMembers(const QueryParameter& parameter) {
  int number = parameter.number;
  const Value* last = nullptr;
  for (const Value& member : *input_.arguments[parameter.index].list()) {
    if (member.isNone()) continue;
    bindValue(number++, parameter, member);
    last = &member;
  }
  for (; number < parameter.number + parameter.width; ++number) {
    bindValue(number, parameter, *last);
  }
}

void QueryBinding::bindList(const QueryParameter& parameter) {
  ListMembers& members = lists_.emplace_front();
  if (const ValueList* list = input_.arguments[parameter.index].list()) {
    members.reserve(list->size());
    for (const Value& member : *list) {
      const Operand operand = columnValue(member, parameter.type, Role::equality, objects_);
      if (operand.kind() != Operand::Kind::other) members.push_back(operand);
    }
  }
  statement_.bindPointer(parameter.number, &members, kListPointerType);
}

}  // namespace coredata
