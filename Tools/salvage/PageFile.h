#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace salvage {

using Bytes = std::span<const std::uint8_t>;
/// Pages are counted from 1; 0 is none.
using PageNumber = std::uint32_t;

/// The pages of a file that nobody changes meanwhile, whatever is in it. They are read when they
/// are looked at, so that a file of any length takes no memory of its own.
class PageFile {
 public:
  /// Throws `foundation::Error` when the file cannot be read.
  PageFile(const std::string& path, std::size_t pageSize);
  ~PageFile();
  PageFile(const PageFile&) = delete;
  PageFile& operator=(const PageFile&) = delete;

  [[nodiscard]] std::size_t pageSize() const noexcept { return pageSize_; }
  /// Whole pages; what is behind the last of them is no page.
  [[nodiscard]] PageNumber pageCount() const noexcept { return pageCount_; }
  /// Empty for a number that no page has.
  [[nodiscard]] Bytes page(PageNumber number) const noexcept;

 private:
  std::size_t pageSize_;
  PageNumber pageCount_ = 0;
  void* content_ = nullptr;
  std::size_t size_ = 0;
};

/// Pages of a file, each in it or not.
class PageSet {
 public:
  explicit PageSet(const PageFile& file) : has_(std::size_t{file.pageCount()} + 1) {}

  [[nodiscard]] bool contains(PageNumber page) const { return page < has_.size() && has_[page]; }
  /// False for a page that is in it already, or that the file does not have.
  bool add(PageNumber page);

 private:
  std::vector<bool> has_;
};

/// A big-endian number of at most eight bytes, as the file's format has them.
[[nodiscard]] constexpr std::uint64_t bigEndian(Bytes bytes) noexcept {
  std::uint64_t value = 0;
  for (const std::uint8_t byte : bytes) value = value << 8U | byte;
  return value;
}

}  // namespace salvage
