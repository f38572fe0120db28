#include "Tests/Reliability/Power/RecordingFileSystem.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace power {

namespace fs = std::filesystem;
using foundation::FileResult;
using Kind = DiskOperation::Kind;

namespace {

std::string pathOf(int file) {
  return fs::read_symlink("/proc/self/fd/" + std::to_string(file)).string();
}

/// With the links in its directory followed, but not one at its end, which is what is renamed or
/// removed.
std::string pathOf(int directory, const char* path) {
  const fs::path base = directory == AT_FDCWD ? fs::current_path() : fs::path(pathOf(directory));
  const fs::path whole = (base / path).lexically_normal();
  const fs::path named = whole.has_filename() ? whole : whole.parent_path();
  return (fs::weakly_canonical(named.parent_path()) / named.filename()).string();
}

off_t nextWrite(int file) {
  const bool appends = (::fcntl(file, F_GETFL) & O_APPEND) != 0;
  return ::lseek(file, 0, appends ? SEEK_END : SEEK_CUR);
}

}  // namespace

FileResult<int> RecordingFileSystem::open(int directory, const char* path, int flags, mode_t mode) {
  const bool wasThere = system().status(directory, path, 0).has_value();
  const auto file = system().open(directory, path, flags, mode);
  if (!file) return file;
  if ((flags & O_CREAT) != 0 && !wasThere) {
    recorder_.add({Kind::create, pathOf(*file)});
  } else if ((flags & O_TRUNC) != 0) {
    recorder_.add({Kind::truncate, pathOf(*file), 0});
  }
  return file;
}

FileResult<std::size_t> RecordingFileSystem::write(int file, std::span<const std::uint8_t> bytes) {
  const off_t offset = nextWrite(file);
  const auto written = system().write(file, bytes);
  if (written) {
    const auto* begin = reinterpret_cast<const char*>(bytes.data());
    recorder_.add({Kind::write, pathOf(file), offset, std::string(begin, *written)});
  }
  return written;
}

FileResult<void> RecordingFileSystem::truncate(int file, off_t size) {
  const auto truncated = system().truncate(file, size);
  if (truncated) recorder_.add({Kind::truncate, pathOf(file), size});
  return truncated;
}

FileResult<void> RecordingFileSystem::sync(int file) {
  const std::string path = pathOf(file);
  recorder_.add({fs::is_directory(path) ? Kind::syncDirectory : Kind::sync, path});
  return {};
}

FileResult<void> RecordingFileSystem::rename(int fromDirectory, const char* from, int toDirectory,
                                             const char* to) {
  const std::string old = pathOf(fromDirectory, from);
  const auto renamed = system().rename(fromDirectory, from, toDirectory, to);
  if (renamed) recorder_.add({Kind::rename, old, 0, pathOf(toDirectory, to)});
  return renamed;
}

FileResult<void> RecordingFileSystem::unlink(int directory, const char* path, int flags) {
  const std::string whole = pathOf(directory, path);
  const auto removed = system().unlink(directory, path, flags);
  if (removed) {
    const bool isDirectory = (flags & AT_REMOVEDIR) != 0;
    recorder_.add({isDirectory ? Kind::removeDirectory : Kind::unlink, whole});
  }
  return removed;
}

FileResult<void> RecordingFileSystem::makeDirectory(int directory, const char* path, mode_t mode) {
  const auto made = system().makeDirectory(directory, path, mode);
  if (made) recorder_.add({Kind::makeDirectory, pathOf(directory, path)});
  return made;
}

}  // namespace power
