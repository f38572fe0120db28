#include "CoreData/SQLite/Query/ListTable.h"

#include <cstddef>
#include <new>

#include "CoreData/SQLite/Query/PredicateCompiler.h"

namespace coredata {

using foundation::Operand;

namespace {

constexpr int kValueColumn = 0;
constexpr int kListColumn = 1;

struct Cursor : sqlite3_vtab_cursor {
  const ListMembers* list = nullptr;
  std::size_t position = 0;
};

int connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table, char**) {
  const int result = sqlite3_declare_vtab(database, "CREATE TABLE x(value, list HIDDEN)");
  if (result != SQLITE_OK) return result;
  *table = new (std::nothrow) sqlite3_vtab();
  return *table == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int disconnect(sqlite3_vtab* table) {
  delete table;
  return SQLITE_OK;
}

/// The only way through the table is by a list that is given.
int bestIndex(sqlite3_vtab*, sqlite3_index_info* info) {
  constexpr double kGuessedMembers = 50;
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    const bool givesList = constraint.iColumn == kListColumn && constraint.usable != 0 &&
                           constraint.op == SQLITE_INDEX_CONSTRAINT_EQ;
    if (!givesList) continue;
    info->aConstraintUsage[i].argvIndex = 1;
    info->aConstraintUsage[i].omit = 1;
    info->estimatedCost = kGuessedMembers;
    info->estimatedRows = static_cast<sqlite3_int64>(kGuessedMembers);
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
  cursor->list =
      static_cast<const ListMembers*>(sqlite3_value_pointer(arguments[0], kListPointerType));
  cursor->position = 0;
  return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor) {
  ++static_cast<Cursor*>(cursor)->position;
  return SQLITE_OK;
}

int isAtEnd(sqlite3_vtab_cursor* base) {
  const auto* cursor = static_cast<Cursor*>(base);
  return cursor->list == nullptr || cursor->position >= cursor->list->size() ? 1 : 0;
}

int column(sqlite3_vtab_cursor* base, sqlite3_context* context, int column) {
  if (column != kValueColumn) return SQLITE_OK;
  const auto* cursor = static_cast<Cursor*>(base);
  const Operand& value = (*cursor->list)[cursor->position];
  switch (value.kind()) {
    case Operand::Kind::integer:
      sqlite3_result_int64(context, value.asInteger());
      break;
    case Operand::Kind::real:
      sqlite3_result_double(context, value.asReal());
      break;
    case Operand::Kind::text:
      sqlite3_result_text64(context, value.asText().data(), value.asText().size(), SQLITE_STATIC,
                            SQLITE_UTF8);
      break;
    case Operand::Kind::bytes: {
      // A null address would be an absent value, which empty bytes are not.
      const char* bytes = value.asText().empty() ? "" : value.asText().data();
      sqlite3_result_blob64(context, bytes, value.asText().size(), SQLITE_STATIC);
      break;
    }
    case Operand::Kind::none:
    case Operand::Kind::date:
    case Operand::Kind::uuid:
    case Operand::Kind::object:
    case Operand::Kind::list:
    case Operand::Kind::many:
    case Operand::Kind::other:
      break;
  }
  return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* result) {
  *result = static_cast<sqlite3_int64>(static_cast<Cursor*>(cursor)->position);
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

int installListTable(sqlite3* database) noexcept {
  return sqlite3_create_module_v2(database, kListTable, &kModule, nullptr, nullptr);
}

}  // namespace coredata
