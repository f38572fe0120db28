#include "CoreData/Fetching/SortCell.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace coredata {

namespace {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63U;

std::uint64_t rankOf(std::int64_t value) noexcept {
  return static_cast<std::uint64_t>(value) ^ kSignBit;
}

/// The bits of doubles, read as numbers, are in order for each sign; those of negative ones run
/// backwards.
std::uint64_t rankOf(double value) noexcept {
  if (value == 0) value = 0;  // Both zeros are one.
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return (bits & kSignBit) != 0 ? ~bits : bits | kSignBit;
}

std::uint64_t rankOf(std::string_view bytes) noexcept {
  std::uint64_t rank = 0;
  if (bytes.size() >= sizeof(rank)) {
    std::memcpy(&rank, bytes.data(), sizeof(rank));
  } else if (!bytes.empty()) {
    std::memcpy(&rank, bytes.data(), bytes.size());
  }
  return std::endian::native == std::endian::little ? __builtin_bswap64(rank) : rank;
}

/// Keys of objects that were never saved come last, and descend.
std::uint64_t rankOfKey(ObjectKey key) noexcept {
  const auto bits = static_cast<std::uint64_t>(key);
  return isTemporary(key) ? ~bits | kSignBit : bits;
}

std::weak_ordering compareReals(double left, double right) noexcept {
  // A row never holds not-a-number.
  if (left < right) return std::weak_ordering::less;
  return left > right ? std::weak_ordering::greater : std::weak_ordering::equivalent;
}

}  // namespace

SortCell SortCell::of(const Row& row, SlotIndex slot) noexcept {
  SortCell cell;
  cell.tag = row.tag(slot);
  switch (cell.tag) {
    case SlotTag::none:
      break;
    case SlotTag::integer:
      cell.integer = row.integer(slot);
      break;
    case SlotTag::real:
    case SlotTag::date:
      cell.real = row.real(slot);
      break;
    case SlotTag::text:
    case SlotTag::bytes:
    case SlotTag::identifier:
      cell.packed = row.packed(slot);
      break;
    case SlotTag::reference:
      cell.integer = row.reference(slot);
      break;
  }
  return cell;
}

SortCell SortCell::reference(ObjectKey key) noexcept {
  SortCell cell;
  cell.tag = SlotTag::reference;
  cell.integer = key;
  return cell;
}

std::weak_ordering compareCells(const SortCell& left, const SortCell& right) noexcept {
  if (left.tag != right.tag) return left.tag <=> right.tag;
  switch (left.tag) {
    case SlotTag::none:
      return std::weak_ordering::equivalent;
    case SlotTag::integer:
      return left.integer <=> right.integer;
    case SlotTag::real:
    case SlotTag::date:
      return compareReals(left.real, right.real);
    case SlotTag::text:
    case SlotTag::bytes:
    case SlotTag::identifier:
      return left.packed <=> right.packed;
    case SlotTag::reference:
      return compareKeys(left.integer, right.integer);
  }
  return std::weak_ordering::equivalent;
}

std::strong_ordering compareKeys(ObjectKey left, ObjectKey right) noexcept {
  if (isTemporary(left) != isTemporary(right)) return isTemporary(left) <=> isTemporary(right);
  return isTemporary(left) ? right <=> left : left <=> right;
}

void CellRanks::survey(const SortCell& cell) noexcept {
  switch (cell.tag) {
    case SlotTag::integer:
    case SlotTag::real:
    case SlotTag::date:
    case SlotTag::reference:
      return;
    case SlotTag::text:
      survey(cell.packed);
      return;
    case SlotTag::none:
    case SlotTag::bytes:
    case SlotTag::identifier:
      hasVague_ = true;
      return;
  }
}

void CellRanks::survey(std::string_view text) noexcept {
  if (!hasText_) {
    prefix_ = text;
    shortest_ = longest_ = text.size();
    hasText_ = true;
    return;
  }
  shortest_ = std::min(shortest_, text.size());
  longest_ = std::max(longest_, text.size());
  if (text.starts_with(prefix_)) return;
  const auto end = std::ranges::mismatch(prefix_, text).in1;
  prefix_ = prefix_.substr(0, static_cast<std::size_t>(end - prefix_.begin()));
}

std::uint64_t CellRanks::rank(const SortCell& cell) const noexcept {
  switch (cell.tag) {
    case SlotTag::none:
      return 0;
    case SlotTag::integer:
      return rankOf(cell.integer);
    case SlotTag::real:
    case SlotTag::date:
      return rankOf(cell.real);
    case SlotTag::text:
      return rankOf(cell.packed.substr(prefix_.size()));
    case SlotTag::bytes:
    case SlotTag::identifier:
      return rankOf(cell.packed);
    case SlotTag::reference:
      return rankOfKey(cell.integer);
  }
  return 0;
}

bool CellRanks::areExact() const noexcept {
  return !hasVague_ && shortest_ == longest_ && longest_ - prefix_.size() <= sizeof(std::uint64_t);
}

}  // namespace coredata
