#pragma once

#include <string_view>

#include "Foundation/Notifications/NSNotificationName.h"

namespace coredata {

/// Posted by a coordinator after commits to its store, whoever made them: other processes, other
/// coordinators, its own contexts. One notification may stand for several commits; the last commit
/// is never left without. The store's description asks for it by
/// `NSPersistentStoreRemoteChangeNotificationPostOptionKey`.
///
/// The object is the coordinator. The user info names the store: its UUID as a text under
/// `NSStoreUUIDKey`, its URL as a text under `NSPersistentStoreURLKey`, and, where it keeps a
/// history, the number of the newest transaction under `NSPersistentHistoryTokenKey`.
///
/// It is posted once more when the store was replaced by another; reading it then fails.
///
/// Threading: posted on a thread of the coordinator's own, never in the course of a save. A
/// receiver may do with the coordinator what it likes, but must not wait for a thread that is
/// removing the store, which in turn waits for the receiver.
inline constexpr foundation::NSNotificationName NSPersistentStoreRemoteChangeNotification{
    "NSPersistentStoreRemoteChangeNotification"};

inline constexpr std::string_view NSPersistentStoreURLKey = "NSPersistentStoreURLKey";
inline constexpr std::string_view NSPersistentHistoryTokenKey = "NSPersistentHistoryTokenKey";

}  // namespace coredata
