#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "CoreDataStack/PhotoDirectories.h"
#include "CoreDataStack/PhotoReference.h"
#include "Foundation/Values/Error.h"

namespace {

using foundation::Data;

constexpr std::size_t kLongestInput = 4096;
constexpr const char* kContainer = "/container/";
constexpr const char* kPhotos = "/container/photo/";

void require(bool holds) {
  if (!holds) std::abort();
}

/// Wherever a name leads, it leads nowhere out of the directory of photos.
void findFile(const std::string& name) {
  try {
    const auto path =
        coredatastack::photoFile(foundation::URL::fileURL(kContainer), name).filePath();
    require(path.has_value());
    const auto file = std::filesystem::path(*path).lexically_normal().string();
    // The directory itself, by a name that says no more, is no file either.
    require((file + "/").starts_with(kPhotos));
  } catch (const foundation::Error&) {
    // A file that cannot be read, as the migration sees it.
  }
}

/// The bytes as what a photo of the old store holds.
void readReference(const Data& reference) {
  try {
    if (const auto name = coredatastack::photoFileName(reference)) findFile(*name);
  } catch (const foundation::Error&) {
    // No JSON.
  }
}

/// The bytes as a file's name: refused, or found again in its reference.
void writeReference(const std::string& name) {
  std::optional<Data> reference;
  try {
    reference = coredatastack::photoReference(name);
  } catch (const foundation::Error&) {
    return;
  }
  require(coredatastack::photoFileName(*reference) == name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  readReference(Data(std::span(data, size)));
  const std::string name(reinterpret_cast<const char*>(data), size);
  writeReference(name);
  findFile(name);
  return 0;
}
