#include "CoreData/Migration/Mapping/Compiler/MappingCompiler.h"

#include <filesystem>
#include <utility>

#include "CoreData/Migration/Mapping/Compiled/CompiledMapping.h"
#include "CoreData/Migration/Mapping/Compiler/MappingExpansion.h"
#include "CoreData/Migration/Mapping/MappingError.h"
#include "CoreData/Model/Compiled/FileReading.h"
#include "CoreData/Model/Compiler/FileReplacement.h"
#include "CoreData/Model/Compiler/ModelCompiler.h"
#include "CoreData/Model/ModelBuilder.h"

namespace coredata {
namespace {

using foundation::Ref;
using foundation::URL;

[[noreturn]] void fail(const std::string& path, const std::string& what) {
  throw mappingError(MappingErrorCode::invalidMapping, "\"" + path + "\": " + what);
}

Ref<NSManagedObjectModel> modelNamed(const std::string& version,
                                     std::span<const std::string> models) {
  const auto filename = version + ".json";
  for (const std::filesystem::path path : models) {
    const auto file = std::filesystem::is_directory(path) ? path / filename : path;
    if (file.filename() != filename || !std::filesystem::exists(file)) continue;
    auto model = compileModelSource(file.string());
    return ModelBuilder::build(std::move(model.source), model.hashes);
  }
  throw mappingError(MappingErrorCode::invalidMapping,
                     "There is no source of the version \"" + version + "\".");
}

}  // namespace

MappingContent compileMappingSource(const std::string& path, std::span<const std::string> models) {
  const auto url = URL::fileURL(path);
  const auto bytes = readFile(url, "mapping");
  return namingFile(url, [&] {
    const auto mapping = MappingSource::parse(asText(bytes));
    const auto source = modelNamed(mapping.source, models);
    const auto destination = modelNamed(mapping.destination, models);
    return expanded(mapping, *source, *destination);
  });
}

void writeCompiledMapping(const MappingContent& content, const std::string& path) {
  if (std::filesystem::path(path).extension() != ".cdm") {
    fail(path, "a compiled mapping ends in .cdm.");
  }
  replaceFile(path, compiledForm(content));
}

}  // namespace coredata
