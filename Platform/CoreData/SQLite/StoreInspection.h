#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/SQLite/SchemaCheck.h"
#include "Foundation/Values/FunctionRef.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// What one column of a row holds, of the kind that the file says and not the model. Texts and
/// bytes are lent until the next row.
struct StoredValue {
  enum class Kind : std::uint8_t { absent, integer, real, text, bytes };

  Kind kind = Kind::absent;
  std::int64_t integer = 0;
  double real = 0;
  /// Of a text or of bytes.
  std::string_view content;
};
using StoredRow = std::span<const StoredValue>;

/// How long a store's files are. A page that is free holds nothing.
struct StoreSizes {
  std::int64_t fileBytes = 0;
  std::int64_t logBytes = 0;
  std::int64_t pageBytes = 0;
  /// The log's news included.
  std::int64_t pages = 0;
  std::int64_t freePages = 0;
};

/// A store's tables, row by row and as they are, for whoever wants to know whether they are in
/// order. Everything is read in one state of the store, and nothing is changed, made or removed by
/// it: not the file, not the log, not its index, nor is anybody kept from writing.
///
/// - A store that somebody has open is read through the index of its log, as it stands.
/// - One that nobody has open is read without an index, for which SQLite would make a file. Whether
///   somebody opened it meanwhile and changed it is told by `isUndisturbed`.
///
/// Any content whatever leads to an answer or an error. All members throw `foundation::Error`:
/// SQLite's own, or `StoreErrorCode::damaged` where a table is read that has no order.
///
/// Threading: one thread at a time. While it lives, its process must not open the store anew:
/// SQLite has one index of a log for all of a process, and this one may only be read. Who had it
/// open before, and other processes, may do as they like.
class StoreInspection {
 public:
  /// Opens the store. Throws what opening it for reading would: `StoreErrorCode::missing`,
  /// `notAStore`, `damaged`, `newerVersion`, `notWritable` for one that may not be read, and
  /// `busy`.
  explicit StoreInspection(const foundation::URL& url);
  ~StoreInspection();
  StoreInspection(const StoreInspection&) = delete;
  StoreInspection& operator=(const StoreInspection&) = delete;

  /// Throws `StoreErrorCode::damaged` when there is none or its checksum is not its own.
  [[nodiscard]] foundation::ValueDictionary metadata();
  [[nodiscard]] SchemaCheck schema(const NSManagedObjectModel& model);
  /// What SQLite itself finds wrong with the file's pages, tables and indexes, a line each.
  [[nodiscard]] std::vector<std::string> integrityProblems(std::size_t most);

  /// Called with each row of a table, in the order of its keys.
  using Visitor = foundation::FunctionRef<void(StoredRow)>;
  /// Key, version, and the entity's slots.
  void visitRows(const NSEntityDescription& entity, Visitor visitor);
  /// Number, stamp, author, name of the context, bundle, process.
  void visitTransactions(Visitor visitor);
  /// Transaction, sequence, entity, key, kind, changed.
  void visitChanges(Visitor visitor);
  /// Number and text.
  void visitNames(Visitor visitor);
  /// Name and value.
  void visitMarks(Visitor visitor);

  [[nodiscard]] StoreSizes sizes();
  /// The bytes of each table and index by name; none when this SQLite does not tell. For files that
  /// are whole: in a damaged one it may walk in circles.
  [[nodiscard]] std::optional<std::map<std::string, std::int64_t>> bytesByTable();

  /// Whether all that was read until now was of one state.
  [[nodiscard]] bool isUndisturbed() const;

 private:
  struct Files;
  struct Reading;

  void visit(const std::string& sql, int keyColumns, Visitor visitor);

  std::string path_;
  std::unique_ptr<const Files> before_;
  std::unique_ptr<Reading> reading_;
};

}  // namespace coredata
