#include "Tests/Support/FaultyFileSystem.h"

#include <fcntl.h>

#include <csignal>

namespace support {

using foundation::FileResult;

FaultyFileSystem::FaultyFileSystem(FileFault fault, std::size_t change, int error)
    : fault_(fault), change_(change), error_(error) {}

std::optional<int> FaultyFileSystem::countChange() {
  ++changes_;
  if (change_ == 0 || changes_ < change_) return std::nullopt;
  switch (fault_) {
    case FileFault::failOnce:
      return changes_ == change_ ? std::optional(error_) : std::nullopt;
    case FileFault::failFromThenOn:
      return error_;
    case FileFault::killProcess:
      std::raise(SIGKILL);
  }
  return std::nullopt;
}

template <typename Call>
auto FaultyFileSystem::changing(Call call) -> decltype(call()) {
  if (const auto error = countChange()) return std::unexpected(*error);
  return call();
}

FileResult<int> FaultyFileSystem::open(int directory, const char* path, int flags, mode_t mode) {
  opened_.emplace_back(path);
  const auto call = [&] { return system().open(directory, path, flags, mode); };
  return (flags & (O_CREAT | O_TRUNC)) != 0 ? changing(call) : call();
}

FileResult<std::size_t> FaultyFileSystem::write(int file, std::span<const std::uint8_t> bytes) {
  return changing([&] { return system().write(file, bytes); });
}

FileResult<void> FaultyFileSystem::truncate(int file, off_t size) {
  return changing([&] { return system().truncate(file, size); });
}

FileResult<void> FaultyFileSystem::sync(int file) {
  return changing([&] { return system().sync(file); });
}

FileResult<void> FaultyFileSystem::rename(int fromDirectory, const char* from, int toDirectory,
                                          const char* to) {
  return changing([&] { return system().rename(fromDirectory, from, toDirectory, to); });
}

FileResult<void> FaultyFileSystem::unlink(int directory, const char* path, int flags) {
  return changing([&] { return system().unlink(directory, path, flags); });
}

FileResult<void> FaultyFileSystem::makeDirectory(int directory, const char* path, mode_t mode) {
  return changing([&] { return system().makeDirectory(directory, path, mode); });
}

FileResult<void> FaultyFileSystem::touch(int directory, const char* path) {
  return changing([&] { return system().touch(directory, path); });
}

FileResult<std::uint64_t> FaultyFileSystem::availableBytes(int file) {
  if (availableBytes_) return *availableBytes_;
  return system().availableBytes(file);
}

}  // namespace support
