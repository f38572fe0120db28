#include "CoreData/SQLite/StoreMarks.h"

#include <algorithm>
#include <optional>

#include "CoreData/SQLite/Connection.h"

namespace coredata {

using foundation::Date;

namespace {
// No entity's name begins with an underscore.
constexpr std::string_view kNumberMark = "_transaction";
constexpr std::string_view kTimestampMark = "_timestamp";

Statement& markStatement(Connection& connection) {
  return connection.statement({StatementKind::mark},
                              [] { return "SELECT value FROM _mark WHERE name=?"; });
}

Statement& raiseStatement(Connection& connection) {
  return connection.statement({StatementKind::raiseMark}, [] {
    return "INSERT INTO _mark(name, value) VALUES(?, ?) ON CONFLICT(name) DO UPDATE SET "
           "value=excluded.value WHERE excluded.value>value";
  });
}

std::optional<HistoryPosition> lastRecordIn(Connection& connection) {
  Statement& statement = connection.statement({StatementKind::newestTransaction}, [] {
    return "SELECT number, timestamp FROM _transaction ORDER BY number DESC LIMIT 1";
  });
  const StatementUse use(statement);
  if (!statement.step()) return std::nullopt;
  return HistoryPosition{statement.integer(0), Date::fromReference(statement.real(1))};
}
}  // namespace

std::int64_t keyMark(Connection& connection, std::string_view entityName) {
  Statement& statement = markStatement(connection);
  const StatementUse use(statement);
  statement.bindText(1, entityName);
  return statement.step() ? statement.integer(0) : 0;
}

bool hasMark(Connection& connection, std::string_view name) {
  Statement& statement = markStatement(connection);
  const StatementUse use(statement);
  statement.bindText(1, name);
  return statement.step();
}

void raiseMark(Connection& connection, std::string_view name, std::int64_t value) {
  Statement& statement = raiseStatement(connection);
  statement.bindText(1, name);
  statement.bindInteger(2, value);
  statement.run();
}

void raiseHistoryMarks(Connection& connection, const HistoryPosition& position) {
  raiseMark(connection, kNumberMark, position.number);
  Statement& statement = raiseStatement(connection);
  statement.bindText(1, kTimestampMark);
  statement.bindReal(2, position.timestamp.timeIntervalSinceReferenceDate());
  statement.run();
}

std::int64_t newestRecordIn(Connection& connection) {
  const std::optional<HistoryPosition> recorded = lastRecordIn(connection);
  return recorded ? recorded->number : keyMark(connection, kNumberMark);
}

HistoryPosition newestTransactionIn(Connection& connection) {
  HistoryPosition result = lastRecordIn(connection).value_or(HistoryPosition());
  result.number = std::max(result.number, keyMark(connection, kNumberMark));
  Statement& mark = markStatement(connection);
  const StatementUse use(mark);
  mark.bindText(1, kTimestampMark);
  if (mark.step()) result.timestamp = std::max(result.timestamp, Date::fromReference(mark.real(0)));
  return result;
}

}  // namespace coredata
