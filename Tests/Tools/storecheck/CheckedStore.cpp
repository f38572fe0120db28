#include "Tests/Tools/storecheck/CheckedStore.h"

#include <sqlite3.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Tools/storegen/SeededStore.h"

namespace storecheck {

namespace {

storegen::SeededContent content() {
  return {.seed = 7,
          .activities = 6,
          .days = 4,
          .photos = 3,
          .photoBytes = 50,
          .absentPercent = 0,
          .container = {}};
}

struct Database {
  sqlite3* handle = nullptr;

  explicit Database(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
      throw std::runtime_error(sqlite3_errmsg(handle));
  }
  ~Database() { sqlite3_close(handle); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  void execute(const std::string& sql, int (*row)(void*, int, char**, char**), void* to) const {
    if (sqlite3_exec(handle, sql.c_str(), row, to, nullptr) != SQLITE_OK)
      throw std::runtime_error(sqlite3_errmsg(handle));
  }
};

}  // namespace

CheckedStore::CheckedStore()
    : CheckedStore(coredatastack::CoreDataMigrationVersion::newest().rawValue()) {}

CheckedStore::CheckedStore(std::string_view version) {
  storegen::makeSeededStore(path(), coredatastack::model(version), content());
}

void CheckedStore::execute(const std::string& sql) const {
  Database(path()).execute("PRAGMA synchronous=OFF;" + sql, nullptr, nullptr);
}

std::int64_t CheckedStore::number(const std::string& sql) const {
  std::int64_t result = 0;
  Database(path()).execute(
      sql,
      [](void* to, int, char** values, char**) {
        *static_cast<std::int64_t*>(to) = values[0] == nullptr ? 0 : std::stoll(values[0]);
        return 0;
      },
      &result);
  return result;
}

std::string CheckedStore::bytes() const {
  std::ostringstream bytes;
  bytes << std::ifstream(path(), std::ios::binary).rdbuf();
  return bytes.str();
}

void CheckedStore::setBytes(const std::string& bytes) const {
  std::ofstream(path(), std::ios::binary) << bytes;
}

std::map<std::string, std::pair<std::uintmax_t, std::filesystem::file_time_type>> filesIn(
    const std::filesystem::path& directory) {
  std::map<std::string, std::pair<std::uintmax_t, std::filesystem::file_time_type>> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    files[entry.path().filename().string()] = {entry.file_size(), entry.last_write_time()};
  return files;
}

std::string described(const Findings& findings) {
  std::string text;
  for (const Finding& finding : findings.list()) {
    text.append(finding.severity == Severity::error ? "error " : "warning ");
    text.append(name(finding.kind)).append(" ").append(finding.entity);
    if (finding.key) text.append(" ").append(std::to_string(*finding.key));
    text.append(": ").append(finding.text).append("\n");
  }
  return text;
}

}  // namespace storecheck
