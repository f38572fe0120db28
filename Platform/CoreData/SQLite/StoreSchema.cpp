#include "CoreData/SQLite/StoreSchema.h"

#include <string_view>

#include "CoreData/SQLite/RowColumns.h"

namespace coredata {

namespace {
using Kind = SchemaObject::Kind;

// The tables that every store has.
//   _metadata     what the store says of itself; values as JSON
//   _mark         numbers that must not be given out again although no row shows them any more
//   _name         texts of the history, each kept once
//   _transaction  one row for each recorded save; stamps rise with the numbers, so a stamp is found
//                 by bisecting the numbers and needs no index that every save would have to keep
//   _change       what it did to which row, clustered behind its transaction
struct Fixed {
  Kind kind;
  std::string_view name;
  std::string_view sql;
};
constexpr Fixed kFixed[] = {
    {Kind::table, "_metadata",
     "CREATE TABLE _metadata(key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID"},
    {Kind::table, "_mark",
     "CREATE TABLE _mark(name TEXT PRIMARY KEY, value NOT NULL) WITHOUT ROWID"},
    {Kind::table, "_name", "CREATE TABLE _name(id INTEGER PRIMARY KEY, text TEXT NOT NULL UNIQUE)"},
    {Kind::table, "_transaction",
     "CREATE TABLE _transaction(number INTEGER PRIMARY KEY, timestamp REAL NOT NULL, "
     "author INTEGER, contextName INTEGER, bundle INTEGER, process INTEGER)"},
    {Kind::table, "_change",
     "CREATE TABLE _change(\"transaction\" INTEGER NOT NULL, sequence INTEGER NOT NULL, "
     "entity INTEGER NOT NULL, key INTEGER NOT NULL, kind INTEGER NOT NULL, changed INTEGER, "
     "PRIMARY KEY(\"transaction\", sequence)) WITHOUT ROWID"},
};

std::string_view columnType(SlotTag kind) {
  switch (kind) {
    case SlotTag::none:
      return "";
    case SlotTag::integer:
    case SlotTag::reference:
      return " INTEGER";
    case SlotTag::real:
    case SlotTag::date:
      return " REAL";
    case SlotTag::text:
      return " TEXT";
    case SlotTag::bytes:
    case SlotTag::identifier:
      return " BLOB";
  }
  return "";
}
}  // namespace

SchemaObject tableOf(const NSEntityDescription& entity) {
  std::string sql = "CREATE TABLE " + quoted(entity.name()) +
                    "(_id INTEGER PRIMARY KEY, _version INTEGER NOT NULL";
  for (const Slot& slot : entity.slots()) {
    sql += ", " + quoted(slot.property->name());
    sql += columnType(slotKind(slot));
  }
  return {Kind::table, entity.name(), sql += ')'};
}

std::vector<SchemaObject> indexesOf(const NSEntityDescription& entity) {
  std::vector<SchemaObject> result;
  for (const NSFetchIndexDescription* index : entity.indexes()) {
    std::string name = entity.name() + "_" + index->name();
    std::string columns;
    for (const SlotIndex slot : index->slots()) {
      if (!columns.empty()) columns += ", ";
      columns += quoted(entity.slots()[slot].property->name());
    }
    std::string sql =
        "CREATE INDEX " + quoted(name) + " ON " + quoted(entity.name()) + "(" + columns + ")";
    result.push_back({Kind::index, std::move(name), std::move(sql)});
  }
  return result;
}

std::vector<SchemaObject> storeSchema(const NSManagedObjectModel& model) {
  std::vector<SchemaObject> result;
  for (const Fixed& fixed : kFixed) {
    result.push_back({fixed.kind, std::string(fixed.name), std::string(fixed.sql)});
  }
  for (const NSEntityDescription* entity : model.entities()) {
    if (!entity->isAbstract()) result.push_back(tableOf(*entity));
  }
  for (const NSEntityDescription* entity : model.entities()) {
    if (entity->isAbstract()) continue;
    for (SchemaObject& index : indexesOf(*entity)) result.push_back(std::move(index));
  }
  return result;
}

}  // namespace coredata
