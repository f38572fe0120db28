#include "CoreData/Fetching/SortedOrder.h"

#include <array>

namespace coredata {

// Places the items by one byte of their ranks after the other, from the last to the first: each
// round keeps the order of those that it finds even, which is that of the bytes behind.

void sortByRank(std::span<std::uint32_t> items, std::span<const std::uint64_t> ranks,
                std::span<std::uint32_t> scratch) noexcept {
  constexpr std::size_t kDigits = sizeof(std::uint64_t);
  constexpr std::size_t kValues = 256;
  const auto digit = [](std::uint64_t rank, std::size_t place) {
    return static_cast<std::size_t>(rank >> (8 * place) & 0xffU);
  };
  if (items.empty()) return;
  std::array<std::array<std::uint32_t, kValues>, kDigits> counts{};
  for (const std::uint32_t item : items) {
    const std::uint64_t rank = ranks[item];
    for (std::size_t place = 0; place < kDigits; ++place) ++counts[place][digit(rank, place)];
  }
  std::span<std::uint32_t> from = items;
  std::span<std::uint32_t> to = scratch.first(items.size());
  for (std::size_t place = 0; place < kDigits; ++place) {
    auto& starts = counts[place];
    // A digit that all ranks share sorts nothing.
    if (starts[digit(ranks[items.front()], place)] == items.size()) continue;
    std::uint32_t start = 0;
    for (std::uint32_t& count : starts) start += std::exchange(count, start);
    for (const std::uint32_t item : from) to[starts[digit(ranks[item], place)]++] = item;
    std::swap(from, to);
  }
  if (from.data() != items.data()) std::ranges::copy(from, items.begin());
}

}  // namespace coredata
