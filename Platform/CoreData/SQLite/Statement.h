#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <span>
#include <string_view>

#include "Foundation/Predicate/Operand.h"

namespace coredata {

class Cell;
class Connection;

/// A prepared statement of a connection. Parameters and columns are counted from 1 and 0, as SQLite
/// counts them.
///
/// Texts and bytes are lent: what is bound must live until the statement is reset, and what a
/// column gives until the next step. Failures are thrown as `foundation::Error` of domain
/// `kSQLiteErrorDomain` with the statement's text, never with what was bound.
class Statement {
 public:
  /// Prepares one statement that will be kept.
  Statement(Connection& connection, std::string_view sql);
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void bindNull(int parameter) { check(sqlite3_bind_null(statement_, parameter)); }
  void bindInteger(int parameter, std::int64_t value) {
    check(sqlite3_bind_int64(statement_, parameter, value));
  }
  void bindReal(int parameter, double value) {
    check(sqlite3_bind_double(statement_, parameter, value));
  }
  void bindText(int parameter, std::string_view value);
  void bindBytes(int parameter, std::span<const std::uint8_t> value);
  /// A value of run-time kind. Objects, lists and to-manys have no column value and are bound as
  /// absent.
  void bind(int parameter, const foundation::Operand& value);
  /// Hands an address to a table function of that type, which knows what it is.
  void bindPointer(int parameter, void* address, const char* type) {
    check(sqlite3_bind_pointer(statement_, parameter, address, type, nullptr));
  }

  /// Goes to the next row; false when there is none.
  [[nodiscard]] bool step() {
    const int result = sqlite3_step(statement_);
    if (result == SQLITE_ROW) return true;
    if (result != SQLITE_DONE) fail(result);
    return false;
  }
  /// Runs a statement that gives no rows that matter, and resets it.
  void run();
  /// Makes the statement ready for another run. What went wrong was reported by the step that it
  /// went wrong in.
  void reset() noexcept { sqlite3_reset(statement_); }

  /// The column's value in the row on which the statement stands.
  [[nodiscard]] Cell cell(int column) const noexcept;
  [[nodiscard]] std::int64_t integer(int column) const noexcept {
    return sqlite3_column_int64(statement_, column);
  }
  [[nodiscard]] double real(int column) const noexcept {
    return sqlite3_column_double(statement_, column);
  }
  /// Empty for an absent value.
  [[nodiscard]] std::string_view text(int column) const;
  [[nodiscard]] int columnCount() const noexcept { return sqlite3_column_count(statement_); }
  [[nodiscard]] bool isRunning() const noexcept { return sqlite3_stmt_busy(statement_) != 0; }
  [[nodiscard]] std::string_view sql() const noexcept { return sqlite3_sql(statement_); }

 private:
  friend class Cell;

  void check(int result) const {
    if (result != SQLITE_OK) fail(result);
  }
  [[noreturn]] void fail(int result) const;

  Connection& connection_;
  sqlite3_stmt* statement_ = nullptr;
};

/// What a column holds in the row on which its statement stands, looked up once: asking the
/// statement costs a look-up and SQLite's lock for each answer. Good until the next step.
///
/// SQLite calls such a value unprotected, which matters only where threads share a connection.
class Cell {
 public:
  /// The kind of the value that is there, as SQLite numbers them.
  [[nodiscard]] int storageClass() const noexcept { return sqlite3_value_type(value_); }
  [[nodiscard]] bool isNull() const noexcept { return storageClass() == SQLITE_NULL; }
  [[nodiscard]] std::int64_t integer() const noexcept { return sqlite3_value_int64(value_); }
  [[nodiscard]] double real() const noexcept { return sqlite3_value_double(value_); }
  /// Empty for an absent value.
  [[nodiscard]] std::span<const std::uint8_t> bytes() const;
  [[nodiscard]] std::string_view text() const;
  [[nodiscard]] std::size_t byteSize() const noexcept {
    return static_cast<std::size_t>(sqlite3_value_bytes(value_));
  }

 private:
  friend class Statement;

  Cell(const Statement& statement, sqlite3_value* value) noexcept
      : statement_(statement), value_(value) {}

  const Statement& statement_;
  sqlite3_value* value_;
};

inline Cell Statement::cell(int column) const noexcept {
  return {*this, sqlite3_column_value(statement_, column)};
}

/// The time for which a statement is stepped: resets it at the end, also when a step throws.
class StatementUse {
 public:
  explicit StatementUse(Statement& statement) noexcept : statement_(statement) {}
  ~StatementUse() { statement_.reset(); }
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;

 private:
  Statement& statement_;
};

}  // namespace coredata
