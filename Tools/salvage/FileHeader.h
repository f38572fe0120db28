#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace salvage {

inline constexpr std::size_t kFileHeaderSize = 100;
using FileHeader = std::span<std::uint8_t, kFileHeaderSize>;

/// Whether the fields are right that are the same in all stores, and the size of its pages is one
/// that pages can have.
[[nodiscard]] bool isSound(std::span<const std::uint8_t, kFileHeaderSize> header) noexcept;
[[nodiscard]] std::size_t pageSizeOf(
    std::span<const std::uint8_t, kFileHeaderSize> header) noexcept;

/// Gives a header the fields that every store has, so that SQLite takes the file for one and puts
/// its log and its journal to it. The number of its pages is to be told from the file's length.
void mend(FileHeader header) noexcept;

}  // namespace salvage
