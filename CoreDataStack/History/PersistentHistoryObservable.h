#pragma once

#include "Combine/PassthroughSubject.h"
#include "CoreDataStack/Stack/SyncEvent.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Values/Object.h"

namespace coredatastack {

/// Somebody who follows what other processes do to a store.
class PersistentHistoryObservable : public foundation::Object {
 public:
  /// Tells when a pass over the history has merged something, on the thread of the pass.
  [[nodiscard]] virtual const foundation::Ref<combine::PassthroughSubject<SyncEvent>>& syncEvent()
      const noexcept = 0;
  /// Queues one pass over the history and returns. From any thread.
  virtual void processStoreRemoteChanges(const foundation::NSNotification& notification) = 0;

 protected:
  PersistentHistoryObservable() = default;
  ~PersistentHistoryObservable() override = default;
};

/// How it registers for a store's changes.
inline constexpr foundation::Selector<PersistentHistoryObservable> kProcessStoreRemoteChanges{
    "processStoreRemoteChanges:", &PersistentHistoryObservable::processStoreRemoteChanges};

}  // namespace coredatastack
