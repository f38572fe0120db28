#include "Tests/CoreData/SQLite/Query/HabitStore.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/Query/QueryCache.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreData/SQLite/WriteTransaction.h"

namespace habits {

using coredata::ObjectKey;
using coredata::Row;
using coredata::Slot;
using coredata::SlotIndex;
using foundation::Ref;
using foundation::Value;

namespace {

void set(Ref<Row>& row, const Slot& slot, const Value& value) {
  const SlotIndex index = slot.property->slot();
  if (value.isNone()) {
    row->setNone(index);
  } else if (slot.relationship != nullptr) {
    row->setReference(index, value.number()->int64Value());
  } else if (value.text() != nullptr) {
    Row::setText(row, index, *value.text());
  } else if (value.data() != nullptr) {
    Row::setBytes(row, index, value.data()->bytes());
  } else if (value.uuid() != nullptr) {
    Row::setIdentifier(row, index, *value.uuid());
  } else if (value.date() != nullptr) {
    row->setDate(index, value.date()->timeIntervalSinceReferenceDate());
  } else if (slot.attribute->attributeType() == coredata::NSAttributeType::double_) {
    row->setReal(index, value.number()->doubleValue());
  } else {
    row->setInteger(index, value.number()->int64Value());
  }
}

Ref<coredata::SQLiteStore> opened(const std::filesystem::path& directory) {
  coredata::StoreOptions options(foundation::URL::fileURL((directory / "habits.sqlite").string()));
  options.pragmas["synchronous"] = "NORMAL";
  return coredata::SQLiteStore::open(options, Ref<const coredata::NSManagedObjectModel>(&model()));
}

}  // namespace

Ref<Row> row(std::string_view entityName, ObjectKey key, const Values& values) {
  const coredata::NSEntityDescription& kind = entity(entityName);
  Ref<Row> made = Row::make(kind, 64);
  made->setKey(key);
  made->setVersion(1);
  for (const auto& [name, value] : values) {
    set(made, kind.slots()[kind.property(name)->slot()], value);
  }
  return made;
}

void insert(coredata::ReadSession& session, const std::vector<Ref<Row>>& rows) {
  coredata::WriteTransaction transaction(session);
  for (const Ref<Row>& row : rows) transaction.insert(*row);
  transaction.commit({});
}

Store::Store() : session_(opened(directory_.path())) {}

std::string Store::explanation(const Fetch& fetch, coredata::QueryVariant variant) {
  coredata::Reading reading(session_);
  coredata::Connection& connection = reading.connection();
  const coredata::CompiledQuery query = compiled(fetch, std::move(variant));
  coredata::QueryCache::of(connection).provideFor(query);
  const std::string sql = "EXPLAIN QUERY PLAN " + query.sql;
  coredata::Statement statement(connection, sql);
  std::string text;
  while (statement.step()) text += std::string(statement.text(3)) + "\n";
  return text;
}

void Store::execute(const std::string& sql) {
  sqlite3* database = nullptr;
  const int opened = sqlite3_open(session_.store()->path().c_str(), &database);
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> owned(database, &sqlite3_close);
  if (opened != SQLITE_OK ||
      sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(database));
  }
}

void Store::deleteBehindIndex(const std::string& table, const std::string& index, ObjectKey key) {
  // SQLite does not see the index meanwhile.
  execute("CREATE TEMP TABLE kept AS SELECT * FROM sqlite_schema WHERE name='" + index +
          "'; PRAGMA writable_schema=ON;"
          "DELETE FROM sqlite_schema WHERE name IN (SELECT name FROM kept);"
          "PRAGMA writable_schema=RESET; DELETE FROM \"" +
          table + "\" WHERE _id=" + std::to_string(key) +
          "; PRAGMA writable_schema=ON;"
          "INSERT INTO sqlite_schema SELECT * FROM kept;");
}

}  // namespace habits
