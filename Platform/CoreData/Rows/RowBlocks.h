#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace coredata {

/// Memory that rows lie in behind each other. It counts them and goes with the last.
class RowBlock {
 public:
  /// Made with as many counts as a block can never have rows, so that counting each row as it is
  /// placed is not needed; `drop` takes back what was too many.
  static constexpr std::uint32_t kOpen = std::uint32_t{1} << 30U;

  RowBlock() = default;
  RowBlock(const RowBlock&) = delete;
  RowBlock& operator=(const RowBlock&) = delete;

  void drop(std::uint32_t counts = 1) noexcept {
    if (count_.fetch_sub(counts, std::memory_order_acq_rel) == counts) ::operator delete(this);
  }

 private:
  std::atomic<std::uint32_t> count_{kOpen};
};

/// Where a row may be made.
struct RowPlace {
  /// What a place's distance from the start of its block is counted in.
  static constexpr std::size_t kUnit = 8;

  void* memory;
  /// 0 for memory of the row's own.
  std::uint16_t distance;
};

/// Gives places to rows that are made one after the other, as those of a fetch are. Most of them
/// cost no allocation, and freeing them is cheap in whatever order they go.
///
/// A block lives as long as one of its rows: who keeps few rows of very many keeps up to 8 KiB for
/// each. Blocks begin small and double, so that a few rows take no more than about twice their
/// size.
///
/// Threading: one thread. The rows may live longer, and go on any.
class RowBlocks {
 public:
  RowBlocks() = default;
  ~RowBlocks() { close(); }
  RowBlocks(const RowBlocks&) = delete;
  RowBlocks& operator=(const RowBlocks&) = delete;

  [[nodiscard]] RowPlace place(std::size_t size);

 private:
  void open(std::size_t size);
  /// Leaves the block to its rows.
  void close() noexcept;

  RowBlock* block_ = nullptr;
  std::size_t used_ = 0;
  std::size_t size_ = 0;
  std::size_t nextSize_ = 256;
  std::uint32_t rows_ = 0;
};

}  // namespace coredata
