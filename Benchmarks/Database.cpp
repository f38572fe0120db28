#include "Benchmarks/Database.h"

#include <stdexcept>

namespace benchmarks {

Database openDatabase(const std::string& path) {
  sqlite3* database = nullptr;
  const int result =
      sqlite3_open_v2(path.c_str(), &database,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  Database owned(database);
  if (result != SQLITE_OK) throw std::runtime_error("cannot open " + path);
  return owned;
}

void execute(sqlite3* database, const std::string& sql) {
  if (sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return;
  throw std::runtime_error(std::string(sqlite3_errmsg(database)) + " in: " + sql);
}

}  // namespace benchmarks
