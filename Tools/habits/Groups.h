#pragma once

#include <string>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/Model/CDGroup.h"

namespace habits {

/// The group of that title, the first where several bear it; null when there is none.
[[nodiscard]] foundation::Ref<coredatastack::CDGroup> findGroup(
    const std::string& title, coredata::NSManagedObjectContext& context);
/// The same. Throws `Refusal` when there is none.
[[nodiscard]] foundation::Ref<coredatastack::CDGroup> groupTitled(
    const std::string& title, coredata::NSManagedObjectContext& context);
/// A new group behind all others.
[[nodiscard]] foundation::Ref<coredatastack::CDGroup> makeGroup(
    const std::string& title, coredata::NSManagedObjectContext& context);

}  // namespace habits
