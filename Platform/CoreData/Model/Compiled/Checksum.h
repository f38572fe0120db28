#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace coredata {

/// The CRC-32 of the bytes (polynomial 0x04c11db7, reflected, as in Ethernet). It finds what
/// storage and copying do to a file, not what somebody means to do to it.
[[nodiscard]] std::uint32_t checksum(std::span<const std::uint8_t> bytes) noexcept;
[[nodiscard]] std::uint32_t checksum(std::string_view text) noexcept;

}  // namespace coredata
