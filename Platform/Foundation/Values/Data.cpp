#include "Foundation/Values/Data.h"

#include <algorithm>
#include <utility>

namespace foundation {

namespace {
std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
}  // namespace

Data::Data(std::vector<std::uint8_t> bytes)
    : bytes_(bytes.empty() ? nullptr
                           : std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes))) {}

Data::Data(std::span<const std::uint8_t> bytes)
    : Data(std::vector<std::uint8_t>(bytes.begin(), bytes.end())) {}

Data Data::fromText(std::string_view text) { return Data(bytesOf(text)); }

std::string_view Data::text() const noexcept {
  const auto content = bytes();
  return {reinterpret_cast<const char*>(content.data()), content.size()};
}

bool operator==(const Data& a, const Data& b) noexcept {
  return a.bytes_ == b.bytes_ || std::ranges::equal(a.bytes(), b.bytes());
}

}  // namespace foundation
