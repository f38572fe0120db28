#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>

namespace coredata {

class Connection;
struct HistoryPosition;

/// Copies one store over another, page by page, in one transaction of the one that is overwritten:
/// until `finish` has returned, and after a death at any moment before, it is what it was. Others
/// who have it open keep their locks, and see the new content with their next transaction.
///
/// Neither connection may be used for anything else meanwhile. They throw what SQLite says.
class StoreCopy {
 public:
  /// `to` must not be in a transaction; `from` may be reading.
  StoreCopy(Connection& from, Connection& to);
  /// Undoes what is not finished.
  ~StoreCopy() { undo(); }
  StoreCopy(const StoreCopy&) = delete;
  StoreCopy& operator=(const StoreCopy&) = delete;

  /// Keeps others from writing to the destination from now on. Waits for them as long as the
  /// connection's busy timeout says.
  void lockDestination();
  /// Copies everything and commits.
  void finish();
  void undo() noexcept;

 private:
  void step(int pages, int expected);

  Connection& to_;
  sqlite3_backup* backup_;
};

/// A copy of a store beside the one that it is to replace, of which nobody else knows: one file,
/// removed with its owner unless it has been given another name.
class IncomingStore {
 public:
  enum class Durability : std::uint8_t {
    /// For being copied once more: written without waiting for the disk.
    scratch,
    /// For being put in place.
    synced
  };

  /// Its later transactions exceed `floor` in number and stamp.
  IncomingStore(const std::string& destination, Connection& from, const HistoryPosition& floor,
                Durability durability);
  ~IncomingStore();
  IncomingStore(const IncomingStore&) = delete;
  IncomingStore& operator=(const IncomingStore&) = delete;

  [[nodiscard]] Connection& connection() noexcept { return *connection_; }
  [[nodiscard]] const std::string& path() const noexcept { return file_.path; }
  /// Leaves the finished file.
  void close() noexcept;

 private:
  /// Takes away what an earlier one left that was killed.
  struct File {
    explicit File(std::string place);
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    const std::string path;
  };

  File file_;
  std::unique_ptr<Connection> connection_;
};

}  // namespace coredata
