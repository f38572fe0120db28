#pragma once

#include <cstdint>

namespace support {

/// What a disk writes whole or not at all, in bytes.
inline constexpr int kSectorBytes = 512;

/// What is done to files, by SQLite and by everybody else, as far as a fault can be put there.
enum class FileOperation : std::uint8_t {
  open,    ///< opening a file that exists
  create,  ///< opening a file that did not exist, or is emptied by it
  read,    ///< a file's bytes, or a directory's entries
  write,
  sync,
  truncate,
  remove,
  lock,           ///< on the main file
  mapShared,      ///< a page of the shared memory
  lockShared,     ///< a lock in the shared memory
  access,         ///< whether a file is there, what it is, how much room there is
  rename,         ///< never SQLite's
  makeDirectory,  ///< never SQLite's
  touch,          ///< never SQLite's
};

/// A set of operations, bit n for operation n.
using FileOperations = std::uint32_t;
[[nodiscard]] constexpr FileOperations bit(FileOperation operation) noexcept {
  return FileOperations{1} << static_cast<unsigned>(operation);
}
/// Everything that leaves a trace on the disk or in the shared memory.
inline constexpr FileOperations kMutating =
    bit(FileOperation::create) | bit(FileOperation::write) | bit(FileOperation::sync) |
    bit(FileOperation::truncate) | bit(FileOperation::remove) | bit(FileOperation::mapShared) |
    bit(FileOperation::rename) | bit(FileOperation::makeDirectory) | bit(FileOperation::touch);
inline constexpr FileOperations kEverything = ~FileOperations{0};

}  // namespace support
