#include "CoreData/SQLite/RowTransfer.h"

#include <algorithm>
#include <utility>

#include "CoreData/SQLite/RowColumns.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "Foundation/Predicate/Operand.h"
#include "Foundation/Values/URL.h"

namespace coredata {

using foundation::Operand;
using foundation::Value;

namespace {

ConnectionSettings scratchSettings() {
  ConnectionSettings settings;
  settings.attaches = true;
  settings.pragmas = {{"synchronous", "OFF"}};
  return settings;
}

/// What undoes a failed statement is kept in memory: if the process dies, nobody misses the file.
void keepJournalInMemory(Connection& connection) {
  connection.execute("PRAGMA journal_mode=MEMORY");
}

std::string table(std::string_view schema, const NSEntityDescription& entity) {
  return std::string(schema) + "." + quotedIdentifier(entity.name());
}

std::int64_t numberFrom(Connection& connection, const std::string& sql) {
  Statement statement(connection, sql);
  return statement.step() ? statement.integer(0) : 0;
}

/// One INSERT ... SELECT in the making.
class CopyStatement {
 public:
  explicit CopyStatement(const RowCopy& rows) : rows_(rows) {
    for (const CopiedColumn& column : rows.columns) add(column);
  }

  [[nodiscard]] std::string text() const {
    // Without an ORDER BY the old table is read in the order of keys, which is the order in which
    // the new one is best filled.
    return isPlain() ? "INSERT INTO " + table("main", *rows_.to) + " SELECT * FROM " +
                           table("source", *rows_.from)
                     : "INSERT INTO " + table("main", *rows_.to) + " SELECT s._id,s._version" +
                           columns_ + " FROM " + table("source", *rows_.from) + " s" + joins_;
  }
  void bind(Statement& statement) const {
    for (std::size_t i = 0; i < values_.size(); ++i) {
      statement.bind(static_cast<int>(i) + 1, Operand::of(*values_[i]));
    }
  }

 private:
  /// Whether the rows go over as they are.
  [[nodiscard]] bool isPlain() const {
    if (rows_.from->slots().size() != rows_.to->slots().size()) return false;
    for (std::size_t slot = 0; slot < rows_.columns.size(); ++slot) {
      const CopiedColumn& column = rows_.columns[slot];
      const bool isSame = column.source == CopiedColumn::Source::column && column.slot == slot &&
                          column.value.isNone() &&
                          slotKind(rows_.from->slots()[slot]) == slotKind(rows_.to->slots()[slot]);
      if (!isSame) return false;
    }
    return true;
  }

  void add(const CopiedColumn& column) {
    columns_ += ',';
    switch (column.source) {
      case CopiedColumn::Source::nothing:
        columns_ += column.value.isNone() ? "NULL" : parameter(column.value);
        break;
      case CopiedColumn::Source::column: {
        const std::string name =
            "s." + quotedIdentifier(rows_.from->slots()[column.slot].property->name());
        columns_ +=
            column.value.isNone() ? name : "coalesce(" + name + "," + parameter(column.value) + ")";
        break;
      }
      case CopiedColumn::Source::referrer:
        columns_ += join(column) + ".key";
        break;
    }
  }
  std::string parameter(const Value& value) {
    values_.push_back(&value);
    return "?";
  }
  /// Stores without indexes are joined as well: SQLite makes one for the time of the statement.
  std::string join(const CopiedColumn& column) {
    std::string alias = "r" + std::to_string(++joinCount_);
    const std::string name =
        quotedIdentifier(column.referring->slots()[column.slot].property->name());
    joins_ += " LEFT JOIN (SELECT " + name + " AS target,min(_id) AS key FROM " +
              table("source", *column.referring) + " WHERE " + name + " IS NOT NULL GROUP BY " +
              name + ") " + alias + " ON " + alias + ".target=s._id";
    return alias;
  }

  const RowCopy& rows_;
  std::string columns_;
  std::string joins_;
  std::vector<const Value*> values_;
  int joinCount_ = 0;
};

}  // namespace

RowTransfer::RowTransfer(const std::string& sourcePath, const std::string& destinationPath)
    : connection_(destinationPath, scratchSettings()) {
  keepJournalInMemory(connection_);
  const std::string uri = foundation::URL::fileURL(sourcePath).absoluteString() + "?mode=ro";
  Statement attach(connection_, "ATTACH ? AS source");
  attach.bindText(1, uri);
  attach.run();
  connection_.beginWriting();
}

std::int64_t RowTransfer::count(const NSEntityDescription& from) {
  return numberFrom(connection_, "SELECT count(*) FROM " + table("source", from));
}

std::int64_t RowTransfer::copy(const RowCopy& rows) {
  const CopyStatement text(rows);
  Statement statement(connection_, text.text());
  text.bind(statement);
  statement.run();
  return sqlite3_changes64(connection_.handle());
}

void RowTransfer::keepKeys(const NSEntityDescription& from, const NSEntityDescription& to) {
  std::int64_t highest = numberFrom(connection_, "SELECT max(_id) FROM " + table("source", from));
  {
    Statement mark(connection_, "SELECT value FROM source._mark WHERE name=?");
    mark.bindText(1, from.name());
    if (mark.step()) highest = std::max(highest, mark.integer(0));
  }
  if (highest > 0) raiseKeyMark(connection_, to.name(), highest);
}

void RowTransfer::keepHistoryPosition(const HistoryPosition& position) {
  if (position.number > 0) raiseHistoryMarks(connection_, position);
}

void RowTransfer::commit() { connection_.commit(); }

void redirectReferences(const std::string& path, const NSEntityDescription& entity, SlotIndex slot,
                        std::span<const MovedKey> moved) {
  Connection connection(path, scratchSettings());
  keepJournalInMemory(connection);
  connection.beginWriting();
  connection.execute("CREATE TEMP TABLE moved(old INTEGER PRIMARY KEY, new INTEGER NOT NULL)");
  {
    Statement insert(connection, "INSERT OR IGNORE INTO temp.moved VALUES(?, ?)");
    for (const MovedKey& key : moved) {
      insert.bindInteger(1, key.from);
      insert.bindInteger(2, key.to);
      insert.run();
    }
  }
  const std::string column = quotedIdentifier(entity.slots()[slot].property->name());
  std::string sql = "UPDATE main." + quotedIdentifier(entity.name()) + " SET " + column;
  sql += "=(SELECT new FROM temp.moved WHERE old=" + column + ") WHERE " + column + " IS NOT NULL";
  connection.execute(sql.c_str());
  connection.commit();
}

}  // namespace coredata
