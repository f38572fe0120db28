#pragma once

#include <sqlite3.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "CoreData/SQLite/Statement.h"
#include "Foundation/Internal/HashTables.h"
#include "Foundation/Values/FunctionRef.h"

namespace coredata {

class QueryCache;

/// What a kept statement does. Together with the two numbers of its key it stands for one text.
enum class StatementKind : std::uint16_t {
  selectRow,
  rowExists,
  insertRow,
  insertRows,
  updateRow,
  removeRow,
  highestKey,
  members,
  mark,
  raiseMark,
  newestTransaction,
  newestAuthor,
  authorMarks,
  firstTransactionFrom,
  transactions,
  changes,
  nthTransaction,
  nthChange,
  removeTransactions,
  removeChanges,
  insertTransaction,
  insertChange,
  insertChanges,
  findName,
  insertName,
  nameText,
  query,
};

struct StatementKey {
  StatementKind kind;
  /// An entity's index, or a variant of a query.
  std::uint32_t which = 0;
  /// A set of columns, a relationship's index, or a query's serial.
  std::uint64_t detail = 0;

  friend bool operator==(const StatementKey&, const StatementKey&) = default;
  template <typename H>
  friend H AbslHashValue(H state, const StatementKey& key) {
    return H::combine(std::move(state), static_cast<std::uint16_t>(key.kind), key.which,
                      key.detail);
  }
};

struct ConnectionSettings {
  bool readOnly = false;
  std::chrono::milliseconds busyTimeout{5000};
  /// Checked names and values.
  std::map<std::string, std::string> pragmas;
  /// Whether another file may be attached by a URI that says how.
  bool attaches = false;
};

/// One SQLite connection and the statements prepared on it.
///
/// Nothing that a file brings along is run: no triggers, views or functions in its schema, no
/// schema edits. SQLite's own checkpoints are off; see `WriteAheadLog`.
///
/// Threading: one thread at a time.
class Connection {
 public:
  /// Opens an existing file. Throws `foundation::Error` of domain `kSQLiteErrorDomain`.
  Connection(const std::string& path, const ConnectionSettings& settings);
  /// Rolls back what is open. In a child of the process that opened it, leaves everything as it is:
  /// closing would take the parent's locks away.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  [[nodiscard]] sqlite3* handle() const noexcept { return database_; }
  /// Unique in this process and never used again.
  [[nodiscard]] std::uint64_t serial() const noexcept { return serial_; }
  /// False once an operation has failed in a way that leaves the connection's state in doubt.
  [[nodiscard]] bool isUsable() const noexcept { return usable_; }
  void abandon() noexcept { usable_ = false; }
  /// Whether this is the process that opened it.
  [[nodiscard]] bool isOurs() const noexcept;

  /// The kept statement of that key, prepared from `text()` when it is not there yet. Stays valid
  /// while in use.
  [[nodiscard]] Statement& statement(const StatementKey& key,
                                     foundation::FunctionRef<std::string()> text);
  /// Grows when kept statements are dropped: the address of one is good for as long as this stays.
  [[nodiscard]] std::uint64_t statementDrops() const noexcept { return statementDrops_; }
  /// Runs a statement once, without keeping it.
  void execute(const char* sql);

  void begin() { control(Control::begin); }
  /// Keeps all reads to one state of the store until `rollBack`, at the cost of one statement where
  /// a transaction takes three. When it throws, `rollBack` is still to be called.
  void beginReading();
  /// The same at no cost, by a statement that was wanted anyway and stands on a row. It stays there
  /// until `rollBack`, or until it is wanted again: see `KeptStatementUse`.
  void keepReading(Statement& standing) noexcept { standing_ = &standing; }
  /// Waits for other writers as long as the busy timeout says.
  void beginWriting() { control(Control::beginWriting); }
  void commit();
  /// Ends the transaction or the reading if one is open. A connection that cannot even do that
  /// becomes unusable.
  void rollBack() noexcept;
  [[nodiscard]] bool isInTransaction() const noexcept {
    return sqlite3_get_autocommit(database_) == 0;
  }

