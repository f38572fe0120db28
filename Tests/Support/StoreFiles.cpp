#include "Tests/Support/StoreFiles.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <stdexcept>

#include "Tests/Support/TemporaryDirectory.h"

namespace support {

namespace fs = std::filesystem;

namespace {

/// Calls `visit` with each row of what the query finds.
template <typename Visit>
void forEachRow(sqlite3* database, const std::string& sql, Visit&& visit) {
  sqlite3_stmt* made = nullptr;
  int result = sqlite3_prepare_v2(database, sql.c_str(), -1, &made, nullptr);
  const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(made, sqlite3_finalize);
  if (result == SQLITE_OK) {
    while ((result = sqlite3_step(made)) == SQLITE_ROW) visit(*made);
  }
  if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(database));
}

std::string cell(sqlite3_stmt& row, int column) {
  const int type = sqlite3_column_type(&row, column);
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(&row, column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(&row, column));
  return std::to_string(type) + ':' + std::string(bytes == nullptr ? "" : bytes, size) + '|';
}

}  // namespace

std::string bytesOf(const fs::path& file) {
  if (!fs::is_regular_file(file)) return {};
  std::string bytes(fs::file_size(file), '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(stream.gcount()));
  return bytes;
}

Files filesIn(const fs::path& directory) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (!entry.is_regular_file()) continue;
    files.emplace(fs::relative(entry.path(), directory).string(), bytesOf(entry.path()));
  }
  return files;
}

void putFiles(const Files& files, const fs::path& directory) {
  for (const auto& entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
  // As the program makes its own, which uses no temporary directory that is open to others.
  const mode_t before = umask(S_IRWXG | S_IRWXO);
  for (const auto& [name, bytes] : files) {
    fs::create_directories((directory / name).parent_path());
    std::ofstream(directory / name, std::ios::binary) << bytes;
  }
  umask(before);
}

struct StoreLook::Database {
  explicit Database(const fs::path& store) {
    for (const char* companion : {"", "-wal", "-journal"}) {
      const fs::path part = store.string() + companion;
      const fs::path copy = directory.path() / (std::string("store") + companion);
      if (fs::exists(part)) fs::copy_file(part, copy);
    }
    const std::string path = (directory.path() / "store").string();
    if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
      const std::string message = sqlite3_errmsg(handle);
      sqlite3_close(handle);
      throw std::runtime_error(message);
    }
    // What a look repairs in its copy is for nobody to keep.
    sqlite3_exec(handle, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
  }
  ~Database() { sqlite3_close(handle); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  TemporaryDirectory directory;
  sqlite3* handle = nullptr;
};

StoreLook::StoreLook(const fs::path& store) : database_(std::make_unique<Database>(store)) {}
StoreLook::~StoreLook() = default;

std::vector<std::string> StoreLook::column(const std::string& sql) const {
  std::vector<std::string> result;
  forEachRow(database_->handle, sql, [&](sqlite3_stmt& row) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(&row, 0));
    result.emplace_back(text == nullptr ? "" : text);
  });
  return result;
}

std::string StoreLook::rows(const std::string& sql) const {
  std::string result;
  forEachRow(database_->handle, sql, [&](sqlite3_stmt& row) {
    for (int i = 0; i < sqlite3_column_count(&row); ++i) result += cell(row, i);
    result += '\n';
  });
  return result;
}

void StoreLook::requireSound() const {
  if (column("PRAGMA integrity_check") != std::vector<std::string>{"ok"}) {
    throw std::runtime_error("the store is damaged");
  }
}

std::string StoreLook::contents() const { return contents({}, {}); }
std::string StoreLook::contentsOfWork() const { return contents("0", "process"); }

std::string StoreLook::contents(const std::string& instead, const std::string& of) const {
  requireSound();
  std::string result = rows("SELECT type, name, sql FROM sqlite_master ORDER BY type, name");
  for (const std::string& table :
       column("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name")) {
    result +=
        table + '\n' +
        rows("SELECT " + columns(table, instead, of) + " FROM \"" + table + "\" ORDER BY 1, 2");
  }
  return result;
}

std::vector<std::string> StoreLook::entityTables() const {
  std::vector<std::string> tables =
      column("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name");
  std::erase_if(tables, [](const std::string& name) { return name.starts_with('_'); });
  return tables;
}

std::string StoreLook::columns(const std::string& table, const std::string& instead,
                               const std::string& of) const {
  std::string result;
  for (const std::string& name : column("SELECT name FROM pragma_table_info('" + table + "')")) {
    if (!result.empty()) result += ',';
    result += name == of ? instead : '"' + name + '"';
  }
  return result;
}

std::string StoreLook::rowsOfEntities() const {
  requireSound();
  std::string result;
  for (const std::string& table : entityTables()) {
    result += table + '\n' +
              rows("SELECT " + columns(table, "uuid IS NULL", "uuid") + " FROM \"" + table +
                   "\" ORDER BY _id");
  }
  return result;
}

}  // namespace support
