#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace shelf {

/// Two entities with a column of every kind: shelves, and the books on them.
[[nodiscard]] foundation::Ref<coredata::NSManagedObjectModel> model();
/// The same model from the given source text.
[[nodiscard]] std::string modelSource(std::string_view identifier = "Shelf 1");

/// A store file in a directory of its own.
class StoreFile {
 public:
  [[nodiscard]] const std::filesystem::path& directory() const { return directory_.path(); }
  [[nodiscard]] std::string path() const { return (directory_.path() / "shelf.sqlite").string(); }
  [[nodiscard]] foundation::URL url() const { return foundation::URL::fileURL(path()); }
  /// What lies in the directory, sorted.
  [[nodiscard]] std::vector<std::string> names() const;
  /// With history, and without patience.
  [[nodiscard]] coredata::StoreOptions options() const;
  [[nodiscard]] foundation::Ref<coredata::SQLiteStore> open() const;
  [[nodiscard]] foundation::Ref<coredata::SQLiteStore> open(
      const coredata::StoreOptions& options) const;

 private:
  support::TemporaryDirectory directory_;
};

/// For claims that are to be refused.
inline constexpr std::chrono::milliseconds kImpatient{50};

using Title = std::string_view;

/// A book row that was not written yet; key 0.
[[nodiscard]] foundation::Ref<coredata::Row> book(const coredata::SQLiteStore& store, Title title,
                                                  coredata::ObjectKey shelf = 0);
[[nodiscard]] const coredata::NSEntityDescription& entity(const coredata::SQLiteStore& store,
                                                          std::string_view name);
[[nodiscard]] coredata::SlotIndex slot(const coredata::SQLiteStore& store,
                                       std::string_view property);

/// Each a save of its own.
coredata::ObjectKey insertBook(coredata::ReadSession& session, Title title,
                               coredata::ObjectKey shelf = 0);
[[nodiscard]] bool setTitle(coredata::ReadSession& session, coredata::ObjectKey key, Title title);
[[nodiscard]] bool removeBook(coredata::ReadSession& session, coredata::ObjectKey key);
/// The title of a book as the session sees it; "-" when the book is gone.
[[nodiscard]] std::string titleOf(coredata::ReadSession& session, coredata::ObjectKey key);

/// Runs SQL on a file through a connection of its own, as a person with a shell would; one line for
/// each row, columns separated by "|".
std::vector<std::string> query(const std::string& path, const std::string& sql);

/// Only for files that nobody has open: closing one would take SQLite's locks away.
[[nodiscard]] std::string readFile(const std::string& path);
void writeFile(const std::string& path, std::string_view content);

using support::errorCode;
/// As errors carry it.
[[nodiscard]] constexpr std::int64_t code(coredata::StoreErrorCode value) {
  return static_cast<std::int64_t>(value);
}

}  // namespace shelf
