#include "Tests/CoreData/SQLite/HistoryFixture.h"

namespace shelf {

using coredata::HistoryBounds;
using coredata::HistoryReader;
using coredata::HistoryRecords;

void writeHistory(const StoreFile& file, const WrittenHistory& history) {
  file.open()->close();
  query(file.path(), "INSERT OR IGNORE INTO _name(text) VALUES('" + history.author +
                         "'), ('Book'), ('Pamphlet')");
  const std::string first = std::to_string(history.first);
  const std::string last = std::to_string(history.first + history.transactions - 1);
  query(file.path(), "WITH RECURSIVE n(i) AS (SELECT " + first +
                         " UNION ALL SELECT i+1 FROM n WHERE i<" + last +
                         ") INSERT INTO _transaction(number, timestamp, author, process) "
                         "SELECT i, i, (SELECT id FROM _name WHERE text='" +
                         history.author + "'), 1 FROM n");
  query(file.path(), "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<" +
                         std::to_string(history.changesOfEach) +
                         ") INSERT INTO _change SELECT number, i, (SELECT id FROM _name WHERE "
                         "text='Book'), number, 0, NULL FROM _transaction, n WHERE number>=" +
                         first);
  if (history.hasMarks) query(file.path(), "INSERT OR IGNORE INTO _mark VALUES('_author', 0)");
}

std::string historyOf(const HistoryRecords& records) {
  std::string text;
  for (const auto& transaction : records.transactions) {
    if (!text.empty()) text += ' ';
    text += std::to_string(transaction.number) + ":" + std::to_string(transaction.changeCount);
  }
  return text;
}

HistoryRecords readHistory(coredata::ReadSession& session, const HistoryBounds& bounds) {
  return HistoryReader(session).transactionsAndChanges(
      bounds, 0, [](const auto& /*transaction*/, const auto& /*records*/) { return true; });
}

HistoryBounds authored(std::optional<std::string> name) {
  HistoryBounds bounds;
  bounds.author = {true, std::move(name)};
  return bounds;
}

HistoryBounds notAuthored(std::optional<std::string> name) {
  HistoryBounds bounds;
  bounds.author = {false, std::move(name)};
  return bounds;
}

}  // namespace shelf
