#include "CoreData/Migration/ExpressionEvaluation.h"

#include <vector>

#include "CoreData/Migration/MigrationError.h"
#include "CoreData/Migration/NSEntityMigrationPolicy.h"
#include "CoreData/Migration/NSMigrationManager.h"

namespace coredata {

using foundation::Object;
using foundation::Ref;
using foundation::Value;
using foundation::ValueList;
using Variable = MappingExpression::Variable;

namespace {

template <typename T>
Value handle(T* object) {
  return object == nullptr ? Value() : Value(Ref<T>(object));
}

Value variableValue(Variable variable, const ExpressionSubjects& subjects) {
  switch (variable) {
    case Variable::source:
      return handle(subjects.source);
    case Variable::destination:
      return handle(subjects.destination);
    case Variable::manager:
      return handle(subjects.manager);
    case Variable::entityPolicy:
      return handle(subjects.policy);
  }
  return {};
}

Value keyPathValue(const MappingExpression::KeyPath& path, const ExpressionSubjects& subjects) {
  Value value = variableValue(path.variable, subjects);
  for (const std::string& key : path.keys) {
    const Object* object = value.object();
    if (object == nullptr) return {};
    value = object->valueForKey(key);
  }
  return value;
}

std::vector<Ref<NSManagedObject>> objectsIn(const Value& value) {
  std::vector<Ref<NSManagedObject>> objects;
  const auto take = [&](const Value& one) {
    if (auto* object = dynamic_cast<NSManagedObject*>(one.object())) objects.emplace_back(object);
  };
  if (value.list() == nullptr) {
    take(value);
  } else {
    for (const Value& one : *value.list()) take(one);
  }
  return objects;
}

Value askManager(NSMigrationManager& manager, std::string_view selector,
                 std::span<const Value> arguments) {
  if (selector != kDestinationInstancesSelector || arguments.size() != 2 ||
      arguments[0].text() == nullptr) {
    throw migrationError(MigrationErrorCode::unknownFunction,
                         "The migration manager has no function \"" + std::string(selector) +
                             "\" for such arguments.");
  }
  const auto found = manager.destinationInstances(*arguments[0].text(), objectsIn(arguments[1]));
  return ValueList(found.begin(), found.end());
}

Value functionValue(const MappingExpression::Function& function,
                    const ExpressionSubjects& subjects) {
  std::vector<Value> arguments;
  arguments.reserve(function.arguments.size());
  for (const MappingExpression& argument : function.arguments) {
    arguments.push_back(evaluated(argument, subjects));
  }
  if (function.target == Variable::manager && subjects.manager != nullptr) {
    return askManager(*subjects.manager, function.selector, arguments);
  }
  if (function.target == Variable::entityPolicy && subjects.policy != nullptr) {
    return subjects.policy->perform(function.selector, arguments);
  }
  throw migrationError(MigrationErrorCode::unknownFunction,
                       "Nothing in a migration answers \"" + function.selector + "\".");
}

}  // namespace

Value evaluated(const MappingExpression& expression, const ExpressionSubjects& subjects) {
  if (const Value* constant = expression.constant()) return *constant;
  if (const auto* path = expression.keyPath()) return keyPathValue(*path, subjects);
  return functionValue(*expression.function(), subjects);
}

Value mappedValue(const NSPropertyMapping& property, const ExpressionSubjects& subjects) {
  Value value = evaluated(property.valueExpression(), subjects);
  return value.isNone() ? property.absentReplacement() : value;
}

}  // namespace coredata
