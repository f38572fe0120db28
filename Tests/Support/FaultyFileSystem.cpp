#include "Tests/Support/FaultyFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace support {

using foundation::FileResult;

namespace {

/// 0 for what is no file, or bears other names too: it takes no room, or keeps it.
std::int64_t sizeAt(int directory, const char* path) {
  struct stat status {};
  if (fstatat(directory, path, &status, AT_SYMLINK_NOFOLLOW) != 0) return 0;
  return S_ISREG(status.st_mode) && status.st_nlink == 1 ? status.st_size : 0;
}

std::int64_t sizeOf(int file) {
  struct stat status {};
  return fstat(file, &status) == 0 ? status.st_size : 0;
}

}  // namespace

FaultyFileSystem::FaultyFileSystem(FileFault fault, std::size_t point, int error,
                                   FileOperations watched)
    : fault_(fault), point_(point), error_(error), watched_(watched) {}

std::optional<int> FaultyFileSystem::errorOf(FileOperation operation) {
  if ((watched_ & bit(operation)) == 0) return std::nullopt;
  ++count_;
  const bool lasts = fault_ == FileFault::failFromThenOn;
  if (point_ == 0 || (lasts ? count_ < point_ : count_ != point_)) return std::nullopt;
  return errorAtFault(operation);
}

std::optional<int> FaultyFileSystem::errorAtFault(FileOperation operation) {
  switch (fault_) {
    case FileFault::failOnce:
    case FileFault::failFromThenOn:
    case FileFault::tearOnce:
      return error_;
    case FileFault::tearAndKill:
      if (operation == FileOperation::write) return error_;
      [[fallthrough]];
    case FileFault::killProcess:
      std::raise(SIGKILL);
  }
  return std::nullopt;
}

FileResult<std::size_t> FaultyFileSystem::writeBeginning(int file,
                                                         std::span<const std::uint8_t> bytes,
                                                         int error) {
  const std::size_t part = std::min(tornBytes_ / kSectorBytes * kSectorBytes, bytes.size());
  const bool isTorn = fault_ == FileFault::tearOnce || fault_ == FileFault::tearAndKill;
  if (isTorn && part > 0) {
    const auto written = system().write(file, bytes.first(part));
    if (!written) return written;
  }
  if (fault_ == FileFault::tearAndKill) std::raise(SIGKILL);
  return std::unexpected(error);
}

template <typename Call>
auto FaultyFileSystem::doing(FileOperation operation, Call call) -> decltype(call()) {
  if (const auto error = errorOf(operation)) return std::unexpected(*error);
  return call();
}

void FaultyFileSystem::giveBack(std::int64_t bytes) {
  if (space_ != nullptr) space_->giveBack(bytes);
}

std::size_t FaultyFileSystem::roomFor(int file, std::size_t bytes) {
  if (space_ == nullptr) return bytes;
  const std::int64_t end = lseek(file, 0, SEEK_CUR) + static_cast<std::int64_t>(bytes);
  const std::int64_t growth = std::max<std::int64_t>(end - sizeOf(file), 0);
  return bytes - static_cast<std::size_t>(growth - space_->take(growth));
}

FileResult<int> FaultyFileSystem::open(int directory, const char* path, int flags, mode_t mode) {
  opened_.emplace_back(path);
  const bool creates = (flags & (O_CREAT | O_TRUNC)) != 0;
  return doing(creates ? FileOperation::create : FileOperation::open, [&] {
    const std::int64_t size = (flags & O_TRUNC) != 0 ? sizeAt(directory, path) : 0;
    auto result = system().open(directory, path, flags, mode);
    if (result) giveBack(size);
    return result;
  });
}

FileResult<std::size_t> FaultyFileSystem::read(int file, std::span<std::uint8_t> bytes) {
  return doing(FileOperation::read, [&] { return system().read(file, bytes); });
}

FileResult<std::size_t> FaultyFileSystem::write(int file, std::span<const std::uint8_t> bytes) {
  if (const auto error = errorOf(FileOperation::write)) return writeBeginning(file, bytes, *error);
  const std::size_t room = roomFor(file, bytes.size());
  if (room == 0 && !bytes.empty()) return std::unexpected(ENOSPC);
  return system().write(file, bytes.first(room));
}

FileResult<void> FaultyFileSystem::truncate(int file, off_t size) {
  return doing(FileOperation::truncate, [&]() -> FileResult<void> {
    const std::int64_t growth = space_ == nullptr ? 0 : size - sizeOf(file);
    if (growth > 0 && space_->take(growth) < growth) return std::unexpected(ENOSPC);
    if (growth < 0) giveBack(-growth);
    return system().truncate(file, size);
  });
}

FileResult<void> FaultyFileSystem::sync(int file) {
  return doing(FileOperation::sync, [&] { return system().sync(file); });
}

FileResult<void> FaultyFileSystem::rename(int fromDirectory, const char* from, int toDirectory,
                                          const char* to) {
  return doing(FileOperation::rename, [&] {
    const std::int64_t replaced = sizeAt(toDirectory, to);
    auto result = system().rename(fromDirectory, from, toDirectory, to);
    if (result) giveBack(replaced);
    return result;
  });
}

FileResult<void> FaultyFileSystem::unlink(int directory, const char* path, int flags) {
  return doing(FileOperation::remove, [&] {
    const std::int64_t removed = sizeAt(directory, path);
    auto result = system().unlink(directory, path, flags);
    if (result) giveBack(removed);
    return result;
  });
}

FileResult<void> FaultyFileSystem::makeDirectory(int directory, const char* path, mode_t mode) {
  return doing(FileOperation::makeDirectory,
               [&] { return system().makeDirectory(directory, path, mode); });
}

FileResult<void> FaultyFileSystem::touch(int directory, const char* path) {
  return doing(FileOperation::touch, [&] { return system().touch(directory, path); });
}

FileResult<struct stat> FaultyFileSystem::status(int directory, const char* path, int flags) {
  return doing(FileOperation::access, [&] { return system().status(directory, path, flags); });
}

FileResult<std::vector<std::string>> FaultyFileSystem::list(int directory) {
  return doing(FileOperation::read, [&] { return system().list(directory); });
}

FileResult<std::uint64_t> FaultyFileSystem::availableBytes(int file) {
  return doing(FileOperation::access, [&]() -> FileResult<std::uint64_t> {
    if (availableBytes_) return *availableBytes_;
    return system().availableBytes(file);
  });
}

}  // namespace support
