#pragma once

#include <map>
#include <string>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "Foundation/Values/Value.h"

namespace images {

/// What a store holds of one object. An attribute is absent where the store has nothing, plain
/// numbers too; a link holds the keys that a relationship leads to, ascending.
struct ObjectImage {
  std::map<std::string, foundation::Value> attributes;
  std::map<std::string, std::vector<coredata::ObjectKey>> links;
};

/// The objects of an entity by key.
using EntityImage = std::map<coredata::ObjectKey, ObjectImage>;
/// The entities by name.
using StoreImage = std::map<std::string, EntityImage>;

/// Everything that the context's store holds, read by key-value access.
[[nodiscard]] StoreImage imageOf(coredata::NSManagedObjectContext& context);

/// In what the two differ, a line each, at most a few; empty when they are equal.
[[nodiscard]] std::string differences(const StoreImage& expected, const StoreImage& actual);

}  // namespace images
