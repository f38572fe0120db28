#include "CoreData/SQLite/RowFeed.h"

#include <new>

#include "CoreData/SQLite/Statement.h"

namespace coredata {

namespace {

/// The name under which the address is bound; no SQL text can make such a value.
constexpr char kPointerType[] = "coredata-feed";
constexpr char kFunction[] = "fed_rows";
constexpr int kFeedColumn = RowFeed::kMaxColumns;

struct Cursor : sqlite3_vtab_cursor {
  RowFeed* feed = nullptr;
  bool isAtEnd = true;
  sqlite3_int64 position = 0;

  void advance() {
    isAtEnd = !feed->advance();
    ++position;
  }
};

std::string columnList(int count) {
  std::string result;
  for (int column = 0; column < count; ++column) {
    result += (column == 0 ? "c" : ",c") + std::to_string(column);
  }
  return result;
}

int connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table, char**) try {
  const std::string text = "CREATE TABLE x(" + columnList(RowFeed::kMaxColumns) + ", feed HIDDEN)";
  const int result = sqlite3_declare_vtab(database, text.c_str());
  if (result != SQLITE_OK) return result;
  *table = new sqlite3_vtab();
  return SQLITE_OK;
} catch (const std::bad_alloc&) {
  return SQLITE_NOMEM;
}

int disconnect(sqlite3_vtab* table) {
  delete table;
  return SQLITE_OK;
}

/// The only way through the table is by a feed that is given.
int bestIndex(sqlite3_vtab*, sqlite3_index_info* info) {
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    const bool givesFeed = constraint.iColumn == kFeedColumn && constraint.usable != 0 &&
                           constraint.op == SQLITE_INDEX_CONSTRAINT_EQ;
    if (!givesFeed) continue;
    info->aConstraintUsage[i].argvIndex = 1;
    info->aConstraintUsage[i].omit = 1;
    info->estimatedCost = 1;
    return SQLITE_OK;
  }
  return SQLITE_CONSTRAINT;
}

int open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  *cursor = new (std::nothrow) Cursor();
  return *cursor == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int close(sqlite3_vtab_cursor* cursor) {
  delete static_cast<Cursor*>(cursor);
  return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* base, int, const char*, int, sqlite3_value** arguments) {
  auto* cursor = static_cast<Cursor*>(base);
  cursor->feed = static_cast<RowFeed*>(sqlite3_value_pointer(arguments[0], kPointerType));
  cursor->isAtEnd = true;
  if (cursor->feed != nullptr) cursor->advance();
  return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor) {
  static_cast<Cursor*>(cursor)->advance();
  return SQLITE_OK;
}

int isAtEnd(sqlite3_vtab_cursor* cursor) { return static_cast<Cursor*>(cursor)->isAtEnd ? 1 : 0; }

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
  if (column != kFeedColumn) static_cast<Cursor*>(cursor)->feed->give(column, context);
  return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* result) {
  *result = static_cast<Cursor*>(cursor)->position;
  return SQLITE_OK;
}

constexpr sqlite3_module makeModule() {
  sqlite3_module module{};
  module.xConnect = connect;
  module.xBestIndex = bestIndex;
  module.xDisconnect = disconnect;
  module.xOpen = open;
  module.xClose = close;
  module.xFilter = filter;
  module.xNext = next;
  module.xEof = isAtEnd;
  module.xColumn = column;
  module.xRowid = rowid;
  return module;
}

// Without xCreate it is there by itself and nobody can make a table of the kind in a file.
constexpr sqlite3_module kModule = makeModule();

}  // namespace

std::string RowFeed::insertText(const std::string& table, const std::string& columns,
                                int columnCount) {
  // A save that fails is undone as a whole, so SQLite need not be able to undo this statement
  // alone: for that it would copy aside every page that it touches.
  return "INSERT OR FAIL INTO " + table + "(" + columns + ") SELECT " + columnList(columnCount) +
         " FROM " + kFunction + "(?)";
}

void insertFrom(RowFeed& feed, Statement& statement) {
  statement.bindPointer(1, &feed, kPointerType);
  statement.run();
}

int installRowFeed(sqlite3* database) noexcept {
  return sqlite3_create_module_v2(database, kFunction, &kModule, nullptr, nullptr);
}

}  // namespace coredata
