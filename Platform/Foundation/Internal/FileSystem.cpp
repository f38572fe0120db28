#include "Foundation/Internal/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

namespace foundation {

namespace {

std::atomic<FileSystem*> installedFileSystem{nullptr};

/// The result of a call that answers -1 and sets `errno` when it fails; made again when a signal
/// came between.
template <typename Call>
auto attempt(Call call) -> FileResult<decltype(call())> {
  for (;;) {
    const auto result = call();
    if (result >= 0) return result;
    if (errno != EINTR) return std::unexpected(errno);
  }
}

/// The same for calls whose only result is that they worked.
template <typename Call>
FileResult<void> perform(Call call) {
  const auto result = attempt(call);
  if (!result) return std::unexpected(result.error());
  return {};
}

FileResult<std::size_t> asSize(FileResult<ssize_t> result) {
  if (!result) return std::unexpected(result.error());
  return static_cast<std::size_t>(*result);
}

FileResult<std::vector<std::string>> namesIn(DIR* directory) {
  std::vector<std::string> names;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(directory);
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  if (errno != 0) return std::unexpected(errno);
  return names;
}

class SystemFileSystem final : public FileSystem {
 public:
  FileResult<int> open(int directory, const char* path, int flags, mode_t mode) override {
    return attempt([=] { return ::openat(directory, path, flags | O_CLOEXEC, mode); });
  }
  FileResult<std::size_t> read(int file, std::span<std::uint8_t> bytes) override {
    return asSize(attempt([=] { return ::read(file, bytes.data(), bytes.size()); }));
  }
  FileResult<std::size_t> write(int file, std::span<const std::uint8_t> bytes) override {
    return asSize(attempt([=] { return ::write(file, bytes.data(), bytes.size()); }));
  }
  FileResult<void> truncate(int file, off_t size) override {
    return perform([=] { return ::ftruncate(file, size); });
  }
  FileResult<void> sync(int file) override {
    return perform([=] { return ::fsync(file); });
  }
  FileResult<void> rename(int fromDirectory, const char* from, int toDirectory,
                          const char* to) override {
    return perform([=] { return ::renameat(fromDirectory, from, toDirectory, to); });
  }
  FileResult<void> unlink(int directory, const char* path, int flags) override {
    return perform([=] { return ::unlinkat(directory, path, flags); });
  }
  FileResult<void> makeDirectory(int directory, const char* path, mode_t mode) override {
    return perform([=] { return ::mkdirat(directory, path, mode); });
  }
  FileResult<void> touch(int directory, const char* path) override {
    return perform([=] { return ::utimensat(directory, path, nullptr, 0); });
  }
  FileResult<struct stat> status(int directory, const char* path, int flags) override {
    struct stat result {};
    const auto done = perform([&] { return ::fstatat(directory, path, &result, flags); });
    if (!done) return std::unexpected(done.error());
    return result;
  }
  FileResult<std::vector<std::string>> list(int directory) override {
    // Through a descriptor of its own: the stream closes what it reads from.
    const auto opened =
        attempt([=] { return ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (!opened) return std::unexpected(opened.error());
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(*opened), &::closedir);
    if (stream == nullptr) {
      const int failed = errno;
      ::close(*opened);
      return std::unexpected(failed);
    }
    return namesIn(stream.get());
  }
  FileResult<std::uint64_t> mount(int file) override {
    struct statx found {};
    const auto done =
        perform([&] { return ::statx(file, "", AT_EMPTY_PATH, STATX_MNT_ID, &found); });
    if (!done) return std::unexpected(done.error());
    if ((found.stx_mask & STATX_MNT_ID) != 0) return found.stx_mnt_id;
    // Before Linux 5.8 only file systems can be told apart.
    return (std::uint64_t{found.stx_dev_major} << 32) | found.stx_dev_minor;
  }
  FileResult<std::uint64_t> availableBytes(int file) override {
    struct statvfs found {};
    const auto done = perform([&] { return ::fstatvfs(file, &found); });
    if (!done) return std::unexpected(done.error());
    return std::uint64_t{found.f_bavail} * found.f_frsize;
  }
  FileResult<int> openWatcher() override {
    return attempt([] { return ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK); });
  }
  FileResult<int> watch(int watcher, const char* path, std::uint32_t events) override {
    return attempt([=] { return ::inotify_add_watch(watcher, path, events); });
  }
  // After a close the descriptor is gone, whatever the call answers: trying again could close
  // another's.
  void close(int file) noexcept override { ::close(file); }
};

}  // namespace

FileSystem& FileSystem::system() noexcept {
  static SystemFileSystem fileSystem;
  return fileSystem;
}

FileSystem& FileSystem::current() noexcept {
  FileSystem* installed = installedFileSystem.load(std::memory_order_acquire);
  return installed == nullptr ? system() : *installed;
}

FileSystem* FileSystem::install(FileSystem* fileSystem) noexcept {
  return installedFileSystem.exchange(fileSystem, std::memory_order_acq_rel);
}

FileResult<FileDescriptor> FileDescriptor::open(int directory, const char* path, int flags,
                                                mode_t mode) {
  const auto descriptor = FileSystem::current().open(directory, path, flags, mode);
  if (!descriptor) return std::unexpected(descriptor.error());
  return FileDescriptor(*descriptor);
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    reset();
    descriptor_ = other.release();
  }
  return *this;
}

