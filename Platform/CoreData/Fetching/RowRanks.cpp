#include "CoreData/Fetching/RowRanks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>
#include <utility>

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

/// Keys of objects that were never saved come last, and descend.
std::uint64_t rankOfKey(ObjectKey key) noexcept {
  const auto bits = static_cast<std::uint64_t>(key);
  return isTemporary(key) ? ~bits | kSignBit : bits;
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
      return rankOfKey(row.reference(slot));
  }
  return 0;
}

/// What the ranks of a slot's values have to know of all of them.
struct Survey {
  /// What all texts begin with need not be in a rank.
  std::string_view prefix;
  std::size_t shortest = 0;
  std::size_t longest = 0;
  bool hasText = false;
  /// Whether there is a value that its rank does not tell from all others.
  bool hasVague = false;

  void add(std::string_view text) noexcept {
    if (!hasText) {
      *this = {text, text.size(), text.size(), true, hasVague};
      return;
    }
    shortest = std::min(shortest, text.size());
    longest = std::max(longest, text.size());
    const auto end = std::ranges::mismatch(prefix, text).in1;
    prefix = prefix.substr(0, static_cast<std::size_t>(end - prefix.begin()));
  }
  [[nodiscard]] bool isExact() const noexcept {
    const bool textsAreExact =
        shortest == longest && longest - prefix.size() <= sizeof(RankedRow::rank);
    return !hasVague && textsAreExact;
  }
};

Survey survey(std::span<const RankedRow> rows, SlotIndex slot) noexcept {
  Survey result;
  for (const RankedRow& each : rows) {
    switch (each.row->tag(slot)) {
      case SlotTag::integer:
      case SlotTag::real:
      case SlotTag::date:
      case SlotTag::reference:
        break;
      case SlotTag::text:
        result.add(each.row->text(slot));
        break;
      case SlotTag::none:
      case SlotTag::bytes:
      case SlotTag::identifier:
        result.hasVague = true;
        break;
    }
  }
  return result;
}

}  // namespace

bool rankRows(std::span<RankedRow> rows, const SortTerm& sort) noexcept {
  const std::uint64_t turn = sort.ascending ? 0 : ~std::uint64_t{0};
  if (sort.path.end != ResolvedPath::End::slot) {
    for (RankedRow& each : rows) each.rank = rankOfKey(each.row->key()) ^ turn;
    return true;
  }
  const SlotIndex slot = sort.path.slot;
  const Survey known = survey(rows, slot);
  for (RankedRow& each : rows) each.rank = rankOf(*each.row, slot, known.prefix.size()) ^ turn;
  return known.isExact();
}

void sortRanked(std::span<RankedRow> rows, std::vector<RankedRow>& scratch) noexcept {
  constexpr std::size_t kDigits = sizeof(RankedRow::rank);
  constexpr std::size_t kValues = 256;
  const auto digit = [](std::uint64_t rank, std::size_t place) {
    return static_cast<std::size_t>(rank >> (8 * place) & 0xffU);
  };
  std::array<std::array<std::uint32_t, kValues>, kDigits> counts{};
  for (const RankedRow& each : rows) {
    for (std::size_t place = 0; place < kDigits; ++place) ++counts[place][digit(each.rank, place)];
  }
  std::span<RankedRow> from = rows;
  std::span<RankedRow> to(scratch.data(), rows.size());
  for (std::size_t place = 0; place < kDigits; ++place) {
    auto& starts = counts[place];
    // A digit that all ranks share sorts nothing.
    if (rows.empty() || starts[digit(rows.front().rank, place)] == rows.size()) continue;
    std::uint32_t start = 0;
    for (std::uint32_t& count : starts) start += std::exchange(count, start);
    for (const RankedRow& each : from) to[starts[digit(each.rank, place)]++] = each;
    std::swap(from, to);
  }
  if (from.data() != rows.data()) std::ranges::copy(from, rows.begin());
}

}  // namespace coredata
