#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Metadata/NSMetadataItem.h"
#include "Foundation/Metadata/NSMetadataQuery.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/OperationQueue.h"
#include "Foundation/Values/Description.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/NSURL.h"

namespace coredatastack {

using foundation::make;
using foundation::NSMetadataItem;
using foundation::NSMetadataQuery;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::Object;
using foundation::Ref;

namespace {

/// The process's search. A new one takes the place of the one before.
void hold(Ref<NSMetadataQuery> query) {
  static std::mutex& mutex = *new std::mutex;
  static Ref<NSMetadataQuery>& held = *new Ref<NSMetadataQuery>;
  const std::scoped_lock lock(mutex);
  held.swap(query);
}

/// The text of a backup's URL; none for anything else that was found.
std::optional<std::string> backupURL(const Ref<Object>& result) {
  const auto item = foundation::as<NSMetadataItem>(result);
  if (!item) return std::nullopt;
  const auto status = item->value(foundation::NSMetadataUbiquitousItemDownloadingStatusKey);
  if (!status || status->text() == nullptr) return std::nullopt;
  const auto value = item->value(foundation::NSMetadataItemURLKey);
  const foundation::URL* url = value ? foundation::NSURL::in(*value) : nullptr;
  if (url == nullptr || !url->absoluteString().contains("Backups")) return std::nullopt;
  return url->absoluteString();
}

}  // namespace

void CoreDataStack::restoreFromCloud() {
  auto query = make<NSMetadataQuery>();
  query->setOperationQueue(foundation::OperationQueue::main());
  query->setPredicate(foundation::NSPredicate::format(
      "%K like '*'", std::string(foundation::NSMetadataItemFSNameKey)));
  query->setSearchScopes({std::string(foundation::NSMetadataQueryUbiquitousDataScope)});
  query->enableUpdates();
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
  std::vector<std::string> backups;
  query->enumerateResultsUsingBlock([&](const Ref<Object>& result, std::size_t, bool&) {
    if (auto url = backupURL(result)) backups.push_back(std::move(*url));
  });
  std::ranges::sort(backups);
  foundation::print(foundation::description(backups));
}

}  // namespace coredatastack
