#pragma once

#include "Foundation/Internal/FileSystem.h"

namespace support {

/// The system's file system, in force while it lives: for tests that change one call or the other.
///
/// Threading: as what derives from it; made and ended while nobody else uses files.
class ForwardingFileSystem : public foundation::FileSystem {
 public:
  ForwardingFileSystem() : previous_(install(this)) {}
  ~ForwardingFileSystem() override { install(previous_); }
  ForwardingFileSystem(const ForwardingFileSystem&) = delete;
  ForwardingFileSystem& operator=(const ForwardingFileSystem&) = delete;

  foundation::FileResult<int> open(int directory, const char* path, int flags,
                                   mode_t mode) override {
    return system().open(directory, path, flags, mode);
  }
  foundation::FileResult<std::size_t> read(int file, std::span<std::uint8_t> bytes) override {
    return system().read(file, bytes);
  }
  foundation::FileResult<std::size_t> write(int file,
                                            std::span<const std::uint8_t> bytes) override {
    return system().write(file, bytes);
  }
  foundation::FileResult<void> truncate(int file, off_t size) override {
    return system().truncate(file, size);
  }
  foundation::FileResult<void> sync(int file) override { return system().sync(file); }
  foundation::FileResult<void> rename(int fromDirectory, const char* from, int toDirectory,
                                      const char* to) override {
    return system().rename(fromDirectory, from, toDirectory, to);
  }
  foundation::FileResult<void> unlink(int directory, const char* path, int flags) override {
    return system().unlink(directory, path, flags);
  }
  foundation::FileResult<void> makeDirectory(int directory, const char* path,
                                             mode_t mode) override {
    return system().makeDirectory(directory, path, mode);
  }
  foundation::FileResult<void> touch(int directory, const char* path) override {
    return system().touch(directory, path);
  }
  foundation::FileResult<struct stat> status(int directory, const char* path, int flags) override {
    return system().status(directory, path, flags);
  }
  foundation::FileResult<std::vector<std::string>> list(int directory) override {
    return system().list(directory);
  }
  foundation::FileResult<std::uint64_t> mount(int file) override { return system().mount(file); }
  foundation::FileResult<std::uint64_t> availableBytes(int file) override {
    return system().availableBytes(file);
  }
  foundation::FileResult<int> openWatcher() override { return system().openWatcher(); }
  foundation::FileResult<int> watch(int watcher, const char* path, std::uint32_t events) override {
    return system().watch(watcher, path, events);
  }
  void close(int file) noexcept override { system().close(file); }

 private:
  foundation::FileSystem* previous_;
};

}  // namespace support
