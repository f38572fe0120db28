#include "Fuzz/Support/RollbackJournal.h"

#include <cstddef>
#include <cstdint>

namespace fuzz {

namespace {

constexpr std::string_view kMagic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
constexpr std::size_t kPage = 4096;
constexpr std::size_t kSector = 512;
constexpr std::uint32_t kNonce = 12345;
constexpr std::size_t kChecksumStep = 200;

std::string bigEndian(std::uint64_t number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
  return bytes;
}

std::uint32_t checksum(std::string_view page) {
  std::uint32_t sum = kNonce;
  for (std::size_t i = page.size() - kChecksumStep; i > 0 && i < page.size(); i -= kChecksumStep) {
    sum += static_cast<std::uint8_t>(page[i]);
  }
  return sum;
}

}  // namespace

std::string rollbackJournal(std::string_view database) {
  const std::size_t pages = database.size() / kPage;
  std::string journal{kMagic};
  for (const std::uint64_t number : {pages, std::size_t{kNonce}, pages, kSector, kPage})
    journal += bigEndian(number);
  journal.resize(kSector);
  for (std::size_t i = 0; i < pages; ++i) {
    const std::string_view page = database.substr(i * kPage, kPage);
    journal.append(bigEndian(i + 1)).append(page).append(bigEndian(checksum(page)));
  }
  return journal;
}

}  // namespace fuzz
