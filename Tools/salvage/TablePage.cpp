#include "Tools/salvage/TablePage.h"

#include <algorithm>

namespace salvage {

namespace {
constexpr std::size_t kFileHeader = 100;
constexpr std::size_t kLeafHeader = 8;
constexpr std::size_t kInnerHeader = 12;
constexpr std::size_t kPointer = 2;
constexpr std::size_t kPageNumber = 4;

PageNumber pageNumber(Bytes bytes) noexcept { return static_cast<PageNumber>(bigEndian(bytes)); }
}  // namespace

std::optional<std::uint64_t> takeVarint(Bytes& bytes) noexcept {
  constexpr std::size_t kLongest = 9;
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < std::min(bytes.size(), kLongest); ++i) {
    const std::uint8_t byte = bytes[i];
    // The ninth byte is whole; the others tell by their highest bit whether another follows.
    const bool isNinth = i + 1 == kLongest;
    value = isNinth ? value << 8U | byte : value << 7U | (byte & 0x7fU);
    if (!isNinth && (byte & 0x80U) != 0) continue;
    bytes = bytes.subspan(i + 1);
    return value;
  }
  return std::nullopt;
}

TablePage::TablePage(Bytes page, PageNumber number) noexcept
    : page_(page), begin_(number == 1 ? kFileHeader : 0) {
  if (page_.size() < begin_ + kInnerHeader) page_ = {};
}

std::uint8_t TablePage::type() const noexcept { return page_.empty() ? 0 : page_[begin_]; }

std::size_t TablePage::headerSize() const noexcept {
  return isInner() ? kInnerHeader : kLeafHeader;
}

std::size_t TablePage::cellCount() const noexcept {
  if (page_.empty()) return 0;
  const std::size_t room = (page_.size() - begin_ - headerSize()) / kPointer;
  return std::min<std::size_t>(bigEndian(page_.subspan(begin_ + 3, 2)), room);
}

std::size_t TablePage::offsetOf(std::size_t cell) const noexcept {
  return bigEndian(page_.subspan(begin_ + headerSize() + cell * kPointer, kPointer));
}

std::size_t TablePage::localSize(std::uint64_t size) const noexcept {
  // The fractions are fixed by the format.
  const std::size_t usable = page_.size();
  const std::size_t most = usable - 35;
  if (size <= most) return size;
  const std::size_t least = (usable - 12) * 32 / 255 - 23;
  const std::size_t filled = least + (size - least) % (usable - kPageNumber);
  return filled <= most ? filled : least;
}

std::optional<RowCell> TablePage::row(std::size_t cell) const noexcept {
  const std::size_t offset = offsetOf(cell);
  if (offset < begin_ + kLeafHeader || offset >= page_.size()) return std::nullopt;
  Bytes rest = page_.subspan(offset);
  const auto size = takeVarint(rest);
  const auto key = size ? takeVarint(rest) : std::nullopt;
  if (!key) return std::nullopt;
  const std::size_t local = localSize(*size);
  const bool hasMore = local < *size;
  if (rest.size() < local + (hasMore ? kPageNumber : 0)) return std::nullopt;
  return RowCell{.key = static_cast<std::int64_t>(*key),
                 .size = *size,
                 .local = rest.first(local),
                 .overflow = hasMore ? pageNumber(rest.subspan(local, kPageNumber)) : 0};
}

std::vector<PageNumber> TablePage::children() const {
  std::vector<PageNumber> pages;
  for (std::size_t i = 0; i < cellCount(); ++i) {
    const std::size_t offset = offsetOf(i);
    if (offset + kPageNumber <= page_.size())
      pages.push_back(pageNumber(page_.subspan(offset, kPageNumber)));
  }
  if (!page_.empty()) pages.push_back(pageNumber(page_.subspan(begin_ + kLeafHeader, kPageNumber)));
  return pages;
}

}  // namespace salvage
