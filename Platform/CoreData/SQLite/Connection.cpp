#include "CoreData/SQLite/Connection.h"

#include <atomic>
#include <exception>
#include <utility>

#include "CoreData/SQLite/ForkGeneration.h"
#include "CoreData/SQLite/InheritedFiles.h"
#include "CoreData/SQLite/MemoryAccount.h"
#include "CoreData/SQLite/RowFeed.h"
#include "CoreData/SQLite/StoreSchema.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Foundation/Values/Error.h"

namespace coredata {

using foundation::Error;

namespace {
std::atomic<std::uint64_t> nextSerial{1};

/// Failures after which the connection is as good as before; after any other it is not trusted any
/// more.
bool concernsStatementOnly(int result) noexcept {
  switch (result & 0xff) {
    case SQLITE_ERROR:
    case SQLITE_BUSY:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
    case SQLITE_RANGE:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
      return true;
    default:
      return false;
  }
}

[[noreturn]] void throwSQLiteError(sqlite3* database, int result, std::string_view sql) {
  // The handle's own text says more, but only while it is about this very failure.
  const bool isLast = database != nullptr && sqlite3_extended_errcode(database) == result;
  std::string message = isLast ? sqlite3_errmsg(database) : sqlite3_errstr(result);
  if (!sql.empty()) message.append(" in: ").append(sql);
  throw Error(std::string(foundation::kSQLiteErrorDomain), result, std::move(message));
}
}  // namespace

Connection::Connection(const std::string& path, const ConnectionSettings& settings)
    : serial_(nextSerial.fetch_add(1, std::memory_order_relaxed)),
      forkGeneration_(coredata::forkGeneration()),
      busyTimeoutMs_(static_cast<int>(settings.busyTimeout.count())) {
  keepNoMemoryAccount();
  keepInheritedFilesApart();
  // Never SQLITE_OPEN_CREATE: a new file is made beforehand, with the owner's permissions only.
  const int flags = (settings.readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) |
                    (settings.attaches ? SQLITE_OPEN_URI : 0) | SQLITE_OPEN_NOMUTEX |
                    SQLITE_OPEN_EXRESCODE;
  const int result = sqlite3_open_v2(path.c_str(), &database_, flags, storeVFS());
  try {
    if (result != SQLITE_OK) throwSQLiteError(database_, result, {});
    configure(settings);
  } catch (...) {
    controls_ = {};
    sqlite3_close_v2(database_);
    throw;
  }
}

Connection::~Connection() {
  if (!isOurs()) {
    const auto leave = [](std::unique_ptr<Statement>& statement) {
      [[maybe_unused]] const Statement* const left = statement.release();
    };
    for (auto& statement : controls_) leave(statement);
    for (auto& [key, statement] : statements_) leave(statement);
    return;
  }
  controls_ = {};
  statements_.clear();
  sqlite3_close_v2(database_);
}

bool Connection::isOurs() const noexcept { return forkGeneration_ == coredata::forkGeneration(); }

void Connection::configure(const ConnectionSettings& settings) {
  // First of all: whatever comes next may meet another process that is opening or closing the file.
  sqlite3_busy_timeout(database_, busyTimeoutMs_);
  const auto set = [this](int option, int value) {
    const int result = sqlite3_db_config(database_, option, value, nullptr);
    if (result != SQLITE_OK) throwSQLiteError(database_, result, {});
  };
  set(SQLITE_DBCONFIG_DEFENSIVE, 1);
  set(SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0);
  set(SQLITE_DBCONFIG_ENABLE_TRIGGER, 0);
  set(SQLITE_DBCONFIG_ENABLE_VIEW, 0);
  if (const int result = installRowFeed(database_); result != SQLITE_OK) {
    throwSQLiteError(database_, result, {});
  }
  // Replaces SQLite's own hook, which is what makes its automatic checkpoints.
  sqlite3_wal_hook(
      database_,
      [](void* self, sqlite3*, const char*, int pages) {
        static_cast<Connection*>(self)->logPages_ = pages;
        return SQLITE_OK;
      },
      this);
  setKeepsLogFile(true);
  // What FULL becomes, see `checkedPragmas`.
  if (!settings.pragmas.contains("synchronous")) execute("PRAGMA synchronous=EXTRA");
  if (!settings.pragmas.contains("cache_size")) execute("PRAGMA cache_size=-8000");
  for (const auto& [name, value] : settings.pragmas) {
    // A journal in memory is each connection's own matter; every other mode is the file's, and
    // chosen once.
    if (name == "journal_mode" && value != "MEMORY") continue;
    std::string sql = "PRAGMA ";
    sql.append(name).append("=").append(value);
    execute(sql.c_str());
  }
}

void Connection::setKeepsLogFile(bool keeps) {
  int value = keeps ? 1 : 0;
  const int result = sqlite3_file_control(database_, "main", SQLITE_FCNTL_PERSIST_WAL, &value);
  if (result != SQLITE_OK && result != SQLITE_NOTFOUND) throwSQLiteError(database_, result, {});
}

Statement& Connection::statement(const StatementKey& key,
                                 foundation::FunctionRef<std::string()> text) {
  if (const auto found = statements_.find(key); found != statements_.end()) return *found->second;
  if (statements_.size() >= kMaxKeptStatements) dropStatements();
  auto made = std::make_unique<Statement>(*this, text());
  return *statements_.emplace(key, std::move(made)).first->second;
}

void Connection::dropStatements() {
  ++statementDrops_;
  // Only those whose number has no bound. The others may be in a caller's hands between two runs.
  statements_.eraseIf([](const auto& entry) {
    const StatementKind kind = entry.first.kind;
    return (kind == StatementKind::query || kind == StatementKind::updateRow) &&
           !entry.second->isRunning();
  });
}

void Connection::execute(const char* sql) {
  const int result = sqlite3_exec(database_, sql, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) fail(result, sql);
}

Statement& Connection::controlStatement(Control which) {
  static constexpr std::array<std::string_view, kControlCount> kTexts = {
      "BEGIN",    "BEGIN IMMEDIATE",     "COMMIT",
      "ROLLBACK", "PRAGMA data_version", "PRAGMA schema_version"};
  const auto index = static_cast<std::size_t>(which);
  std::unique_ptr<Statement>& statement = controls_[index];
  if (!statement) statement = std::make_unique<Statement>(*this, kTexts[index]);
  return *statement;
}

std::int64_t Connection::readNumber(Control which) {
  Statement& statement = controlStatement(which);
  const StatementUse use(statement);
  return statement.step() ? statement.integer(0) : 0;
}

std::uint32_t Connection::contentVersion() const noexcept {
  unsigned int version = 0;
  // Of the main file, which needs no name here.
  sqlite3_file_control(database_, nullptr, SQLITE_FCNTL_DATA_VERSION, &version);
  return version;
}

void Connection::commit() {
  const std::uint32_t before = contentVersion();
  control(Control::commit);
  ownCommits_ += contentVersion() - before;
}

std::int64_t Connection::lastDataVersion() const noexcept { return contentVersion() - ownCommits_; }

void Connection::beginUse(Statement& statement) {
  if (standing_ != &statement) return;
  beginReading();
  endStanding();
}

void Connection::endUse(Statement& statement) noexcept {
  if (standing_ != &statement) statement.reset();
}

void Connection::endStanding() noexcept {
  if (standing_ != nullptr) std::exchange(standing_, nullptr)->reset();
}

std::int64_t Connection::dataVersion() {
  // SQLite looks at the file when a statement begins to read, which `BEGIN` alone does not.
  const bool isHeld = isReading_ || standing_ != nullptr;
  if (!isHeld && sqlite3_txn_state(database_, "main") == SQLITE_TXN_NONE) {
    static_cast<void>(readNumber(Control::dataVersion));
  }
  return lastDataVersion();
}

std::int64_t Connection::schemaVersion() { return readNumber(Control::schemaVersion); }

void Connection::commitUnchanged() {
  beginWriting();
  // Set to what it is, which writes the page.
  execute(("PRAGMA user_version=" + std::to_string(kStoreFormatVersion)).c_str());
  commit();
}

void Connection::beginReading() {
  // A statement that stands on a row keeps its snapshot, and all that run meanwhile share it. This
  // one is wanted first in any case.
  Statement& statement = controlStatement(Control::dataVersion);
  isReading_ = true;
  static_cast<void>(statement.step());
}

void Connection::rollBack() noexcept {
  endStanding();
  if (std::exchange(isReading_, false)) controlStatement(Control::dataVersion).reset();
  if (!isInTransaction()) return;
  try {
    control(Control::rollBack);
  } catch (const std::exception&) {
    // Closing the connection undoes what the statement could not.
    abandon();
  }
}

void Connection::fail(int result, std::string_view sql) {
  if (!concernsStatementOnly(result)) abandon();
  throwSQLiteError(database_, result, sql);
}

}  // namespace coredata
