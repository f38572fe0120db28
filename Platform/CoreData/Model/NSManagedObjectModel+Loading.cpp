#include "CoreData/Model/Compiled/ModelFiles.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/Error.h"

namespace coredata {
namespace {

using foundation::Error;
using foundation::Ref;
using foundation::URL;

Ref<NSManagedObjectModel> build(CompiledModel compiled) {
  return ModelBuilder::build(std::move(compiled.source), compiled.hashes);
}

std::vector<URL> filesOf(const URL& url) {
  if (!isModelDirectory(url)) return {url};
  std::vector<URL> files;
  for (const auto& [version, fingerprint] : readVersionInfo(url).versions) {
    files.push_back(versionFile(url, version));
  }
  return files;
}

}  // namespace

Ref<NSManagedObjectModel> NSManagedObjectModel::contentsOf(const URL& url, std::string* why) {
  try {
    return build(readCompiledModel(url));
  } catch (const Error& error) {
    if (why != nullptr) *why = error.message();
    return nullptr;
  }
}

Ref<NSManagedObjectModel> NSManagedObjectModel::mergedModel(
    std::span<const URL> from, const foundation::ValueDictionary& forStoreMetadata) {
  for (const auto& url : from) {
    std::vector<URL> files;
    try {
      files = filesOf(url);
    } catch (const Error&) {
      continue;  // What cannot be read is compatible with nothing; another file may be.
    }
    for (const auto& file : files) {
      auto model = contentsOf(file);
      if (model && model->isConfiguration(std::nullopt, forStoreMetadata)) return model;
    }
  }
  return nullptr;
}

}  // namespace coredata
