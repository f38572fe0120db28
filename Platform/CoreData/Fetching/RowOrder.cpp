#include "CoreData/Fetching/RowOrder.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace coredata {

using foundation::Ref;

namespace {

std::weak_ordering compareBytes(std::span<const std::uint8_t> left,
                                std::span<const std::uint8_t> right) noexcept {
  const std::size_t common = std::min(left.size(), right.size());
  const int order = common == 0 ? 0 : std::memcmp(left.data(), right.data(), common);
  return order != 0 ? order <=> 0 : left.size() <=> right.size();
}

std::weak_ordering compareReals(double left, double right) noexcept {
  // A row never holds not-a-number.
  if (left < right) return std::weak_ordering::less;
  return left > right ? std::weak_ordering::greater : std::weak_ordering::equivalent;
}

/// Ascending. Within a slot every value that is there is of the slot's kind.
std::weak_ordering compareSlots(const Row& left, const Row& right, SlotIndex slot) noexcept {
  if (left.tag(slot) != right.tag(slot)) return left.tag(slot) <=> right.tag(slot);
  switch (left.tag(slot)) {
    case SlotTag::none:
      return std::weak_ordering::equivalent;
    case SlotTag::integer:
      return left.integer(slot) <=> right.integer(slot);
    case SlotTag::real:
    case SlotTag::date:
      return compareReals(left.real(slot), right.real(slot));
    case SlotTag::text:
      return left.text(slot) <=> right.text(slot);
    case SlotTag::bytes:
      return compareBytes(left.bytes(slot), right.bytes(slot));
    case SlotTag::identifier:
      return left.identifier(slot).bytes() <=> right.identifier(slot).bytes();
    case SlotTag::reference:
      return compareKeys(left.reference(slot), right.reference(slot));
  }
  return std::weak_ordering::equivalent;
}

bool isSortedByKey(const SortTerm& sort) noexcept {
  return sort.path.end != ResolvedPath::End::slot;
}

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

std::uint64_t rankOf(const std::uint8_t* bytes, std::size_t size) noexcept {
  std::uint64_t rank = 0;
  if (size >= sizeof(rank)) {
    std::memcpy(&rank, bytes, sizeof(rank));
  } else if (size != 0) {
    std::memcpy(&rank, bytes, size);
  }
  return std::endian::native == std::endian::little ? __builtin_bswap64(rank) : rank;
}

std::uint64_t rankOf(std::string_view text) noexcept {
  return rankOf(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

/// How many bytes all texts of the slot begin with alike.
std::size_t commonPrefix(const std::vector<Ref<Row>>& rows, SlotIndex slot) noexcept {
  const auto first = std::ranges::find_if(
      rows, [&](const Ref<Row>& row) { return row->tag(slot) == SlotTag::text; });
  if (first == rows.end()) return 0;
  std::string_view prefix = (*first)->text(slot);
  for (auto row = first + 1; row != rows.end() && !prefix.empty(); ++row) {
    if ((*row)->tag(slot) != SlotTag::text) continue;
    const std::string_view text = (*row)->text(slot);
    const auto end = std::ranges::mismatch(prefix, text).in1;
    prefix = prefix.substr(0, static_cast<std::size_t>(end - prefix.begin()));
  }
  return prefix.size();
}

/// A number that is less only where the slot's value is less; equal ones tell nothing.
std::uint64_t rankOf(const Row& row, SlotIndex slot, std::size_t skipped) noexcept {
  switch (row.tag(slot)) {
    case SlotTag::none:
      return 0;
    case SlotTag::integer:
      return rankOf(row.integer(slot));
    case SlotTag::real:
    case SlotTag::date:
      return rankOf(row.real(slot));
    case SlotTag::text:
      return rankOf(row.text(slot).substr(skipped));
    case SlotTag::bytes:
      return rankOf(row.bytes(slot).data(), row.bytes(slot).size());
    case SlotTag::identifier:
      return rankOf(row.identifier(slot).bytes().data(), row.identifier(slot).bytes().size());
    case SlotTag::reference:
      // Keys of objects that were never saved come last, and descend.
      return row.reference(slot) < 0 ? ~static_cast<std::uint64_t>(row.reference(slot)) | kSignBit
                                     : static_cast<std::uint64_t>(row.reference(slot));
  }
  return 0;
}

struct Ranked {
  std::uint64_t rank;
  ObjectKey key;
  Row* row;
};

/// Whether rows of equal rank hold equal values: every slot is filled, and no text goes on behind
/// what its rank shows.
bool isExact(const std::vector<Ref<Row>>& rows, SlotIndex slot, std::size_t skipped) noexcept {
  const std::size_t size = rows.empty() ? 0 : rows.front()->text(slot).size();
  return std::ranges::all_of(rows, [&](const Ref<Row>& row) {
    switch (row->tag(slot)) {
      case SlotTag::none:
      case SlotTag::bytes:
      case SlotTag::identifier:
        return false;
      case SlotTag::integer:
      case SlotTag::real:
      case SlotTag::date:
      case SlotTag::reference:
        return true;
      case SlotTag::text:
        break;
    }
    const std::size_t length = row->text(slot).size();
    return length == size && length - skipped <= sizeof(Ranked::rank);
  });
}

/// Takes the rows out of their handles.
std::vector<Ranked> rankedRows(std::vector<Ref<Row>>& rows, const SortTerm& sort,
                               std::size_t skipped) {
  std::vector<Ranked> ranked;
  ranked.reserve(rows.size());
  for (Ref<Row>& row : rows) {
    const std::uint64_t rank = isSortedByKey(sort) ? 0 : rankOf(*row, sort.path.slot, skipped);
    const ObjectKey key = row->key();
    ranked.push_back({sort.ascending ? rank : ~rank, key, row.leak()});
  }
  return ranked;
}

void sortByKey(std::vector<Ref<Row>>& rows) {
  const auto before = [](const Ref<Row>& a, const Ref<Row>& b) {
    return compareKeys(a->key(), b->key()) < 0;
  };
  if (!std::ranges::is_sorted(rows, before)) std::ranges::sort(rows, before);
}

}  // namespace

std::weak_ordering compareRows(const Row& left, const Row& right,
                               std::span<const SortTerm> sorts) noexcept {
  for (const SortTerm& sort : sorts) {
    const std::weak_ordering order = isSortedByKey(sort)
                                         ? std::weak_ordering(compareKeys(left.key(), right.key()))
                                         : compareSlots(left, right, sort.path.slot);
    if (order != 0) return sort.ascending ? order : 0 <=> order;
  }
  return std::weak_ordering::equivalent;
}

std::strong_ordering compareKeys(ObjectKey left, ObjectKey right) noexcept {
  if (isTemporary(left) != isTemporary(right)) return isTemporary(left) <=> isTemporary(right);
  return isTemporary(left) ? right <=> left : left <=> right;
}

void sortRows(std::vector<Ref<Row>>& rows, std::span<const SortTerm> sorts) {
  if (sorts.empty()) {
    sortByKey(rows);
    return;
  }
  const SortTerm& first = sorts.front();
  const std::size_t skipped = isSortedByKey(first) ? 0 : commonPrefix(rows, first.path.slot);
  const bool ranksDecide =
      sorts.size() == 1 && !isSortedByKey(first) && isExact(rows, first.path.slot, skipped);
  std::vector<Ranked> ranked = rankedRows(rows, first, skipped);
  std::ranges::sort(ranked, [&](const Ranked& a, const Ranked& b) {
    if (a.rank != b.rank) return a.rank < b.rank;
    if (!ranksDecide) {
      const std::weak_ordering order = compareRows(*a.row, *b.row, sorts);
      if (order != 0) return order < 0;
    }
    return compareKeys(a.key, b.key) < 0;
  });
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = Ref<Row>::adopt(ranked[i].row);
}

}  // namespace coredata
