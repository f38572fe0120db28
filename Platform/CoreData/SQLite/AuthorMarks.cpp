#include "CoreData/SQLite/AuthorMarks.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "Foundation/Values/FunctionRef.h"

namespace coredata {

namespace {
/// Up to this number authors have no marks: an older version wrote it.
constexpr std::string_view kBeginning = "_author";
/// Before the number of the author's name.
constexpr std::string_view kPrefix = "_author ";

std::optional<HistoryNameId> newestAuthor(Connection& connection) {
  Statement& statement = connection.statement({StatementKind::newestAuthor}, [] {
    return "SELECT author FROM _transaction ORDER BY number DESC LIMIT 1";
  });
  const StatementUse use(statement);
  if (!statement.step()) return std::nullopt;
  return statement.integer(0);
}

/// The highest number that a transaction of one of the wanted authors may have.
std::int64_t lastNumberWhere(Connection& connection,
                             foundation::FunctionRef<bool(HistoryNameId)> isWanted) {
  const HistoryTail tail = historyTailIn(connection);
  if (!tail.keepsAuthors || (tail.author && isWanted(*tail.author))) return tail.newest.number;
  Statement& statement = connection.statement({StatementKind::authorMarks}, [] {
    return "SELECT name, value FROM _mark WHERE name>='_author' AND name<'_author!'";
  });
  const StatementUse use(statement);
  std::int64_t last = 0;
  while (statement.step()) {
    std::string_view name = statement.text(0);
    HistoryNameId author = 0;
    if (name != kBeginning) {
      name.remove_prefix(kPrefix.size());
      std::from_chars(name.data(), name.data() + name.size(), author);
      if (!isWanted(author)) continue;
    }
    last = std::max(last, statement.integer(1));
  }
  return last;
}
}  // namespace

HistoryTail historyTailIn(Connection& connection) {
  return {newestTransactionIn(connection), newestAuthor(connection),
          hasMark(connection, kBeginning)};
}

void raiseAuthorMarks(Connection& connection, const HistoryTail& tail, HistoryNameId author) {
  if (!tail.keepsAuthors) raiseMark(connection, kBeginning, tail.newest.number);
  if (!tail.author || *tail.author == author) return;
  raiseMark(connection, std::string(kPrefix) + std::to_string(*tail.author), tail.newest.number);
}

std::int64_t lastNumberOf(Connection& connection, HistoryNameId author) {
  return lastNumberWhere(connection, [=](HistoryNameId one) { return one == author; });
}

std::int64_t lastNumberOfOthers(Connection& connection, HistoryNameId author) {
  return lastNumberWhere(connection, [=](HistoryNameId one) { return one != author; });
}

}  // namespace coredata
