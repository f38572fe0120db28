#include "Tests/Support/FileDamage.h"

#include <algorithm>

namespace support {

namespace {
constexpr std::size_t kPage = 4096;
constexpr std::size_t kSector = 512;
/// What a file says of itself comes first.
constexpr std::size_t kHead = 200;
}  // namespace

std::size_t FileDamage::below(std::size_t end) { return random_() % std::max<std::size_t>(end, 1); }

std::size_t FileDamage::page(const std::string& bytes) {
  return below(bytes.size() / kPage) * kPage;
}

std::string FileDamage::apply(std::string& bytes) {
  if (bytes.empty()) return "nothing";
  switch (below(7)) {
    case 0:
      return truncate(bytes);
    case 1:
      return copyPage(bytes);
    case 2:
      return clearPage(bytes);
    case 3:
      return swapPages(bytes);
    case 4:
      return change(bytes, std::min(bytes.size(), kHead));
    default:
      return change(bytes, bytes.size());
  }
}

std::string FileDamage::change(std::string& bytes, std::size_t end) {
  constexpr std::size_t kMost = 64;
  const std::size_t count = 1 + below(end == bytes.size() ? kMost : 2);
  std::string what = "changed";
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = below(end);
    const bool flips = below(2) == 0;
    bytes[at] = flips ? static_cast<char>(static_cast<unsigned char>(bytes[at]) ^ (1U << below(8)))
                      : static_cast<char>(below(256));
    what += ' ' + std::to_string(at);
  }
  return what;
}

std::string FileDamage::truncate(std::string& bytes) {
  bytes.resize(below((bytes.size() + kSector - 1) / kSector) * kSector);
  return "cut to " + std::to_string(bytes.size());
}

std::string FileDamage::copyPage(std::string& bytes) {
  const std::size_t from = page(bytes);
  const std::size_t to = page(bytes);
  bytes.replace(to, kPage, bytes.substr(from, kPage));
  return "page at " + std::to_string(from) + " copied to " + std::to_string(to);
}

std::string FileDamage::clearPage(std::string& bytes) {
  const std::size_t at = page(bytes);
  const std::size_t size = std::min(kPage, bytes.size() - at);
  bytes.replace(at, size, size, '\0');
  return "page cleared at " + std::to_string(at);
}

std::string FileDamage::swapPages(std::string& bytes) {
  const std::size_t one = page(bytes);
  const std::size_t other = page(bytes);
  const std::string kept = bytes.substr(one, kPage);
  const std::size_t size = std::min(kept.size(), bytes.size() - other);
  bytes.replace(one, size, bytes.substr(other, size));
  bytes.replace(other, size, kept.substr(0, size));
  return "pages exchanged at " + std::to_string(one) + " and " + std::to_string(other);
}

}  // namespace support
