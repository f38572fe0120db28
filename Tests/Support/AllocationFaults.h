#pragma once

#include <cstddef>
#include <cstdint>

namespace support {

/// Whose allocations are counted.
enum class Allocator : std::uint8_t {
  operatorNew,  ///< every form of `operator new`
  sqlite,       ///< SQLite's own, those that a connection would serve from a store of its own too
};

/// How long memory is short.
enum class Shortage : std::uint8_t { once, fromThenOn };

/// Makes the n-th allocation of the thread fail that made it, and perhaps all that follow, for as
/// long as it lives. One at a time on a thread.
///
/// Only that thread's allocations count and fail: they come in the same order in each run, so that
/// the number in a failing line finds the same allocation again. What a worker or a watcher asks
/// for meanwhile would move it.
///
/// Whoever links this has the program's `operator new` and SQLite's allocator replaced; without one
/// of these alive an allocation costs a look at a thread-local address and a count of what lives.
class AllocationFaults {
 public:
  /// Counts only.
  explicit AllocationFaults(Allocator allocator);
  /// The n-th from now on fails, counted from 1.
  AllocationFaults(Allocator allocator, std::size_t n, Shortage shortage);
  ~AllocationFaults();
  AllocationFaults(const AllocationFaults&) = delete;
  AllocationFaults& operator=(const AllocationFaults&) = delete;

  [[nodiscard]] std::size_t count() const noexcept { return count_; }
  [[nodiscard]] bool wasReached() const noexcept { return n_ != 0 && count_ >= n_; }

  /// For the allocators: counts one, and says whether it is to fail.
  [[nodiscard]] static bool failsNext(Allocator allocator) noexcept;

 private:
  const Allocator allocator_;
  const std::size_t n_;
  const Shortage shortage_;
  std::size_t count_ = 0;
};

/// How many blocks all threads have been given and have not given back.
struct LiveBlocks {
  std::ptrdiff_t operatorNew = 0;
  std::ptrdiff_t sqlite = 0;

  friend bool operator==(const LiveBlocks&, const LiveBlocks&) = default;
};
[[nodiscard]] LiveBlocks liveBlocks() noexcept;

}  // namespace support
