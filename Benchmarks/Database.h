#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

namespace benchmarks {

struct DatabaseCloser {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
};
/// An open database of SQLite's own interface.
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;

/// Opens it, and makes it if it is not there. Throws `std::runtime_error`.
[[nodiscard]] Database openDatabase(const std::string& path);
/// Runs statements that give no rows. Throws `std::runtime_error` with SQLite's message.
void execute(sqlite3* database, const std::string& sql);

}  // namespace benchmarks
