#pragma once

#include <memory>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreDataStack/History/AppTarget.h"
#include "CoreDataStack/History/PersistentHistoryObservable.h"
#include "Foundation/Files/UserDefaults.h"
#include "Logger/Loggable.h"

namespace coredatastack {

/// Brings into a container's view context what others wrote to its store: whenever the store says
/// that it changed, one pass over the history merges the new transactions, remembers how far it
/// came, deletes what every target has merged, and tells those who listen.
///
/// - Passes run one at a time, in the order of the changes, on a thread of their own; each reads
///   through a background context that it makes and drops.
/// - A pass with nothing new says and changes nothing. So does one over the view context's own
/// saves.
/// - After a pass that merged something: `SyncEvent::finish`, a line on standard output, and the
///   notification `NSPersistentHistoryDidMerge`, in this order and on the pass's thread. The merge
///   itself runs on the view context's queue and may come later; a turn there comes after it.
/// - A pass that fails hands its error to the logger, if there is one, and says nothing else; the
///   next one starts where it did.
///
/// Threading: any thread.
class PersistentHistoryObserver final : public PersistentHistoryObservable {
 public:
  /// `userDefaults` keeps the timestamps. `logger` may be null: errors are dropped then. Registers
  /// for nothing.
  PersistentHistoryObserver(const AppTarget& target,
                            foundation::Ref<coredata::NSPersistentContainer> persistentContainer,
                            foundation::Ref<foundation::UserDefaults> userDefaults,
                            foundation::Ref<logger::Loggable> logger);

  /// Registers for the changes of the container's store, for good. Each further call means one pass
  /// more a change.
  void startObserving();

  [[nodiscard]] const foundation::Ref<combine::PassthroughSubject<SyncEvent>>& syncEvent()
      const noexcept override {
    return syncEvent_;
  }
  void processStoreRemoteChanges(const foundation::NSNotification& notification) override;

  [[nodiscard]] const foundation::Ref<coredata::NSPersistentContainer>& persistentContainer()
      const noexcept {
    return persistentContainer_;
  }

 private:
  ~PersistentHistoryObserver() override;

  /// Made when the store first changes.
  class HistoryQueue;

  void processHistory();
  void mergeAndTell(const foundation::Ref<coredata::NSManagedObjectContext>& backgroundContext);

  const AppTarget target_;
  const foundation::Ref<foundation::UserDefaults> userDefaults_;
  const foundation::Ref<coredata::NSPersistentContainer> persistentContainer_;
  const foundation::Ref<logger::Loggable> logger_;
  const foundation::Ref<combine::PassthroughSubject<SyncEvent>> syncEvent_;
  const std::unique_ptr<HistoryQueue> historyQueue_;
};

}  // namespace coredatastack
