#include "CoreData/SQLite/SchemaCheck.h"

#include <optional>
#include <string_view>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowColumns.h"
#include "CoreData/SQLite/StoreSchema.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

namespace {
using Expected = foundation::HashMap<std::string_view, const SchemaObject*>;

Expected byName(const std::vector<SchemaObject>& schema) {
  Expected result;
  result.makeRoomFor(schema.size());
  for (const SchemaObject& object : schema) result.emplace(object.name, &object);
  return result;
}

/// What SQLite adds by itself: indexes of keys, which alone have no text, and the statistics that
/// ANALYZE leaves for the planner.
bool isSQLitesOwn(const SchemaEntry& entry) {
  return entry.sql.empty() ||
         (entry.name == "sqlite_stat1" && entry.sql == "CREATE TABLE sqlite_stat1(tbl,idx,stat)");
}

/// Whether the file is as it was made, which is as good as every store's.
bool isAsMade(Connection& connection, const NSManagedObjectModel& model) {
  Statement statement(connection, "SELECT name, sql FROM sqlite_master");
  const auto next = [&]() -> std::optional<SchemaEntry> {
    while (statement.step()) {
      const SchemaEntry entry{statement.text(0), statement.text(1)};
      if (!isSQLitesOwn(entry)) return entry;
    }
    return std::nullopt;
  };
  return isSchemaOf(model, next);
}

std::string quote(std::string_view name) { return "\"" + std::string(name) + "\""; }
}  // namespace

SchemaCheck checkSchema(Connection& connection, const NSManagedObjectModel& model) {
  if (isAsMade(connection, model)) return {.hasMetadata = true, .problem = {}, .indexChanges = {}};
  const std::vector<SchemaObject> schema = storeSchema(model);
  Expected expected = byName(schema);
  SchemaCheck result;
  const auto report = [&](std::string problem) {
    if (result.problem.empty()) result.problem = std::move(problem);
  };
  Statement statement(connection, "SELECT name, sql, type FROM sqlite_master");
  while (statement.step()) {
    const std::string_view name = statement.text(0);
    const std::string_view sql = statement.text(1);
    const std::string_view type = statement.text(2);
    const auto found = expected.find(name);
    const bool isKnown = found != expected.end() && found->second->sql == sql;
    if (isKnown) {
      if (name == "_metadata") result.hasMetadata = true;
      expected.erase(found);
    } else if (isSQLitesOwn({name, sql})) {
      continue;
    } else if (type == "index") {
      result.indexChanges.push_back("DROP INDEX " + quotedIdentifier(name));
    } else {
      report("it holds a " + std::string(type) + " " + quote(name) +
             " that no store of this model has.");
    }
  }
  for (const SchemaObject& object : schema) {
    if (!expected.contains(object.name)) continue;
    if (object.kind == SchemaObject::Kind::index) {
      result.indexChanges.push_back(object.sql);
    } else {
      report("it has no table " + quote(object.name) + " as this model needs it.");
    }
  }
  return result;
}

void rebuildIndexes(Connection& connection, const NSManagedObjectModel& model) {
  connection.beginWriting();
  for (const std::string& change : checkSchema(connection, model).indexChanges) {
    connection.execute(change.c_str());
  }
  connection.commit();
}

}  // namespace coredata
