#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// The bytes of the files below a directory, by their paths in it.
using Files = std::map<std::string, std::string>;

[[nodiscard]] Files filesIn(const std::filesystem::path& directory);
/// Makes the directory hold these files and nothing else, for their owner alone.
void putFiles(const Files& files, const std::filesystem::path& directory);

/// Nothing where there is no file.
[[nodiscard]] std::string bytesOf(const std::filesystem::path& file);

/// A look at a store that nobody has open, in a copy of its file and log: looking folds no log and
/// repairs nothing.
class StoreLook {
 public:
  explicit StoreLook(const std::filesystem::path& store);
  ~StoreLook();
  StoreLook(const StoreLook&) = delete;
  StoreLook& operator=(const StoreLook&) = delete;

  /// Its tables, indexes and rows with every bit. Throws when it is damaged.
  [[nodiscard]] std::string contents() const;
  /// The same without the numbers of the processes that wrote: equal wherever the same work was
  /// done by the same clock and random numbers. Throws when it is damaged.
  [[nodiscard]] std::string contentsOfWork() const;
  /// The rows of the entities alone, without what the store keeps for itself; of an identifier only
  /// whether it is there, since a migration draws new ones. Throws when the store is damaged.
  [[nodiscard]] std::string rowsOfEntities() const;
  /// The first column of what a query finds, as text.
  [[nodiscard]] std::vector<std::string> column(const std::string& sql) const;

 private:
  void requireSound() const;
  /// Those of the store itself begin with an underscore.
  [[nodiscard]] std::vector<std::string> entityTables() const;
  [[nodiscard]] std::string contents(const std::string& instead, const std::string& of) const;
  /// All columns of a table as a query names them, with an expression instead of the one.
  [[nodiscard]] std::string columns(const std::string& table, const std::string& instead,
                                    const std::string& of) const;
  [[nodiscard]] std::string rows(const std::string& sql) const;

  struct Database;
  std::unique_ptr<Database> database_;
};

}  // namespace support
