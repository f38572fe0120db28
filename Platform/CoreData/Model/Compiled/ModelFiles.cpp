#include "CoreData/Model/Compiled/ModelFiles.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <system_error>

#include "CoreData/Model/ModelError.h"
#include "Foundation/Internal/FileSystem.h"

namespace coredata {
namespace {

using foundation::Error;
using foundation::FileDescriptor;
using foundation::FileSystem;
using foundation::URL;

std::string quoted(const URL& url) {
  return "\"" + url.filePath().value_or(url.absoluteString()) + "\"";
}

[[noreturn]] void fail(const URL& url, const std::string& what) {
  throw modelError(ModelErrorCode::unreadableFile,
                   "The model file " + quoted(url) + " cannot be read: " + what + ".");
}

std::string systemText(int error) { return std::generic_category().message(error); }

std::string path(const URL& url) {
  auto path = url.filePath();
  if (!path) fail(url, "it is no file of this machine");
  return *std::move(path);
}

/// Opened without waiting, so that a pipe under a model's name holds nobody up.
FileDescriptor openFile(const URL& url) {
  auto file = FileDescriptor::open(AT_FDCWD, path(url).c_str(), O_RDONLY | O_NONBLOCK);
  if (!file) fail(url, systemText(file.error()));
  return *std::move(file);
}

std::size_t sizeOf(const FileDescriptor& file, const URL& url) {
  const auto status = FileSystem::current().status(file.get(), "", AT_EMPTY_PATH);
  if (!status) fail(url, systemText(status.error()));
  if (!S_ISREG(status->st_mode)) fail(url, "it is no regular file");
  if (std::cmp_greater(status->st_size, kLongestModelFile)) fail(url, "it is too long for a model");
  return static_cast<std::size_t>(status->st_size);
}

template <typename Read>
auto naming(const URL& url, Read read) {
  try {
    return read();
  } catch (const Error& error) {
    throw modelError(static_cast<ModelErrorCode>(error.code()),
                     quoted(url) + ": " + error.message());
  }
}

std::string_view asText(const std::vector<std::uint8_t>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

CompiledModel readFile(const URL& url) {
  const auto extension = url.pathExtension();
  if (extension != "omo" && extension != "mom") {
    fail(url, "compiled models end in .omo, .mom or .momd");
  }
  const auto bytes = readModelFile(url);
  return naming(url, [&] {
    return extension == "omo" ? fromOptimizedForm(bytes) : fromReadableForm(asText(bytes));
  });
}

}  // namespace

std::vector<std::uint8_t> readModelFile(const URL& url) {
  const auto file = openFile(url);
  std::vector<std::uint8_t> bytes(sizeOf(file, url));
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const auto count = FileSystem::current().read(file.get(), std::span(bytes).subspan(filled));
    if (!count) fail(url, systemText(count.error()));
    if (*count == 0) fail(url, "it was cut off while it was read");
    filled += *count;
  }
  return bytes;
}

CompiledModel readCompiledModel(const URL& url) {
  if (!isModelDirectory(url)) return readFile(url);
  return readFile(versionFile(url, readVersionInfo(url).current));
}

bool isModelDirectory(const URL& url) {
  const auto path = url.filePath();
  if (!path) return false;
  const auto status = FileSystem::current().status(AT_FDCWD, path->c_str(), 0);
  return status && S_ISDIR(status->st_mode);
}

VersionInfo readVersionInfo(const URL& directory) {
  const auto url = directory.appendingPathComponent(VersionInfo::kFileName);
  const auto bytes = readModelFile(url);
  return naming(url, [&] { return VersionInfo::parse(asText(bytes)); });
}

URL versionFile(const URL& directory, const std::string& version) {
  const auto optimized = directory.appendingPathComponent(version + ".omo");
  const bool exists =
      FileSystem::current().status(AT_FDCWD, path(optimized).c_str(), 0).has_value();
  return exists ? optimized : directory.appendingPathComponent(version + ".mom");
}

}  // namespace coredata
