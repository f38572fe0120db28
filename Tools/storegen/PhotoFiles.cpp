#include "Tools/storegen/PhotoFiles.h"

#include <vector>

#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Data.h"
#include "Foundation/Values/URL.h"
#include "Tools/storegen/Draw.h"
#include "Tools/storegen/SeededValues.h"

namespace storegen {

using foundation::Data;
using foundation::FileManager;
using foundation::URL;

namespace {

constexpr std::size_t kThumbnailShare = 10;

Data picture(Draw draw, std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  draw.fill(bytes);
  return Data(std::move(bytes));
}

URL madeDirectory(const std::string& container, std::string_view name) {
  const URL directory = URL::fileURL(container + "/").appendingPathComponent(name);
  FileManager::defaultManager().createDirectory(directory, true);
  return directory;
}

}  // namespace

void writePhotoFiles(const coredata::NSManagedObjectModel& model, const SeededContent& content) {
  const auto* const photo = model.entity("Photo");
  const auto* const filename = photo == nullptr ? nullptr : photo->attribute("filename");
  if (filename == nullptr || content.container.empty()) return;
  const URL pictures = madeDirectory(content.container, "photo");
  const URL thumbnails = madeDirectory(content.container, "thumbnail");
  const FileManager& files = FileManager::defaultManager();
  const SeededValues names(*filename, content);
  const std::uint64_t stream = streamOf(content.seed, "picture");
  for (std::size_t i = 0; i < objectCount(*photo, content); ++i) {
    const std::string name = *names.at(i).text();
    const Draw draw(stream, i);
    files.write(picture(draw, content.photoBytes), pictures.appendingPathComponent(name));
    files.write(picture(draw, content.photoBytes / kThumbnailShare),
                thumbnails.appendingPathComponent(name));
  }
}

}  // namespace storegen
