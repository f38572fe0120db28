#include "CoreDataStack/Stack/CloudBackups.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "Foundation/Metadata/NSMetadataItem.h"
#include "Foundation/Queues/OperationQueue.h"
#include "Foundation/Values/NSURL.h"

namespace coredatastack {

using foundation::NSMetadataItem;
using foundation::NSMetadataQuery;
using foundation::Object;
using foundation::Ref;

namespace {

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

Ref<NSMetadataQuery> cloudDocumentsQuery() {
  auto query = foundation::make<NSMetadataQuery>();
  query->setOperationQueue(foundation::OperationQueue::main());
  query->setPredicate(foundation::NSPredicate::format(
      "%K like '*'", std::string(foundation::NSMetadataItemFSNameKey)));
  query->setSearchScopes({std::string(foundation::NSMetadataQueryUbiquitousDataScope)});
  query->enableUpdates();
  return query;
}

std::vector<std::string> backupURLs(NSMetadataQuery& query) {
  std::vector<std::string> backups;
  query.enumerateResultsUsingBlock([&](const Ref<Object>& result, std::size_t, bool&) {
    if (auto url = backupURL(result)) backups.push_back(std::move(*url));
  });
  std::ranges::sort(backups);
  return backups;
}

}  // namespace coredatastack
