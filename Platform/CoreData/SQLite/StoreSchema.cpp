#include "CoreData/SQLite/StoreSchema.h"

#include <string_view>
#include <utility>

#include "CoreData/SQLite/RowColumns.h"
#include "CoreData/SQLite/TextPieces.h"

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
// The texts in pieces, of which names and statements are made, and with which they are compared.

template <typename Text>
void giveName(std::string_view name, Text& text) {
  if (name.contains('"')) return text(quotedIdentifier(name));
  text("\"");
  text(name);
  text("\"");
}

template <typename Text>
void giveTable(const NSEntityDescription& entity, Text& text) {
  text("CREATE TABLE ");
  giveName(entity.name(), text);
  text("(_id INTEGER PRIMARY KEY, _version INTEGER NOT NULL");
  for (const Slot& slot : entity.slots()) {
    text(", ");
    giveName(slot.property->name(), text);
    text(columnType(slotKind(slot)));
  }
  text(")");
}

std::string nameOf(const NSEntityDescription& entity, const NSFetchIndexDescription& index) {
  return entity.name() + "_" + index.name();
}

template <typename Text>
void giveIndex(const NSEntityDescription& entity, const NSFetchIndexDescription& index,
               Text& text) {
  text("CREATE INDEX ");
  giveName(nameOf(entity, index), text);
  text(" ON ");
  giveName(entity.name(), text);
  text("(");
  for (std::string_view separator; const SlotIndex slot : index.slots()) {
    text(separator);
    giveName(entity.slots()[slot].property->name(), text);
    separator = ", ";
  }
  // An index of everything that is stored gives whole rows, which it does with their version only.
  if (index.slots().size() == entity.slots().size()) text(", _version");
  text(")");
}

bool isTable(const SchemaEntry& entry, const NSEntityDescription& entity) {
  return entry.name == entity.name() &&
         isText(entry.sql, [&](auto& text) { giveTable(entity, text); });
}

bool isIndex(const SchemaEntry& entry, const NSEntityDescription& entity,
             const NSFetchIndexDescription& index) {
  return entry.name == nameOf(entity, index) &&
         isText(entry.sql, [&](auto& text) { giveIndex(entity, index, text); });
}
}  // namespace

SchemaObject tableOf(const NSEntityDescription& entity) {
  return {Kind::table, entity.name(), textOf([&](auto& text) { giveTable(entity, text); })};
}

std::vector<SchemaObject> indexesOf(const NSEntityDescription& entity) {
  std::vector<SchemaObject> result;
  for (const NSFetchIndexDescription* index : entity.indexes()) {
    result.push_back({Kind::index, nameOf(entity, *index),
                      textOf([&](auto& text) { giveIndex(entity, *index, text); })});
  }
  return result;
}

bool isSchemaOf(const NSManagedObjectModel& model,
                foundation::FunctionRef<std::optional<SchemaEntry>()> next) {
  const auto nextIs = [&](auto&& isIt) {
    const std::optional<SchemaEntry> entry = next();
    return entry && isIt(*entry);
  };
  for (const Fixed& fixed : kFixed) {
    if (!nextIs([&](const SchemaEntry& entry) {
          return entry.name == fixed.name && entry.sql == fixed.sql;
        })) {
      return false;
    }
  }
  for (const NSEntityDescription* entity : model.entities()) {
    if (entity->isAbstract()) continue;
    if (!nextIs([&](const SchemaEntry& entry) { return isTable(entry, *entity); })) return false;
  }
  for (const NSEntityDescription* entity : model.entities()) {
    if (entity->isAbstract()) continue;
    for (const NSFetchIndexDescription* index : entity->indexes()) {
      if (!nextIs([&](const SchemaEntry& entry) { return isIndex(entry, *entity, *index); })) {
        return false;
      }
    }
  }
  return !next();
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
