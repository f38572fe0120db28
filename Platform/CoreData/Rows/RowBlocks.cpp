#include "CoreData/Rows/RowBlocks.h"

#include <algorithm>
#include <new>

namespace coredata {

namespace {

/// What the allocator adds to it makes two pages.
constexpr std::size_t kLargestBlock = std::size_t{8} * 1024 - 16;
/// A larger row would leave too much of a block unused.
constexpr std::size_t kLargestRow = kLargestBlock / 8;

constexpr std::size_t kFirstPlace = RowPlace::kUnit;
static_assert(sizeof(RowBlock) <= kFirstPlace);
static_assert(kLargestBlock / RowPlace::kUnit <= UINT16_MAX);

}  // namespace

RowPlace RowBlocks::place(std::size_t size) {
  if (size > kLargestRow) return {::operator new(size), 0};
  const std::size_t rounded = (size + RowPlace::kUnit - 1) / RowPlace::kUnit * RowPlace::kUnit;
  if (used_ + rounded > size_) {
    close();
    open(std::max(nextSize_, kFirstPlace + rounded));
  }
  void* memory = reinterpret_cast<std::byte*>(block_) + used_;
  const auto distance = static_cast<std::uint16_t>(used_ / RowPlace::kUnit);
  used_ += rounded;
  ++rows_;
  return {memory, distance};
}

void RowBlocks::open(std::size_t size) {
  block_ = new (::operator new(size)) RowBlock;
  size_ = size;
  used_ = kFirstPlace;
  nextSize_ = std::min(2 * nextSize_, kLargestBlock);
}

void RowBlocks::close() noexcept {
  if (block_ != nullptr) block_->drop(RowBlock::kOpen - rows_);
  block_ = nullptr;
  size_ = 0;
  used_ = 0;
  rows_ = 0;
}

}  // namespace coredata
