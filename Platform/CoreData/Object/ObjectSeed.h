#pragma once

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Rows/Row.h"
#include "Foundation/Values/Ref.h"

namespace coredata {

class ObjectRegistry;

/// What a context makes an object of that the store already has: its place, and its row unless it
/// starts as a fault.
struct ObjectSeed {
  const NSEntityDescription& entity;
  ObjectRegistry& registry;
  ObjectKey key;
  foundation::Ref<Row> row;
};

}  // namespace coredata
