#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace power {

/// One change of a disk, or a mark between two of them.
struct DiskOperation {
  enum class Kind : std::uint8_t {
    create,  ///< an empty file
    write,
    truncate,  ///< or a file stretched
    sync,
    syncDirectory,
    rename,
    unlink,  ///< of a file
    makeDirectory,
    removeDirectory,
    mark,  ///< nothing of the disk: the work says how far it has come
  };
  Kind kind;
  /// Below the directory that is recorded; empty for that directory itself and for a mark.
  std::string path;
  /// Where bytes are written, to what size a file is cut, the number of a mark.
  std::int64_t number = 0;
  /// What is written; of a rename the new path.
  std::string bytes = {};
};

/// Writes a record down, operation by operation, also from several processes that have it from the
/// same one: in the order in which they did their work.
class DiskRecorder {
 public:
  /// What happens outside of `directory` is no part of the record, which is a new file.
  DiskRecorder(const std::filesystem::path& directory, const std::filesystem::path& record);
  ~DiskRecorder();
  DiskRecorder(const DiskRecorder&) = delete;
  DiskRecorder& operator=(const DiskRecorder&) = delete;

  /// `operation` has whole paths.
  void add(DiskOperation operation);
  void mark(int number);

 private:
  [[nodiscard]] bool shorten(std::string& path) const;
  void append(const DiskOperation& operation) const;

  std::string directory_;
  int file_;
};

/// What was written down. Throws for a record that is cut off.
[[nodiscard]] std::vector<DiskOperation> operationsIn(const std::filesystem::path& record);

}  // namespace power