int FileDescriptor::release() noexcept { return std::exchange(descriptor_, -1); }

void FileDescriptor::reset() noexcept {
  if (descriptor_ >= 0) FileSystem::current().close(release());
}

namespace {

constexpr std::size_t kSmallReadStep = 1024;
constexpr std::size_t kReadStep = 64 * 1024;
/// A file that says to be larger shows it by what is read.
constexpr std::size_t kLargestGuess = std::size_t{16} << 20;

/// What reading the file will probably take, so that its bytes need not move as they grow in
/// number.
std::size_t roomFor(int file) {
  const auto status = FileSystem::current().status(file, "", AT_EMPTY_PATH);
  const std::int64_t size = status ? status->st_size : 0;
  return size <= 0 ? 0 : std::min<std::size_t>(static_cast<std::size_t>(size), kLargestGuess);
}

}  // namespace

FileResult<std::vector<std::uint8_t>> readAll(int file, std::size_t limit) {
  std::vector<std::uint8_t> content;
  const std::size_t room = std::min(roomFor(file), limit);
  content.reserve(room + kSmallReadStep);
  for (;;) {
    const std::size_t size = content.size();
    // The bytes are cleared before they are read into, which is dearer for a small file than
    // reading.
    const std::size_t rest = room - std::min(room, size);
    content.resize(size + std::clamp(rest, kSmallReadStep, kReadStep));
    const auto count = FileSystem::current().read(file, std::span(content).subspan(size));
    if (!count) return std::unexpected(count.error());
    content.resize(size + *count);
    if (content.size() > limit) return std::unexpected(EFBIG);
    if (*count == 0) return content;
  }
}

FileResult<std::vector<std::uint8_t>> readFile(int directory, const char* path, std::size_t limit) {
  const auto file = FileDescriptor::open(directory, path, O_RDONLY);
  if (!file) return std::unexpected(file.error());
  return readAll(file->get(), limit);
}

FileResult<void> makeDirectories(const std::string& path, mode_t mode) {
  FileSystem& files = FileSystem::current();
  for (std::size_t end = 0; end != std::string::npos;) {
    end = path.find('/', end + 1);
    const auto made = files.makeDirectory(AT_FDCWD, path.substr(0, end).c_str(), mode);
    if (!made && made.error() != EEXIST) return made;
  }
  const auto status = files.status(AT_FDCWD, path.c_str(), 0);
  if (!status) return std::unexpected(status.error());
  if (!S_ISDIR(status->st_mode)) return std::unexpected(ENOTDIR);
  return {};
}

FileResult<void> writeAll(int file, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = FileSystem::current().write(file, bytes);
    if (!count) return std::unexpected(count.error());
    bytes = bytes.subspan(*count);
  }
  return {};
}

}  // namespace foundation
