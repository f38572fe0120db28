#include "Fuzz/Support/ByteEdits.h"

namespace fuzz {

namespace {

constexpr std::size_t kPlaceBytes = 3;
constexpr std::size_t kMostAtOnce = 16;

std::size_t placeIn(const std::string& bytes, Input& input) {
  return input.number(kPlaceBytes) % bytes.size();
}

void putBytes(Input& input, std::string& bytes, std::size_t at) {
  const std::string_view given = input.take(1 + input.byte() % kMostAtOnce);
  const std::size_t size = std::min(given.size(), bytes.size() - at);
  bytes.replace(at, size, given.substr(0, size));
}

void flipBit(Input& input, std::string& bytes, std::size_t at) {
  const unsigned flipped = static_cast<unsigned char>(bytes[at]) ^ (1U << (input.byte() % 8U));
  bytes[at] = static_cast<char>(flipped);
}

void copy(Input& input, std::string& bytes, std::size_t at) {
  const std::size_t from = placeIn(bytes, input);
  const std::string copied = bytes.substr(from, input.number(2));
  const std::size_t size = std::min(copied.size(), bytes.size() - at);
  bytes.replace(at, size, copied.substr(0, size));
}

void edit(Input& input, std::string& bytes) {
  const std::uint8_t kind = input.byte();
  const std::size_t at = placeIn(bytes, input);
  switch (kind % 4) {
    case 0:
      return putBytes(input, bytes, at);
    case 1:
      return flipBit(input, bytes, at);
    case 2:
      return copy(input, bytes, at);
    case 3:
      return bytes.resize(at);
  }
}

}  // namespace

void applyEdits(Input& input, std::string& bytes) {
  for (std::size_t left = input.byte(); left > 0 && !bytes.empty(); --left) edit(input, bytes);
}

}  // namespace fuzz
