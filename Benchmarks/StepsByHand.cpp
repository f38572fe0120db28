#include "Benchmarks/StepsByHand.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Benchmarks/HandWrittenStore.h"
#include "CoreData/SQLite/RowColumns.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"

namespace benchmarks {

using coredata::NSEntityDescription;
using coredata::NSManagedObjectModel;
using coredata::Slot;
using coredata::SlotTag;
using coredatastack::CoreDataMigrationVersion;
using foundation::Ref;

namespace {

std::string tableOf(const NSEntityDescription& entity) {
  return coredata::quotedIdentifier(entity.name());
}

std::string columnOf(const Slot& slot) { return coredata::quotedIdentifier(slot.property->name()); }

std::string_view typeOf(const Slot& slot) {
  switch (coredata::slotKind(slot)) {
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

std::string tablesOf(const NSManagedObjectModel& model) {
  std::string sql;
  for (const NSEntityDescription* entity : model.entities()) {
    sql += "CREATE TABLE " + tableOf(*entity) + "(id INTEGER PRIMARY KEY";
    for (const Slot& slot : entity->slots()) {
      sql += ", " + columnOf(slot);
      sql += typeOf(slot);
    }
    sql += ");";
  }
  return sql;
}

std::string indexesOf(const NSManagedObjectModel& model) {
  std::string sql;
  for (const NSEntityDescription* entity : model.entities()) {
    for (const coredata::NSFetchIndexDescription* index : entity->indexes()) {
      std::string columns;
      for (const auto slot : index->slots()) {
        if (!columns.empty()) columns += ',';
        columns += columnOf(entity->slots()[slot]);
      }
      sql += "CREATE INDEX " + coredata::quotedIdentifier(entity->name() + "_" + index->name()) +
             " ON " + tableOf(*entity) + "(" + columns + ");";
    }
  }
  return sql;
}

/// What the column was before; null where there was none.
const Slot* formerly(const Slot& slot, const NSEntityDescription& before) {
  const auto named = [&](std::string_view name) -> const Slot* {
    for (const Slot& old : before.slots()) {
      if (old.property->name() == name) return &old;
    }
    return nullptr;
  };
  const Slot* old = named(slot.property->name());
  return old == nullptr ? named(slot.property->renamingIdentifier()) : old;
}

bool areAlike(const NSEntityDescription& one, const NSEntityDescription& other) {
  if (one.slots().size() != other.slots().size()) return false;
  for (std::size_t i = 0; i < one.slots().size(); ++i) {
    if (one.slots()[i].property->name() != other.slots()[i].property->name()) return false;
    if (typeOf(one.slots()[i]) != typeOf(other.slots()[i])) return false;
  }
  return true;
}

/// Whole rows where the tables are alike, which SQLite copies without looking into them. What is
/// new is absent, which is right for numbers too as long as nobody counts them.
std::string rowsOf(const NSEntityDescription& before, const NSEntityDescription& after,
                   std::string_view key) {
  const std::string from = " FROM source." + tableOf(before) + ";";
  const std::string into = "INSERT INTO main." + tableOf(after) + " SELECT ";
  if (key == "id" && areAlike(before, after)) return into + "*" + from;
  std::string columns(key);
  for (const Slot& slot : after.slots()) {
    const Slot* old = formerly(slot, before);
    columns += old == nullptr ? ",NULL" : "," + columnOf(*old);
  }
  return into + columns + from;
}

std::string rowsOf(const NSManagedObjectModel& before, const NSManagedObjectModel& after,
                   std::string_view key) {
  std::string sql;
  for (const NSEntityDescription* entity : after.entities()) {
    const NSEntityDescription* old = before.entity(entity->name());
    if (old != nullptr) sql += rowsOf(*old, *entity, key);
  }
  return sql;
}

Database newDatabase(const std::string& path) {
  Database database = openDatabase(path);
  execute(database.get(),
          "PRAGMA journal_mode=OFF; PRAGMA synchronous=FULL; PRAGMA cache_size=-8000");
  return database;
}

std::vector<std::uint8_t> contentOf(const std::filesystem::path& path) {
  std::vector<std::uint8_t> bytes(std::filesystem::file_size(path));
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()))) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return bytes;
}

}  // namespace

StepsByHand::StepsByHand() {
  const auto versions = CoreDataMigrationVersion::allCases();
  Ref<const NSManagedObjectModel> before = coredatastack::model(versions.front().rawValue());
  filling_ = {tablesOf(*before), rowsOf(*before, *before, "_id"), indexesOf(*before)};
  for (const CoreDataMigrationVersion& version : versions.subspan(1)) {
    Ref<const NSManagedObjectModel> after = coredatastack::model(version.rawValue());
    steps_.push_back({tablesOf(*after), rowsOf(*before, *after, "id"), indexesOf(*after)});
    before = std::move(after);
  }
}

void StepsByHand::fill(const std::string& path, const std::string& source) const {
  make(path, source, filling_);
}

void StepsByHand::run(const std::string& path) const {
  const std::string next = path + "-next";
  for (const Copy& step : steps_) {
    make(next, path, step);
    std::filesystem::rename(next, path);
  }
}

void StepsByHand::make(const std::string& path, const std::string& from, const Copy& copy) {
  const Database database = newDatabase(path);
  PreparedStatement attach(database.get(), "ATTACH ? AS source");
  attach.bind(1, std::string_view(from));
  attach.run();
  execute(database.get(), "BEGIN;" + copy.schema + copy.rows + copy.indexes + "COMMIT");
}

void copyFilesByHand(const std::string& directory, const std::string& path) {
  const Database database = newDatabase(path);
  execute(database.get(), "CREATE TABLE Photo(id INTEGER PRIMARY KEY, data BLOB); BEGIN");
  PreparedStatement insert(database.get(), "INSERT INTO Photo(data) VALUES(?)");
  for (const auto& file : std::filesystem::directory_iterator(directory)) {
    const std::vector<std::uint8_t> bytes = contentOf(file.path());
    insert.bind(1, std::span<const std::uint8_t>(bytes));
    insert.run();
  }
  execute(database.get(), "COMMIT");
}

}  // namespace benchmarks
