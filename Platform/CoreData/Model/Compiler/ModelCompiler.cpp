#include "CoreData/Model/Compiler/ModelCompiler.h"

#include <filesystem>
#include <map>
#include <utility>

#include "CoreData/Model/Compiled/FileReading.h"
#include "CoreData/Model/Compiled/VersionInfo.h"
#include "CoreData/Model/Compiler/FileReplacement.h"
#include "CoreData/Model/ModelError.h"
#include "Foundation/Values/URL.h"

namespace coredata {
namespace {

using foundation::URL;

[[noreturn]] void fail(const std::string& path, const std::string& what) {
  throw modelError(ModelErrorCode::invalidModel, "\"" + path + "\": " + what);
}

std::span<const std::uint8_t> asBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string versionName(const std::string& path) {
  auto name = std::filesystem::path(path).stem().string();
  if (!isVersionName(name)) fail(path, "a version cannot be named \"" + name + "\".");
  return name;
}

using Versions = std::map<std::string, CompiledModel>;

void requireDistinguishable(const Versions& versions, const std::string& path,
                            const CompiledModel& added) {
  for (const auto& [name, version] : versions) {
    if (version.hashes.fingerprint != added.hashes.fingerprint) continue;
    fail(path, "the version stores exactly as \"" + name +
                   "\" does, so that no store could be told to be of one of them.");
  }
}

Versions compileAll(std::span<const std::string> sources) {
  Versions versions;
  for (const auto& path : sources) {
    auto name = versionName(path);
    if (versions.contains(name)) fail(path, "there are two sources of \"" + name + "\".");
    auto model = compileModelSource(path);
    requireDistinguishable(versions, path, model);
    versions.emplace(std::move(name), std::move(model));
  }
  return versions;
}

}  // namespace

CompiledModel compileModelSource(const std::string& path) {
  const auto url = URL::fileURL(path);
  const auto bytes = readFile(url, "model");
  return namingFile(url, [&] { return compiled(ModelSource::parse(asText(bytes))); });
}

void writeCompiledModel(const CompiledModel& model, const std::string& path) {
  const auto extension = std::filesystem::path(path).extension();
  if (extension == ".omo") return replaceFile(path, optimizedForm(model));
  if (extension == ".mom") return replaceFile(path, asBytes(readableForm(model)));
  fail(path, "a compiled model ends in .omo or .mom.");
}

void compileModelDirectory(std::span<const std::string> sources, const std::string& directory,
                           const std::string& current) {
  const auto versions = compileAll(sources);
  if (!versions.contains(current)) {
    fail(directory, "there is no source of the current version \"" + current + "\".");
  }
  VersionInfo info{current, {}};
  makeDirectories(directory);
  for (const auto& [name, model] : versions) {
    const auto path = std::filesystem::path(directory) / name;
    writeCompiledModel(model, path.string().append(".omo"));
    writeCompiledModel(model, path.string().append(".mom"));
    info.versions.emplace(name, hexadecimal(model.hashes.fingerprint));
  }
  replaceFile(directory + "/" + std::string(VersionInfo::kFileName), asBytes(info.text()));
}

}  // namespace coredata
