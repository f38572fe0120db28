#include "CoreData/SQLite/HistoryWriter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowFeed.h"
#include "Foundation/Internal/ProcessIdentifier.h"

namespace coredata {

using foundation::Date;

namespace {
/// More names than this are looked up instead of remembered.
constexpr std::size_t kMaxRememberedNames = 1000;

void bindName(Statement& statement, int parameter, std::int64_t id) {
  if (id == 0) {
    statement.bindNull(parameter);
  } else {
    statement.bindInteger(parameter, id);
  }
}

constexpr char kChangeColumns[] = "\"transaction\", sequence, entity, key, kind, changed";

/// The changes of one transaction, in the order of the table's columns.
class ChangeFeed final : public RowFeed {
 public:
  static constexpr int kColumns = 6;

  /// `entityNames` are the numbers of the entities' names.
  ChangeFeed(std::int64_t transaction, std::span<const RowChange> changes,
             std::span<const std::int64_t> entityNames) noexcept
      : transaction_(transaction), changes_(changes), entityNames_(entityNames) {}

  bool advance() noexcept override { return sequence_++ < changes_.size(); }

  void give(int column, sqlite3_context* context) const noexcept override {
    const RowChange& change = changes_[sequence_ - 1];
    switch (column) {
      case 0:
        return sqlite3_result_int64(context, transaction_);
      case 1:
        return sqlite3_result_int64(context, static_cast<std::int64_t>(sequence_));
      case 2:
        return sqlite3_result_int64(context, entityNames_[change.entity->index()]);
      case 3:
        return sqlite3_result_int64(context, change.key);
      case 4:
        return sqlite3_result_int64(context, static_cast<std::int64_t>(change.kind));
      default:
        if (change.kind != RowChangeKind::update) return;
        return sqlite3_result_int64(context, static_cast<std::int64_t>(change.changed));
    }
  }

 private:
  std::int64_t transaction_;
  std::span<const RowChange> changes_;
  std::span<const std::int64_t> entityNames_;
  std::size_t sequence_ = 0;
};
}  // namespace

Date nextTimestamp(Date newest) noexcept {
  constexpr double kStep = 1e-6;
  const double last = newest.timeIntervalSinceReferenceDate();
  // Far from the reference date a microsecond is less than the distance to the next number.
  const double atLeast =
      std::max(last + kStep, std::nextafter(last, std::numeric_limits<double>::infinity()));
  return Date::fromReference(std::max(Date::now().timeIntervalSinceReferenceDate(), atLeast));
}

HistoryNameId HistoryWriter::idOf(Connection& connection, std::string_view text) {
  if (const auto found = names_.find(text); found != names_.end()) return found->second;
  HistoryNameId id = findName(connection, text);
  if (id == 0) {
    id = insertName(connection, text);
    added_.emplace_back(text);
  }
  if (names_.size() < kMaxRememberedNames) names_.emplace(text, id);
  return id;
}

HistoryNameId HistoryWriter::idOf(Connection& connection, const NSEntityDescription& entity) {
  HistoryNameId& id = entityNames_[entity.index()];
  if (id == 0) id = idOf(connection, entity.name());
  return id;
}

HistoryNameId HistoryWriter::write(Connection& connection, const HistoryPosition& position,
                                   const Origin& origin, std::span<const RowChange> changes) {
  const HistoryNameId author = origin.author ? idOf(connection, *origin.author) : 0;
  const HistoryNameId context = origin.contextName ? idOf(connection, *origin.contextName) : 0;
  const HistoryNameId bundle = origin.bundle.empty() ? 0 : idOf(connection, origin.bundle);
  Statement& transaction = connection.statement({StatementKind::insertTransaction}, [] {
    return "INSERT INTO _transaction(number, timestamp, author, contextName, bundle, process) "
           "VALUES(?, ?, ?, ?, ?, ?)";
  });
  transaction.bindInteger(1, position.number);
  transaction.bindReal(2, position.timestamp.timeIntervalSinceReferenceDate());
  bindName(transaction, 3, author);
  bindName(transaction, 4, context);
  bindName(transaction, 5, bundle);
  transaction.bindInteger(6, foundation::processIdentifier());
  transaction.run();

  if (changes.size() >= RowFeed::kWorthwhile) {
    feedChanges(connection, position.number, changes);
  } else {
    insertChanges(connection, position.number, changes);
  }
  return author;
}

void HistoryWriter::feedChanges(Connection& connection, std::int64_t transaction,
                                std::span<const RowChange> changes) {
  for (const RowChange& change : changes) static_cast<void>(idOf(connection, *change.entity));
  Statement& statement = connection.statement({StatementKind::insertChanges}, [] {
    return RowFeed::insertText("_change", kChangeColumns, ChangeFeed::kColumns);
  });
  ChangeFeed feed(transaction, changes, entityNames_);
  insertFrom(feed, statement);
}

void HistoryWriter::insertChanges(Connection& connection, std::int64_t transaction,
                                  std::span<const RowChange> changes) {
  Statement& insert = connection.statement({StatementKind::insertChange}, [] {
    return std::string("INSERT INTO _change(") + kChangeColumns + ") VALUES(?, ?, ?, ?, ?, ?)";
  });
  insert.bindInteger(1, transaction);
  std::int64_t sequence = 0;
  for (const RowChange& change : changes) {
    insert.bindInteger(2, ++sequence);
    insert.bindInteger(3, idOf(connection, *change.entity));
    insert.bindInteger(4, change.key);
    insert.bindInteger(5, static_cast<std::int64_t>(change.kind));
    if (change.kind == RowChangeKind::update) {
      insert.bindInteger(6, static_cast<std::int64_t>(change.changed));
    } else {
      insert.bindNull(6);
    }
    insert.run();
  }
}

void HistoryWriter::rolledBack() noexcept {
  if (added_.empty()) return;
  for (const std::string& name : added_) names_.erase(name);
  std::ranges::fill(entityNames_, 0);
  added_.clear();
}

}  // namespace coredata
