#pragma once

#include <optional>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/History/AppTarget.h"
#include "CoreDataStack/History/PersistentHistoryFetcher.h"
#include "Foundation/Files/UserDefaults.h"

namespace coredatastack {

/// Brings into one context what others wrote since the last time, and remembers how far it came.
class PersistentHistoryMerger {
 public:
  using Transactions = PersistentHistoryFetcher::Transactions;

  /// `backgroundContext` reads the history, `viewContext` receives it.
  PersistentHistoryMerger(foundation::Ref<coredata::NSManagedObjectContext> backgroundContext,
                          foundation::Ref<coredata::NSManagedObjectContext> viewContext,
                          const AppTarget& currentTarget,
                          foundation::Ref<foundation::UserDefaults> userDefaults);

  /// The transactions of others, or none when there is nothing new. They are merged on the view
  /// context's own queue, in their order and perhaps after the return: who wants to see them takes
  /// a turn there. Throws what reading the history throws; nothing is merged then and the timestamp
  /// stays. In the background context's turn.
  [[nodiscard]] std::optional<Transactions> merge() const;

 private:
  foundation::Ref<coredata::NSManagedObjectContext> backgroundContext_;
  foundation::Ref<coredata::NSManagedObjectContext> viewContext_;
  AppTarget currentTarget_;
  foundation::Ref<foundation::UserDefaults> userDefaults_;
};

}  // namespace coredatastack
