#include "Tests/CoreData/SQLite/StoreFixture.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "CoreData/Model/ModelBuilder.h"

namespace shelf {

using coredata::NSEntityDescription;
using coredata::ObjectKey;
using coredata::ReadSession;
using coredata::Row;
using coredata::SlotIndex;
using coredata::SlotMask;
using coredata::SQLiteStore;
using coredata::StoreOptions;
using coredata::WriteTransaction;
using foundation::Ref;

std::string modelSource(std::string_view identifier) {
  return R"({
    "identifiers": [")" +
         std::string(identifier) + R"("],
    "entities": {
      "Shelf": {
        "attributes": {"name": "text"},
        "relationships": {"books": {"toMany": "Book", "inverse": "shelf"}}
      },
      "Book": {
        "attributes": {
          "title": "text",
          "pages": "integer32",
          "weight": "double",
          "bought": "date",
          "cover": "binary",
          "code": "uuid",
          "lent": "boolean"
        },
        "relationships": {"shelf": {"toOne": "Shelf", "inverse": "books"}},
        "indexes": {"byShelfAndTitle": ["shelf", "title"]}
      }
    }
  })";
}

Ref<coredata::NSManagedObjectModel> model() { return coredata::modelFromSource(modelSource()); }

StoreOptions StoreFile::options() const {
  StoreOptions options(url());
  options.historyTracking = true;
  options.bundleIdentifier = "test.shelf";
  options.busyTimeout = std::chrono::milliseconds(50);
  return options;
}

std::vector<std::string> StoreFile::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory()))
    names.push_back(entry.path().filename().string());
  std::ranges::sort(names);
  return names;
}

Ref<SQLiteStore> StoreFile::open() const { return open(options()); }

Ref<SQLiteStore> StoreFile::open(const StoreOptions& options) const {
  return SQLiteStore::open(options, model());
}

const NSEntityDescription& entity(const SQLiteStore& store, std::string_view name) {
  const NSEntityDescription* found = store.model().entity(name);
  if (found == nullptr) throw std::logic_error("no such entity");
  return *found;
}

SlotIndex slot(const SQLiteStore& store, std::string_view property) {
  return entity(store, "Book").property(property)->slot();
}

Ref<Row> book(const SQLiteStore& store, Title title, ObjectKey shelf) {
  Ref<Row> row = Row::make(entity(store, "Book"));
  row->setVersion(1);
  row->setReference(slot(store, "shelf"), shelf);
  Row::setText(row, slot(store, "title"), title);
  return row;
}

ObjectKey insertBook(ReadSession& session, Title title, ObjectKey shelf) {
  const SQLiteStore& store = *session.store();
  WriteTransaction transaction(session);
  Ref<Row> row = book(store, title, shelf);
  row->setKey(transaction.reserveKeys(entity(store, "Book"), 1));
  transaction.insert(*row);
  transaction.commit({});
  return row->key();
}

bool setTitle(ReadSession& session, ObjectKey key, Title title) {
  const SQLiteStore& store = *session.store();
  const Ref<Row> old = session.row(entity(store, "Book"), key);
  WriteTransaction transaction(session);
  Ref<Row> row = old->copy();
  Row::setText(row, slot(store, "title"), title);
  row->setVersion(old->version() + 1);
  if (!transaction.update(*row, SlotMask{1} << slot(store, "title"), old->version())) return false;
  transaction.commit({});
  return true;
}

bool removeBook(ReadSession& session, ObjectKey key) {
  const SQLiteStore& store = *session.store();
  const Ref<Row> old = session.row(entity(store, "Book"), key);
  WriteTransaction transaction(session);
  if (!transaction.remove(entity(store, "Book"), key, old->version())) return false;
  transaction.commit({});
  return true;
}

std::string titleOf(ReadSession& session, ObjectKey key) {
  const SQLiteStore& store = *session.store();
  const Ref<Row> row = session.row(entity(store, "Book"), key);
  return row ? std::string(row->text(slot(store, "title"))) : "-";
}

std::string readFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const std::string& path, std::string_view content) {
  std::ofstream(path, std::ios::binary) << content;
}

std::vector<std::string> query(const std::string& path, const std::string& sql) {
  sqlite3* database = nullptr;
  std::vector<std::string> lines;
  const int opened = sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
  char* message = nullptr;
  const int result = opened != SQLITE_OK
                         ? opened
                         : sqlite3_exec(
                               database, sql.c_str(),
                               [](void* to, int count, char** values, char**) {
                                 std::string line;
                                 for (int i = 0; i < count; ++i) {
                                   if (i != 0) line += '|';
                                   line += values[i] == nullptr ? "" : values[i];
                                 }
                                 static_cast<std::vector<std::string>*>(to)->push_back(line);
                                 return 0;
                               },
                               &lines, &message);
  const std::string text = message == nullptr ? sqlite3_errstr(result) : message;
  sqlite3_free(message);
  sqlite3_close(database);
  if (result != SQLITE_OK) throw std::runtime_error(text + " in " + sql);
  return lines;
}

}  // namespace shelf
