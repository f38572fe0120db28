#include "Tools/habits/NewFile.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "Foundation/Internal/FileSystem.h"
#include "Tools/habits/Failures.h"

namespace habits {

using foundation::FileDescriptor;
using foundation::FileSystem;

void writeNewFile(const std::string& path, std::span<const std::uint8_t> bytes) {
  constexpr mode_t kMode = 0644;
  const auto file =
      FileDescriptor::open(AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_EXCL, kMode);
  if (!file && file.error() == EEXIST) {
    throw Refusal(path + " is there already, and was left as it is. Name another file.");
  }
  if (!file) throw Refusal(path + " cannot be written: " + std::strerror(file.error()) + ".");
  const auto written = foundation::writeAll(file->get(), bytes);
  if (written) return;
  const auto removed = FileSystem::current().unlink(AT_FDCWD, path.c_str(), 0);
  throw Refusal(path + " cannot be written: " + std::strerror(written.error()) + "." +
                (removed ? "" : " A part of it is left there."));
}

}  // namespace habits
