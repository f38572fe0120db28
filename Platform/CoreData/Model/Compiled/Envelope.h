#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace coredata {

/// What tells one kind of binary compiled file from another: how it begins, and the newest of its
/// formats that is known here.
struct Envelope {
  std::array<std::uint8_t, 4> magic;
  std::uint16_t format;
};

/// The file with that content.
[[nodiscard]] std::vector<std::uint8_t> sealed(const Envelope& envelope,
                                               std::span<const std::uint8_t> content);

/// The content of a file. Throws an `Error` of code `ModelErrorCode::newerFormat` or `damaged`: the
/// latter for another beginning or another checksum too.
[[nodiscard]] std::span<const std::uint8_t> unsealed(const Envelope& envelope,
                                                     std::span<const std::uint8_t> file);

}  // namespace coredata