  /// Changes when others commit, and not by this connection's own `commit`. Inside a transaction or
  /// a reading it is that of the state seen there; otherwise the newest.
  [[nodiscard]] std::int64_t dataVersion();
  /// The same for the state that was read last, also when its transaction has ended. Costs next to
  /// nothing.
  [[nodiscard]] std::int64_t lastDataVersion() const noexcept;
  /// Changes when tables or indexes do, and when the whole content is replaced.
  [[nodiscard]] std::int64_t schemaVersion();

  /// Writes a commit that changes nothing. In the log it takes the place of one that the disk did
  /// not confirm, and that would turn up again otherwise.
  void commitUnchanged();

  /// Pages in the log after this connection's last commit; -1 before the first.
  [[nodiscard]] int logPages() const noexcept { return logPages_; }

  /// Calls `work` with a busy timeout of nothing: what another has locked is refused at once.
  template <typename Work>
  auto withoutWaiting(Work&& work) {
    const WaitingPaused paused(*this);
    return work();
  }

  /// Whether the log file stays when the last connection closes.
  void setKeepsLogFile(bool keeps);

  /// Throws the error of a failed call. Takes the connection out of use unless only the statement
  /// was at fault.
  [[noreturn]] void fail(int result, std::string_view sql);

  /// What the store's owner last saw of the others' commits.
  std::int64_t seenDataVersion = -1;
  /// What fetches keep for this connection; null before the first one.
  std::shared_ptr<QueryCache> queries;

 private:
  friend class KeptStatementUse;

  enum class Control : std::uint8_t {
    begin,
    beginWriting,
    commit,
    rollBack,
    dataVersion,
    schemaVersion
  };
  static constexpr std::size_t kControlCount = 6;
  static constexpr std::size_t kMaxKeptStatements = 600;

  /// Puts the busy timeout back at its end.
  struct WaitingPaused {
    explicit WaitingPaused(Connection& owner) noexcept : connection(owner) {
      sqlite3_busy_timeout(connection.database_, 0);
    }
    ~WaitingPaused() { sqlite3_busy_timeout(connection.database_, connection.busyTimeoutMs_); }
    WaitingPaused(const WaitingPaused&) = delete;
    WaitingPaused& operator=(const WaitingPaused&) = delete;
    Connection& connection;
  };

  void configure(const ConnectionSettings& settings);
  Statement& controlStatement(Control which);
  void control(Control which) { controlStatement(which).run(); }
  std::int64_t readNumber(Control which);
  [[nodiscard]] std::uint32_t contentVersion() const noexcept;
  void beginUse(Statement& statement);
  void endUse(Statement& statement) noexcept;
  void endStanding() noexcept;
  void dropStatements();

  sqlite3* database_ = nullptr;
  std::uint64_t serial_;
  std::uint64_t forkGeneration_;
  std::array<std::unique_ptr<Statement>, kControlCount> controls_;
  foundation::HashMap<StatementKey, std::unique_ptr<Statement>> statements_;
  std::uint64_t statementDrops_ = 0;
  /// What keeps the reading in place of the connection's own statement; null if nothing does.
  Statement* standing_ = nullptr;
  /// By how much this connection's own commits have changed the content's version.
  std::uint32_t ownCommits_ = 0;
  int busyTimeoutMs_;
  int logPages_ = -1;
  bool usable_ = true;
  bool isReading_ = false;
};

/// As `StatementUse`, for a statement that may be what keeps the connection's reading: then another
/// takes over before it is used again, and it is not reset at the end of the use that began the
/// reading. What was bound to it is not looked at any more.
class KeptStatementUse {
 public:
  KeptStatementUse(Connection& connection, Statement& statement)
      : connection_(connection), statement_(statement) {
    connection_.beginUse(statement_);
  }
  ~KeptStatementUse() { connection_.endUse(statement_); }
  KeptStatementUse(const KeptStatementUse&) = delete;
  KeptStatementUse& operator=(const KeptStatementUse&) = delete;

 private:
  Connection& connection_;
  Statement& statement_;
};

/// Keeps what a connection reads to one state of the store while it lives.
class Snapshot {
 public:
  explicit Snapshot(Connection& connection) : connection_(connection) { connection_.begin(); }
  ~Snapshot() { connection_.rollBack(); }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

 private:
  Connection& connection_;
};

}  // namespace coredata
