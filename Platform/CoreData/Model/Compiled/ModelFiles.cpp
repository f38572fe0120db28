#include "CoreData/Model/Compiled/ModelFiles.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "CoreData/Model/Compiled/FileReading.h"
#include "CoreData/Model/ModelError.h"
#include "Foundation/Internal/FileSystem.h"

namespace coredata {
namespace {

using foundation::FileResult;
using foundation::FileSystem;
using foundation::URL;

CompiledModel readOneModel(const URL& url) {
  const auto extension = url.pathExtension();
  if (extension != "omo" && extension != "mom") {
    throw modelError(ModelErrorCode::unreadableFile,
                     "The model file " + quoted(url) +
                         " cannot be read: compiled models end in .omo, .mom or .momd.");
  }
  const auto bytes = readFile(url, "model");
  return namingFile(url, [&] {
    return extension == "omo" ? fromOptimizedForm(bytes) : fromReadableForm(asText(bytes));
  });
}

bool exists(const URL& url, bool (*is)(mode_t)) {
  const auto path = url.filePath();
  if (!path) return false;
  const auto status = FileSystem::current().status(AT_FDCWD, path->c_str(), 0);
  return status && is(status->st_mode);
}

}  // namespace

CompiledModel readCompiledModel(const URL& url) {
  if (!isModelDirectory(url)) return readOneModel(url);
  return readOneModel(versionFile(url, readVersionInfo(url).current));
}

bool isModelDirectory(const URL& url) {
  return exists(url, [](mode_t mode) { return S_ISDIR(mode); });
}

VersionInfo readVersionInfo(const URL& directory) {
  const auto url = directory.appendingPathComponent(VersionInfo::kFileName);
  const auto bytes = readFile(url, "model");
  return namingFile(url, [&] { return VersionInfo::parse(asText(bytes)); });
}

URL versionFile(const URL& directory, const std::string& version) {
  const auto optimized = directory.appendingPathComponent(version + ".omo");
  const bool isThere = exists(optimized, [](mode_t) { return true; });
  return isThere ? optimized : directory.appendingPathComponent(version + ".mom");
}

}  // namespace coredata
