#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace habits {

/// Writes a file that must not be there yet; one that cannot be written whole is taken away again.
/// Throws `Refusal`.
void writeNewFile(const std::string& path, std::span<const std::uint8_t> bytes);

}  // namespace habits
