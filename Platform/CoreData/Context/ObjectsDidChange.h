#pragma once

#include <string_view>

#include "Foundation/Notifications/NSNotificationName.h"

namespace coredata {

/// Posted by a context when it has processed pending changes, on its queue: at the end of a block,
/// before a fetch or count, and at a save. The object is the context; the user info lists the
/// objects that were changed since the last time, under `NSInsertedObjectsKey`,
/// `NSUpdatedObjectsKey`, `NSDeletedObjectsKey` and `NSRefreshedObjectsKey`.
///
/// Changes count from the first processing on at which somebody is registered. While somebody is,
/// what other contexts save and this one merges is listed too, in whatever objects it takes.
inline constexpr foundation::NSNotificationName NSManagedObjectContextObjectsDidChangeNotification{
    "NSManagedObjectContextObjectsDidChangeNotification"};

/// Objects whose values came from the store anew, or whose changes were dropped.
inline constexpr std::string_view NSRefreshedObjectsKey = "refreshed";

}  // namespace coredata
