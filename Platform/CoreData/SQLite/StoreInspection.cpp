#include "CoreData/SQLite/StoreInspection.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <memory>
#include <numeric>
#include <utility>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowColumns.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreData/SQLite/TracelessFiles.h"

namespace coredata {

using foundation::Error;

namespace {
/// A file as it can be told without opening it.
struct FileState {
  FileIdentity identity;
  std::int64_t size = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;

  friend bool operator==(const FileState&, const FileState&) = default;
};

std::optional<FileState> stateOf(const std::string& path) {
  const auto status = statusOf(path);
  if (!status) return std::nullopt;
  return FileState{{status->st_dev, status->st_ino},
                   status->st_size,
                   status->st_mtim.tv_sec,
                   status->st_mtim.tv_nsec};
}

std::optional<FileIdentity> identityOf(const std::optional<FileState>& state) {
  return state ? std::optional(state->identity) : std::nullopt;
}

std::int64_t sizeOf(const std::optional<FileState>& state) { return state ? state->size : 0; }

constexpr std::size_t kLogHeader = 32;
/// The header of a log and the byte behind it, as much as there is of them and zeros for the rest.
struct LogHead {
  std::array<std::uint8_t, kLogHeader + 1> bytes{};
  /// Of the whole log, in bytes.
  sqlite3_int64 size = 0;
};

/// Read through the layer that SQLite opens the log through. None when that fails, which is
/// SQLite's to complain of.
std::optional<LogHead> headOf(const std::string& log) {
  sqlite3_vfs* const layer = sqlite3_vfs_find(storeVFS());
  const auto memory = std::make_unique<std::byte[]>(static_cast<std::size_t>(layer->szOsFile));
  auto* const file = reinterpret_cast<sqlite3_file*>(memory.get());
  int result =
      layer->xOpen(layer, log.c_str(), file, SQLITE_OPEN_WAL | SQLITE_OPEN_READONLY, nullptr);
  LogHead head;
  if (result == SQLITE_OK) result = file->pMethods->xFileSize(file, &head.size);
  if (result == SQLITE_OK)
    result = file->pMethods->xRead(file, head.bytes.data(), static_cast<int>(head.bytes.size()), 0);
  if (file->pMethods != nullptr) file->pMethods->xClose(file);
  if (result != SQLITE_OK && result != SQLITE_IOERR_SHORT_READ) return std::nullopt;
  return head;
}

/// Whether SQLite finds the salts of a log where they are. Where it does not, since the log's head
/// is damaged or nothing follows it, it would look for them for ten seconds, in an index that may
/// only be read, for whoever is changing it.
bool hasReadableHeader(const std::string& log) {
  constexpr std::uint32_t kMagic = 0x377f0682;
  constexpr std::size_t kPageSize = 8;
  constexpr std::size_t kSalts = 16;
  const auto found = headOf(log);
  if (!found) return true;
  const auto number = [&bytes = found->bytes](std::size_t at) {
    return std::accumulate(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                           bytes.begin() + static_cast<std::ptrdiff_t>(at + sizeof(std::uint32_t)),
                           std::uint32_t{0},
                           [](std::uint32_t sum, std::uint8_t byte) { return sum << 8U | byte; });
  };
  // Room for a log has none, nor has a log without a head.
  if (number(kSalts) == 0 && number(kSalts + sizeof(std::uint32_t)) == 0) return true;
  constexpr std::uint32_t kSmallest = 512;
  constexpr std::uint32_t kLargest = 65536;
  const std::uint32_t pageSize = number(kPageSize);
  // The lowest bit of the first number tells the order of the bytes in checksums.
  return found->size > sqlite3_int64{kLogHeader} && (number(0) & ~1U) == kMagic &&
         std::has_single_bit(pageSize) && pageSize >= kSmallest && pageSize <= kLargest;
}
}  // namespace

/// A store's file and what SQLite keeps beside it.
struct StoreInspection::Files {
  std::optional<FileState> store;
  std::optional<FileState> log;
  std::optional<FileState> index;
  bool hasReadableLog;

  explicit Files(const std::string& path)
      : store(stateOf(path)),
        log(stateOf(path + "-wal")),
        index(stateOf(path + "-shm")),
        hasReadableLog(!log || hasReadableHeader(path + "-wal")) {}

  /// Who has a store with a log open has both. They also stay when the last one closes, and can
  /// then be read as well.
  [[nodiscard]] bool mayBeOpen() const { return log && index && hasReadableLog; }

  [[nodiscard]] bool areSameAs(const Files& before) const {
    if (identityOf(log) != identityOf(before.log) || identityOf(index) != identityOf(before.index))
      return false;
    // In an open store SQLite keeps readers and writers apart. In a closed one nobody knew of us.
    return before.mayBeOpen() ? identityOf(store) == identityOf(before.store)
                              : store == before.store && log == before.log;
  }
};

struct StoreInspection::Reading {
  TracelessFiles files;
  Connection connection;

  Reading(const std::string& path, TracelessFiles::LogIndex index)
      : files(index), connection(address(path, files.name()), settings()) {
    connection.begin();
  }

