#include "Foundation/Values/Data.h"

#include <algorithm>
#include <utility>

namespace foundation {

namespace {
std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

struct OwnedBytes {
  explicit OwnedBytes(std::vector<std::uint8_t> given) : owned(std::move(given)), bytes(owned) {}

  const std::vector<std::uint8_t> owned;
  const std::span<const std::uint8_t> bytes;
};
}  // namespace

Data::Data(std::vector<std::uint8_t> bytes) {
  if (bytes.empty()) return;
  const auto kept = std::make_shared<const OwnedBytes>(std::move(bytes));
  bytes_ = {kept, &kept->bytes};
}

Data::Data(std::span<const std::uint8_t> bytes)
    : Data(std::vector<std::uint8_t>(bytes.begin(), bytes.end())) {}

Data::Data(std::shared_ptr<const std::span<const std::uint8_t>> bytes) noexcept
    : bytes_(std::move(bytes)) {}

Data Data::fromText(std::string_view text) { return Data(bytesOf(text)); }

std::string_view Data::text() const noexcept {
  const auto content = bytes();
  return {reinterpret_cast<const char*>(content.data()), content.size()};
}

bool operator==(const Data& a, const Data& b) noexcept {
  return a.bytes_ == b.bytes_ || std::ranges::equal(a.bytes(), b.bytes());
}

}  // namespace foundation
