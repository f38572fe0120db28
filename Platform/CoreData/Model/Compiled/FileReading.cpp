#include "CoreData/Model/Compiled/FileReading.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <span>
#include <system_error>
#include <utility>

#include "CoreData/Model/ModelError.h"
#include "Foundation/Internal/FileSystem.h"

namespace coredata {
namespace {

using foundation::FileDescriptor;
using foundation::FileSystem;
using foundation::URL;

std::string systemText(int error) { return std::generic_category().message(error); }

class Reading {
 public:
  Reading(const URL& url, std::string_view kind) : url_(url), kind_(kind), file_(open()) {}

  std::vector<std::uint8_t> content() const {
    std::vector<std::uint8_t> bytes(size());
    std::size_t filled = 0;
    while (filled < bytes.size()) {
      const auto count = FileSystem::current().read(file_.get(), std::span(bytes).subspan(filled));
      if (!count) fail(systemText(count.error()));
      if (*count == 0) fail("it was cut off while it was read");
      filled += *count;
    }
    return bytes;
  }

 private:
  /// Opened without waiting, so that a pipe under a file's name holds nobody up.
  FileDescriptor open() const {
    const auto path = url_.filePath();
    if (!path) fail("it is no file of this machine");
    auto file = FileDescriptor::open(AT_FDCWD, path->c_str(), O_RDONLY | O_NONBLOCK);
    if (!file) fail(systemText(file.error()));
    return *std::move(file);
  }

  std::size_t size() const {
    const auto status = FileSystem::current().status(file_.get(), "", AT_EMPTY_PATH);
    if (!status) fail(systemText(status.error()));
    if (!S_ISREG(status->st_mode)) fail("it is no regular file");
    if (std::cmp_greater(status->st_size, kLongestFile)) fail("it is too long for a " + kind_);
    return static_cast<std::size_t>(status->st_size);
  }

  [[noreturn]] void fail(const std::string& what) const {
    throw modelError(ModelErrorCode::unreadableFile,
                     "The " + kind_ + " file " + quoted(url_) + " cannot be read: " + what + ".");
  }

  const URL& url_;
  std::string kind_;
  FileDescriptor file_;
};

}  // namespace

std::vector<std::uint8_t> readFile(const URL& url, std::string_view kind) {
  return Reading(url, kind).content();
}

std::string quoted(const URL& url) {
  return "\"" + url.filePath().value_or(url.absoluteString()) + "\"";
}

}  // namespace coredata
