#pragma once

#include "Foundation/Notifications/NSNotificationName.h"

namespace coredatastack {

/// The names under which the application, its extensions and this library tell each other what
/// happened, on the default notification center. Identifiers and texts are a contract between
/// programs of different age: their odd spellings stay.
struct CoreDataNotificationName : foundation::NSNotificationName {
  // Posted by the application; declared here so that there is one spelling.
  static constexpr NSNotificationName CoreDataDidUpdate{"CoreData.didUpdate"};
  static constexpr NSNotificationName CoreDataErrorOccured{"CoreData.errorOccured"};
  static constexpr NSNotificationName SettingsExpandedHoursDidUPdate{
      "Settings.didUpdateExpandedHours"};
  static constexpr NSNotificationName AppearanceDidChange{"Appearance.didChange"};

  /// Other processes' transactions were merged into the view context. No object; the user info
  /// holds the transactions in the order of the history, under "transactions" alone.
  static constexpr NSNotificationName NSPersistentHistoryDidMerge{"NSPersistentHistory.merged"};
};

}  // namespace coredatastack
