#pragma once

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Rows/ObjectKey.h"
#include "Foundation/Values/Object.h"

namespace coredata {

/// Knows which stored objects are meant by arguments that are objects or identifiers of some.
class ObjectArguments {
 public:
  /// The object's key, as it stands in references to `expected`. `kNoObject`, which no reference
  /// holds, for an object of another entity, store or kind; an object that was never saved has a
  /// key that no reference holds either.
  [[nodiscard]] virtual ObjectKey keyFor(const foundation::Object& argument,
                                         const NSEntityDescription& expected) const = 0;

 protected:
  ~ObjectArguments() = default;
};

}  // namespace coredata