  static ConnectionSettings settings() {
    return {.readOnly = true,
            .pragmas = {{"cell_size_check", "ON"}, {"temp_store", "MEMORY"}},
            .attaches = true};
  }
  static std::string address(const std::string& path, const std::string& layer) {
    return foundation::URL::fileURL(path).absoluteString() + "?mode=ro&readonly_shm=1&vfs=" + layer;
  }
};

StoreInspection::StoreInspection(const foundation::URL& url) : path_(pathOf(url)) {
  requireFile(path_, false);
  try {
    before_ = std::make_unique<Files>(path_);
    using Index = TracelessFiles::LogIndex;
    reading_ = std::make_unique<Reading>(path_, before_->mayBeOpen() ? Index::shared : Index::own);
    if (contentOf(reading_->connection, path_) == StoreContent::nothing)
      throw storeError(StoreErrorCode::missing, "There is no store in " + path_ + ".");
  } catch (const Error& error) {
    throwMeaning(error, path_);
  }
}

StoreInspection::~StoreInspection() = default;

foundation::ValueDictionary StoreInspection::metadata() {
  try {
    return readMetadata(reading_->connection);
  } catch (const Error& error) {
    throwMeaning(error, path_);
  }
}

SchemaCheck StoreInspection::schema(const NSManagedObjectModel& model) {
  return checkSchema(reading_->connection, model);
}

std::vector<std::string> StoreInspection::integrityProblems(std::size_t most) {
  Statement statement(reading_->connection, "PRAGMA integrity_check(" + std::to_string(most) + ")");
  std::vector<std::string> problems;
  while (statement.step()) {
    if (statement.text(0) != "ok") problems.emplace_back(statement.text(0));
  }
  return problems;
}

namespace {
StoredValue valueOf(const Cell& cell) {
  using Kind = StoredValue::Kind;
  switch (cell.storageClass()) {
    case SQLITE_INTEGER:
      return {.kind = Kind::integer, .integer = cell.integer(), .content = {}};
    case SQLITE_FLOAT:
      return {.kind = Kind::real, .real = cell.real(), .content = {}};
    case SQLITE_TEXT:
      return {.kind = Kind::text, .content = cell.text()};
    case SQLITE_BLOB:
      return {.kind = Kind::bytes, .content = cell.text()};
    default:
      return {};
  }
}

/// The first columns of a row, by which a table is ordered.
class RowOrder {
 public:
  explicit RowOrder(int columns) : last_(static_cast<std::size_t>(columns)) {}

  /// Whether the row comes behind the one before it. A damaged tree can lead in circles.
  [[nodiscard]] bool advance(StoredRow row) {
    std::partial_ordering order = std::partial_ordering::equivalent;
    for (std::size_t i = 0; i < last_.size(); ++i) {
      Key key{row[i].integer, std::string(row[i].content)};
      if (order == std::partial_ordering::equivalent) order = key <=> last_[i];
      last_[i] = std::move(key);
    }
    return std::exchange(isFirst_, false) || order == std::partial_ordering::greater;
  }

 private:
  struct Key {
    std::int64_t number = 0;
    std::string text;
    friend auto operator<=>(const Key&, const Key&) = default;
  };

  std::vector<Key> last_;
  bool isFirst_ = true;
};
}  // namespace

void StoreInspection::visit(const std::string& sql, int keyColumns, Visitor visitor) {
  Statement statement(reading_->connection, sql);
  std::vector<StoredValue> row(static_cast<std::size_t>(statement.columnCount()));
  RowOrder order(keyColumns);
  while (statement.step()) {
    for (int i = 0; i < statement.columnCount(); ++i)
      row[static_cast<std::size_t>(i)] = valueOf(statement.cell(i));
    if (!order.advance(row))
      throw storeError(StoreErrorCode::damaged, "The rows are out of order in: " + sql);
    visitor(row);
  }
}

// Columns are named with their table's alias: SQLite takes a quoted name that is no column for a
// text. Indexes are not used: it is the tables that are looked at.

void StoreInspection::visitRows(const NSEntityDescription& entity, Visitor visitor) {
  visit("SELECT " + RowColumns(entity).list("t") + " FROM " + quotedIdentifier(entity.name()) +
            " AS t NOT INDEXED ORDER BY t._id",
        1, visitor);
}

void StoreInspection::visitTransactions(Visitor visitor) {
  visit(
      "SELECT t.number, t.timestamp, t.author, t.contextName, t.bundle, t.process "
      "FROM _transaction AS t NOT INDEXED ORDER BY t.number",
      1, visitor);
}

void StoreInspection::visitChanges(Visitor visitor) {
  visit(
      "SELECT t.\"transaction\", t.sequence, t.entity, t.key, t.kind, t.changed "
      "FROM _change AS t ORDER BY t.\"transaction\", t.sequence",
      2, visitor);
}

void StoreInspection::visitNames(Visitor visitor) {
  visit("SELECT t.id, t.text FROM _name AS t NOT INDEXED ORDER BY t.id", 1, visitor);
}

void StoreInspection::visitMarks(Visitor visitor) {
  visit("SELECT t.name, t.value FROM _mark AS t ORDER BY t.name", 1, visitor);
}

StoreSizes StoreInspection::sizes() {
  const auto number = [this](const char* sql) {
    Statement statement(reading_->connection, sql);
    return statement.step() ? statement.integer(0) : 0;
  };
  const Files now(path_);
  return {.fileBytes = sizeOf(now.store),
          .logBytes = sizeOf(now.log),
          .pageBytes = number("PRAGMA page_size"),
          .pages = number("PRAGMA page_count"),
          .freePages = number("PRAGMA freelist_count")};
}

std::optional<std::map<std::string, std::int64_t>> StoreInspection::bytesByTable() {
  Statement listed(reading_->connection, "SELECT 1 FROM pragma_module_list WHERE name='dbstat'");
  if (!listed.step()) return std::nullopt;
  Statement statement(reading_->connection,
                      "SELECT name, pgsize FROM dbstat('main') WHERE aggregate=1");
  std::map<std::string, std::int64_t> bytes;
  while (statement.step()) bytes.emplace(statement.text(0), statement.integer(1));
  return bytes;
}

bool StoreInspection::isUndisturbed() const { return Files(path_).areSameAs(*before_); }

}  // namespace coredata
