#include "CoreData/SQLite/HistoryNames.h"

#include "CoreData/SQLite/Connection.h"

namespace coredata {

HistoryNameId findName(Connection& connection, std::string_view text) {
  Statement& statement = connection.statement({StatementKind::findName},
                                              [] { return "SELECT id FROM _name WHERE text=?"; });
  const StatementUse use(statement);
  statement.bindText(1, text);
  return statement.step() ? statement.integer(0) : 0;
}

HistoryNameId insertName(Connection& connection, std::string_view text) {
  Statement& statement = connection.statement({StatementKind::insertName},
                                              [] { return "INSERT INTO _name(text) VALUES(?)"; });
  statement.bindText(1, text);
  statement.run();
  return sqlite3_last_insert_rowid(connection.handle());
}

std::string nameText(Connection& connection, HistoryNameId id) {
  Statement& statement = connection.statement({StatementKind::nameText},
                                              [] { return "SELECT text FROM _name WHERE id=?"; });
  const StatementUse use(statement);
  statement.bindInteger(1, id);
  return statement.step() ? std::string(statement.text(0)) : std::string();
}

}  // namespace coredata
