#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Tests/Support/Chance.h"

namespace power {

using support::Chance;

/// A file's content, and which of it the disk has for certain.
class LosingFile {
 public:
  LosingFile() = default;
  explicit LosingFile(std::string synced) : synced_(std::move(synced)) {}

  void write(std::int64_t offset, std::string bytes);
  void truncate(std::int64_t size);
  void sync();
  [[nodiscard]] bool isSynced() const noexcept { return changes_.empty(); }

  /// The content after a loss of power. What was synced is there. Of what came later everything,
  /// nothing, the beginning, or any part: each change there or not, and of a write each sector of
  /// 512 bytes new, old, zeros or garbage. The file may have grown over what is not there, which
  /// then reads as zeros.
  ///
  /// Bytes that nobody wrote to keep what they were, also in a sector of which others were being
  /// written: SQLite's system layer says that of the disk (`SQLITE_IOCAP_POWERSAFE_OVERWRITE`).
  [[nodiscard]] std::string afterLoss(Chance& chance) const;

 private:
  struct Change {
    enum class Kind : std::uint8_t { write, truncate };
    Kind kind;
    /// Where to write, or the size to cut the file to.
    std::size_t offset;
    std::string bytes;
  };
  static void apply(const Change& change, std::string& content);
  static void tear(const Change& write, std::string& content, Chance& chance);
  void applySome(std::string& content, Chance& chance) const;

  std::string synced_;
  std::vector<Change> changes_;
};

}  // namespace power
