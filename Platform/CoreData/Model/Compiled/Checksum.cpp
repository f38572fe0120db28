#include "CoreData/Model/Compiled/Checksum.h"

#include <array>
#include <cstddef>

namespace coredata {
namespace {

constexpr std::uint32_t kReflectedPolynomial = 0xedb88320;
using Table = std::array<std::uint32_t, 256>;

constexpr std::uint32_t shiftedByOneBit(std::uint32_t remainder) noexcept {
  return (remainder >> 1) ^ ((remainder & 1) != 0 ? kReflectedPolynomial : 0);
}

/// Table k holds each byte's remainder with k zero bytes behind it, so that four bytes are taken in
/// one step.
constexpr std::array<Table, 4> makeTables() noexcept {
  std::array<Table, 4> tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    auto remainder = byte;
    for (int bit = 0; bit < 8; ++bit) remainder = shiftedByOneBit(remainder);
    tables[0][byte] = remainder;
  }
  for (std::size_t k = 1; k < tables.size(); ++k) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const auto before = tables[k - 1][byte];
      tables[k][byte] = (before >> 8) ^ tables[0][before & 0xff];
    }
  }
  return tables;
}

constexpr auto kTables = makeTables();

}  // namespace

std::uint32_t checksum(std::span<const std::uint8_t> bytes) noexcept {
  std::uint32_t remainder = 0xffffffff;
  while (bytes.size() >= 4) {
    const auto mixed = remainder ^ (bytes[0] | std::uint32_t{bytes[1]} << 8 |
                                    std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24);
    remainder = kTables[3][mixed & 0xff] ^ kTables[2][(mixed >> 8) & 0xff] ^
                kTables[1][(mixed >> 16) & 0xff] ^ kTables[0][mixed >> 24];
    bytes = bytes.subspan(4);
  }
  for (const auto byte : bytes) {
    remainder = (remainder >> 8) ^ kTables[0][(remainder ^ byte) & 0xff];
  }
  return ~remainder;
}

std::uint32_t checksum(std::string_view text) noexcept {
  return checksum({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace coredata
