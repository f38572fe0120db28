#include "CoreDataStack/Stack/CloudBackups.h"
#include "Foundation/Files/Directories.h"
#include "Foundation/Metadata/DirectoryMetadataProvider.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Table.h"

namespace habits {

using foundation::NSMetadataQuery;
using foundation::Ref;
using foundation::URL;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

/// Where whatever keeps the user's documents in step with a cloud puts them.
std::string cloudDocuments() {
  return foundation::Directories::current()->dataDirectory() + "/Documents";
}

void gather(const Ref<NSMetadataQuery>& query) {
  const auto token = foundation::NSNotificationCenter::defaultCenter().addObserver(
      foundation::NSMetadataQueryDidFinishGatheringNotification, query,
      [](const auto&) { foundation::stopMainQueue(); });
  query->startQuery();
  foundation::runMainQueue();
  query->stopQuery();
}

}  // namespace

Answer backups() {
  foundation::MetadataProvider::setProvider(
      foundation::make<foundation::DirectoryMetadataProvider>(URL::fileURL(cloudDocuments() + "/")),
      foundation::NSMetadataQueryUbiquitousDataScope);
  const auto query = coredatastack::cloudDocumentsQuery();
  gather(query);
  Table table;
  ValueList data;
  for (const std::string& text : coredatastack::backupURLs(*query)) {
    const auto url = URL::parse(text);
    const std::string path = url ? url->filePath().value_or(text) : text;
    table.add({path});
    data.push_back(ValueDictionary{{"url", text}, {"file", path}});
  }
  return {data.empty() ? "There are no backups in " + cloudDocuments() + "." : table.text(),
          std::move(data)};
}

}  // namespace habits
