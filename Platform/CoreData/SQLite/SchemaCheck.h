#pragma once

#include <string>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredata {

class Connection;

/// How a file's schema differs from the one that a store of the model has.
struct SchemaCheck {
  /// Whether metadata can be read.
  bool hasMetadata = false;
  /// The first table, trigger or view that is missing, too many or different, in words; empty when
  /// there is none.
  std::string problem;
  /// Statements that make the indexes those of the model. Indexes change speed only, so they are
  /// put right.
  std::vector<std::string> indexChanges;
};

[[nodiscard]] SchemaCheck checkSchema(Connection& connection, const NSManagedObjectModel& model);

/// Drops and makes indexes until they are the model's, in one transaction. Takes as long as sorting
/// their columns.
void rebuildIndexes(Connection& connection, const NSManagedObjectModel& model);

}  // namespace coredata
