#pragma once

#include <sqlite3.h>

#include <new>
#include <string>

namespace coredata {

/// A table function of SQLite's: `name(?)` shows what lies behind the address that is bound.
/// `Content` is the place in it that a statement has reached, and says what the table looks like:
///
///   static constexpr const char* kPointerType;   // under which the address is bound
///   static constexpr int kColumnCount;
///   static constexpr sqlite3_int64 kGuessedRows; // for the planner
///   static std::string columns();                // as CREATE TABLE lists them
///   void start(void* address) noexcept;          // at the first row; null shows an empty table
///   void advance() noexcept;
///   bool isAtEnd() const noexcept;
///   void give(int column, sqlite3_context* context) const noexcept;
///
/// No SQL text can make an address, and without `xCreate` nobody can make a table of the kind in a
/// file.
template <typename Content>
class TableFunction {
 public:
  /// Makes it known to a connection. Gives SQLite's result.
  [[nodiscard]] static int install(sqlite3* database, const char* name) noexcept {
    static constexpr sqlite3_module kModule = makeModule();
    return sqlite3_create_module_v2(database, name, &kModule, nullptr, nullptr);
  }

 private:
  struct Cursor : sqlite3_vtab_cursor {
    Content content;
    sqlite3_int64 position = 0;
  };
  static Cursor& of(sqlite3_vtab_cursor* cursor) { return *static_cast<Cursor*>(cursor); }

  static int connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table,
                     char**) try {
    const std::string text = "CREATE TABLE x(" + Content::columns() + ", address HIDDEN)";
    const int result = sqlite3_declare_vtab(database, text.c_str());
    if (result != SQLITE_OK) return result;
    *table = new sqlite3_vtab();
    return SQLITE_OK;
  } catch (const std::bad_alloc&) {
    return SQLITE_NOMEM;
  }

  static int disconnect(sqlite3_vtab* table) {
    delete table;
    return SQLITE_OK;
  }

  /// The only way through the table is by an address that is given.
  static int bestIndex(sqlite3_vtab*, sqlite3_index_info* info) {
    for (int i = 0; i < info->nConstraint; ++i) {
      const auto& constraint = info->aConstraint[i];
      const bool givesAddress = constraint.iColumn == Content::kColumnCount &&
                                constraint.usable != 0 &&
                                constraint.op == SQLITE_INDEX_CONSTRAINT_EQ;
      if (!givesAddress) continue;
      info->aConstraintUsage[i].argvIndex = 1;
      info->aConstraintUsage[i].omit = 1;
      info->estimatedCost = static_cast<double>(Content::kGuessedRows);
      info->estimatedRows = Content::kGuessedRows;
      return SQLITE_OK;
    }
    return SQLITE_CONSTRAINT;
  }

  static int open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
    *cursor = new (std::nothrow) Cursor();
    return *cursor == nullptr ? SQLITE_NOMEM : SQLITE_OK;
  }

  static int close(sqlite3_vtab_cursor* cursor) {
    delete static_cast<Cursor*>(cursor);
    return SQLITE_OK;
  }

  static int filter(sqlite3_vtab_cursor* cursor, int, const char*, int, sqlite3_value** arguments) {
    of(cursor).position = 0;
    of(cursor).content.start(sqlite3_value_pointer(arguments[0], Content::kPointerType));
    return SQLITE_OK;
  }

  static int next(sqlite3_vtab_cursor* cursor) {
    ++of(cursor).position;
    of(cursor).content.advance();
    return SQLITE_OK;
  }

  static int isAtEnd(sqlite3_vtab_cursor* cursor) { return of(cursor).content.isAtEnd() ? 1 : 0; }

  static int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
    if (column != Content::kColumnCount) of(cursor).content.give(column, context);
    return SQLITE_OK;
  }

  static int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* result) {
    *result = of(cursor).position;
    return SQLITE_OK;
  }

  static constexpr sqlite3_module makeModule() {
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
};

}  // namespace coredata
