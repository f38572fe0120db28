#pragma once

#include "CoreDataStack/Stack/CoreDataStack.h"

namespace habits {

/// Opens a stack's store, migrating one of an older version, and returns when that is done. Throws
/// the setup's error. On the main thread, whose queue is served meanwhile.
void setUp(coredatastack::CoreDataStack& stack);

}  // namespace habits
