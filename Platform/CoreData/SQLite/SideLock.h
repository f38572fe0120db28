#pragma once

#include <mutex>
#include <string>

#include "Foundation/Internal/FileSystem.h"

namespace coredata {

/// An advisory lock on a file of its own beside the store, between processes and between the stores
/// of one process. The store file itself is never opened for it: closing it would give SQLite's
/// locks away.
///
/// Threading: use it on any thread.
class SideLock {
 public:
  explicit SideLock(std::string path) : path_(std::move(path)) {}

  /// Held until it goes.
  class Guard {
   public:
    Guard() noexcept = default;
    explicit Guard(SideLock& lock) noexcept : lock_(&lock) {}
    Guard(Guard&& other) noexcept : lock_(other.lock_) { other.lock_ = nullptr; }
    Guard& operator=(Guard&&) = delete;
    ~Guard() {
      if (lock_ != nullptr) lock_->unlock();
    }
    explicit operator bool() const noexcept { return lock_ != nullptr; }

   private:
    SideLock* lock_ = nullptr;
  };

  /// Takes the lock if nobody has it. An empty guard also when the file cannot be made, as in a
  /// directory that is not ours: what the lock is for can wait.
  [[nodiscard]] Guard tryLock() noexcept;

 private:
  void unlock() noexcept;
  [[nodiscard]] bool openFile() noexcept;

  const std::string path_;
  std::mutex mutex_;
  foundation::FileDescriptor file_;
  bool isHeld_ = false;
};

}  // namespace coredata
