#include "CoreData/Model/Compiler/FileReplacement.h"

#include <fcntl.h>

#include <system_error>

#include "CoreData/Model/ModelError.h"
#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Values/UUID.h"

namespace coredata {
namespace {

using foundation::FileDescriptor;
using foundation::FileResult;
using foundation::FileSystem;

constexpr mode_t kFileMode = 0644;
constexpr mode_t kDirectoryMode = 0755;

void require(const FileResult<void>& result, const std::string& path) {
  if (result) return;
  throw modelError(ModelErrorCode::unreadableFile,
                   "\"" + path + "\" cannot be written: " +
                       std::generic_category().message(result.error()) + ".");
}

/// Removes a file that has not become the real one.
class Draft {
 public:
  explicit Draft(std::string path) : path_(std::move(path)) {}
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;
  ~Draft() {
    if (isKept_) return;
    // Nothing better can be done about a draft that cannot be removed either.
    [[maybe_unused]] const auto result = FileSystem::current().unlink(AT_FDCWD, path_.c_str(), 0);
  }

  [[nodiscard]] FileResult<void> write(std::span<const std::uint8_t> content) const {
    const auto file =
        FileDescriptor::open(AT_FDCWD, path_.c_str(), O_WRONLY | O_CREAT | O_EXCL, kFileMode);
    if (!file) return std::unexpected(file.error());
    const auto written = foundation::writeAll(file->get(), content);
    return written ? FileSystem::current().sync(file->get()) : written;
  }

  [[nodiscard]] FileResult<void> become(const std::string& path) {
    const auto renamed =
        FileSystem::current().rename(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str());
    isKept_ = renamed.has_value();
    return renamed;
  }

 private:
  std::string path_;
  bool isKept_ = false;
};

}  // namespace

void makeDirectories(const std::string& path) {
  require(foundation::makeDirectories(path, kDirectoryMode), path);
}

void replaceFile(const std::string& path, std::span<const std::uint8_t> content) {
  Draft draft(path + "." + foundation::UUID().uuidString());
  require(draft.write(content), path);
  require(draft.become(path), path);
}

}  // namespace coredata
