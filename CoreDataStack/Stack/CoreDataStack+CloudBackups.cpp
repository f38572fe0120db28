#include <mutex>

#include "CoreDataStack/Stack/CloudBackups.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Values/Description.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using foundation::NSMetadataQuery;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::Ref;

namespace {

/// The process's search. A new one takes the place of the one before.
void hold(Ref<NSMetadataQuery> query) {
  static std::mutex& mutex = *new std::mutex;
  static Ref<NSMetadataQuery>& held = *new Ref<NSMetadataQuery>;
  const std::scoped_lock lock(mutex);
  held.swap(query);
}

}  // namespace

void CoreDataStack::restoreFromCloud() {
  const auto query = cloudDocumentsQuery();
  const foundation::Selector<CoreDataStack> selector{"refresh:", &CoreDataStack::refresh};
  NSNotificationCenter& center = NSNotificationCenter::defaultCenter();
  for (const auto& name : {foundation::NSMetadataQueryDidUpdateNotification,
                           foundation::NSMetadataQueryDidFinishGatheringNotification}) {
    center.addObserver(Ref<CoreDataStack>(this), selector, name, query);
  }
  hold(query);
  query->startQuery();
}

void CoreDataStack::refresh(const NSNotification& notification) {
  const auto query = foundation::as<NSMetadataQuery>(notification.object());
  if (!query) return;
  foundation::print(foundation::description(backupURLs(*query)));
}

}  // namespace coredatastack
