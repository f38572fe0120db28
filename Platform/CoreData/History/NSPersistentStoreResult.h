#pragma once

#include "Foundation/Values/Object.h"

namespace coredata {

/// What a store answers to a request. Which kind of request it was decides the class.
class NSPersistentStoreResult : public foundation::Object {
 protected:
  NSPersistentStoreResult() = default;
};

}  // namespace coredata
