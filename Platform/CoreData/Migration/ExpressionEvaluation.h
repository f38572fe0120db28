#pragma once

#include "CoreData/Migration/Mapping/NSPropertyMapping.h"
#include "Foundation/Values/Value.h"

namespace coredata {

class NSEntityMigrationPolicy;
class NSManagedObject;
class NSMigrationManager;

/// The selector by which a relationship's expression asks the manager for what became of objects.
inline constexpr std::string_view kDestinationInstancesSelector =
    "destinationInstancesForEntityMappingNamed:sourceInstances:";

/// What the variables of a value expression stand for; null ones read as absent.
struct ExpressionSubjects {
  NSManagedObject* source = nullptr;
  NSManagedObject* destination = nullptr;
  NSMigrationManager* manager = nullptr;
  NSEntityMigrationPolicy* policy = nullptr;
};

/// The expression's value. Throws `MigrationErrorCode::unknownFunction`, the errors of key-value
/// access, and what a policy's function throws.
[[nodiscard]] foundation::Value evaluated(const MappingExpression& expression,
                                          const ExpressionSubjects& subjects);

/// The value of the property's expression, or what stands in for an absent one.
[[nodiscard]] foundation::Value mappedValue(const NSPropertyMapping& property,
                                            const ExpressionSubjects& subjects);

}  // namespace coredata
