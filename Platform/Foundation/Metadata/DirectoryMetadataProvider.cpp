#include "Foundation/Metadata/DirectoryMetadataProvider.h"

#include <cerrno>
#include <optional>
#include <utility>

#include "Foundation/Metadata/Internal/DirectoryTree.h"
#include "Foundation/Metadata/Internal/DirectoryWatch.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/NSURL.h"

namespace foundation {

namespace {

std::string pathOf(const URL& directory) {
  if (auto path = directory.filePath()) return *std::move(path);
  throw Error(std::string(kPosixErrorDomain), EINVAL,
              "\"" + directory.absoluteString() + "\" is not the URL of a directory.");
}

Ref<NSMetadataItem> itemOf(const std::string& path) {
  const URL url = URL::fileURL(path);
  return make<NSMetadataItem>(
      ValueDictionary{{std::string(NSMetadataItemFSNameKey), url.lastPathComponent()},
                      {std::string(NSMetadataItemURLKey), make<NSURL>(url)},
                      {std::string(NSMetadataUbiquitousItemDownloadingStatusKey),
                       NSMetadataUbiquitousItemDownloadingStatusCurrent}});
}

}  // namespace

DirectoryMetadataProvider::DirectoryMetadataProvider(const URL& directory,
                                                     std::chrono::milliseconds interval)
    : directory_(pathOf(directory)), interval_(interval) {}

MetadataProvider::Items DirectoryMetadataProvider::items() {
  Items items;
  for (const std::string& file : treeIn(directory_).files) items.push_back(itemOf(file));
  return items;
}

Ref<Object> DirectoryMetadataProvider::observe(std::function<void()> changed) {
  return make<DirectoryWatch>(directory_, interval_, std::move(changed));
}

}  // namespace foundation
