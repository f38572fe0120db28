#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace support {

/// Damage such as disks, programs and people do to a file, as a seed decides: bytes that change, a
/// page that is lost, exchanged or there twice, an end that is missing.
class FileDamage {
 public:
  explicit FileDamage(std::uint64_t seed) : random_(seed) {}

  /// Damages a file's bytes, and says what it did. Nothing happens to an empty file.
  std::string apply(std::string& bytes);

 private:
  [[nodiscard]] std::size_t below(std::size_t end);
  [[nodiscard]] std::size_t page(const std::string& bytes);
  std::string change(std::string& bytes, std::size_t end);
  std::string swapPages(std::string& bytes);
  std::string copyPage(std::string& bytes);
  std::string clearPage(std::string& bytes);
  std::string truncate(std::string& bytes);

  std::mt19937_64 random_;
};

}  // namespace support
