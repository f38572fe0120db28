#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <optional>

namespace support {

/// The room on a disk that several file layers write to: what files have grown by, and how much
/// further they may. What is cut off or removed is free at once, also of a file that is still open.
///
/// Threading: use it on any thread.
class DiskSpace {
 public:
  /// From now on files may grow by that many bytes, and by what is given back.
  void limit(std::int64_t bytes) {
    const std::scoped_lock lock(mutex_);
    limit_ = taken_ + bytes;
  }
  void lift() {
    const std::scoped_lock lock(mutex_);
    limit_.reset();
  }
  /// Takes as many of the bytes as there is room for, and says how many these are.
  [[nodiscard]] std::int64_t take(std::int64_t bytes) {
    const std::scoped_lock lock(mutex_);
    const std::int64_t room = limit_ ? std::max<std::int64_t>(*limit_ - taken_, 0) : bytes;
    const std::int64_t granted = std::min(bytes, room);
    ranOut_ = ranOut_ || granted < bytes;
    taken_ += granted;
    most_ = std::max(most_, taken_);
    return granted;
  }
  void giveBack(std::int64_t bytes) {
    const std::scoped_lock lock(mutex_);
    taken_ -= bytes;
  }

  /// By how much all files together had grown when they had grown most.
  [[nodiscard]] std::int64_t most() const {
    const std::scoped_lock lock(mutex_);
    return most_;
  }
  /// What files have grown by.
  [[nodiscard]] std::int64_t taken() const {
    const std::scoped_lock lock(mutex_);
    return taken_;
  }
  /// Whether somebody was refused room.
  [[nodiscard]] bool ranOut() const {
    const std::scoped_lock lock(mutex_);
    return ranOut_;
  }

 private:
  mutable std::mutex mutex_;
  std::optional<std::int64_t> limit_;
  std::int64_t taken_ = 0;
  std::int64_t most_ = 0;
  bool ranOut_ = false;
};

}  // namespace support
