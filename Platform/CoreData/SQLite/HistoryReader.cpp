#include "CoreData/SQLite/HistoryReader.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "CoreData/SQLite/AuthorMarks.h"
#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/HistoryNames.h"
#include "CoreData/SQLite/StoreCore.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

namespace {

/// A transaction whose number and stamp are looked at.
struct Mark {
  std::int64_t number;
  double stamp;
};

std::optional<Mark> firstFrom(Connection& connection, std::int64_t number) {
  Statement& statement = connection.statement({StatementKind::firstTransactionFrom}, [] {
    return "SELECT number, timestamp FROM _transaction WHERE number>=? ORDER BY number LIMIT 1";
  });
  const StatementUse use(statement);
  statement.bindInteger(1, number);
  if (!statement.step()) return std::nullopt;
  return Mark{statement.integer(0), statement.real(1)};
}

/// The last number of the transactions whose stamps are early; one below the first if none is.
std::int64_t newestNumber(Connection& connection, foundation::FunctionRef<bool(double)> isEarly) {
  const std::optional<Mark> first = firstFrom(connection, 0);
  if (!first) return 0;
  // Every transaction below `low` is early, and none from `high` on.
  std::int64_t low = first->number;
  std::int64_t high = historyTailIn(connection).newest.number + 1;
  while (low < high) {
    const std::int64_t middle = low + (high - low) / 2;
    const std::optional<Mark> found = firstFrom(connection, middle);
    if (found && isEarly(found->stamp)) {
      low = found->number + 1;
    } else {
      high = middle;
    }
  }
  return low - 1;
}

/// What a walk through the transactions asks of their authors.
enum class AuthorTest : std::uint8_t { none, wanted, unwanted };

std::string transactionsText(AuthorTest test) {
  std::string text =
      "SELECT number, timestamp, author, contextName, bundle, process FROM _transaction "
      "WHERE number>?1 AND number<=?2";
  if (test == AuthorTest::wanted) text += " AND author IS ?3";
  if (test == AuthorTest::unwanted) text += " AND author IS NOT ?3";
  return text + " ORDER BY number";
}

/// The bounds as numbers.
struct Walk {
  std::int64_t after;
  std::int64_t last;
  AuthorTest test = AuthorTest::none;
  HistoryNameId author = 0;

  [[nodiscard]] bool isEmpty() const noexcept { return after >= last; }
};

Walk walkFor(Connection& connection, const HistoryBounds& bounds) {
  Walk walk{bounds.afterNumber, bounds.lastNumber};
  if (bounds.author) {
    const auto& [isWanted, name] = *bounds.author;
    walk.author = name ? findName(connection, *name) : 0;
    // A name that nobody ever had is everybody's not to have.
    if (name && walk.author == 0) {
      if (isWanted) walk.last = walk.after;
    } else {
      walk.test = isWanted ? AuthorTest::wanted : AuthorTest::unwanted;
      walk.last = std::min(walk.last, isWanted ? lastNumberOf(connection, walk.author)
                                               : lastNumberOfOthers(connection, walk.author));
    }
  }
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (!walk.isEmpty() && bounds.afterStamp != -kInfinity) {
    // Mostly there is nothing new, which the last one alone tells.
    const std::optional<Mark> end = firstFrom(connection, walk.last);
    walk.after = end && end->stamp <= bounds.afterStamp
                     ? walk.last
                     : std::max(walk.after, lastNumberUpTo(connection, bounds.afterStamp));
  }
  if (!walk.isEmpty() && bounds.lastStamp != kInfinity) {
    walk.last = std::min(walk.last, lastNumberUpTo(connection, bounds.lastStamp));
  }
  return walk;
}

/// Fills records from the two tables, in one state of the store.
class Filling {
 public:
  Filling(Connection& connection, const NSManagedObjectModel& model)
      : connection_(connection), model_(model) {}

  void readTransactions(const HistoryBounds& bounds, std::size_t limit,
                        HistoryReader::Filter isWanted);
  void readChanges();
  [[nodiscard]] HistoryRecords take() noexcept { return std::move(records_); }

 private:
  /// Consecutive transactions that are read in one walk over the changes.
  using Run = std::span<HistoryTransactionRecord>;
  void readChanges(Run run);
  [[nodiscard]] HistoryName name(HistoryNameId id);
  /// None for one that the model does not have.
  [[nodiscard]] std::optional<EntityIndex> entity(HistoryNameId id);

  Connection& connection_;
  const NSManagedObjectModel& model_;
  HistoryRecords records_;
  foundation::HashMap<HistoryNameId, HistoryName> names_;
  foundation::HashMap<HistoryNameId, std::optional<EntityIndex>> entities_;
  HistoryNameId lastId_ = 0;
  std::optional<EntityIndex> lastEntity_;
};

void Filling::readTransactions(const HistoryBounds& bounds, std::size_t limit,
                               HistoryReader::Filter isWanted) {
  const Walk walk = walkFor(connection_, bounds);
  if (walk.isEmpty()) return;
  Statement& statement =
      connection_.statement({StatementKind::transactions, static_cast<std::uint32_t>(walk.test)},
                            [&] { return transactionsText(walk.test); });
  const StatementUse use(statement);
  statement.bindInteger(1, walk.after);
  statement.bindInteger(2, walk.last);
  if (walk.test != AuthorTest::none) {
    if (walk.author == 0) {
      statement.bindNull(3);
    } else {
      statement.bindInteger(3, walk.author);
    }
  }
  while (statement.step()) {
    HistoryTransactionRecord record;
    record.number = statement.integer(0);
    record.timestamp = statement.real(1);
    record.author = name(statement.integer(2));
    record.contextName = name(statement.integer(3));
    record.bundle = name(statement.integer(4));
    record.process = statement.integer(5);
    if (!isWanted(record, records_)) continue;
    records_.transactions.push_back(record);
    if (records_.transactions.size() == limit) break;
  }
}

void Filling::readChanges() {
  // So many transactions that are not wanted are read past rather than jumped over.
  constexpr std::int64_t kWorthReadingPast = 3;
  const Run all(records_.transactions);
  std::size_t first = 0;
  while (first < all.size()) {
    std::size_t end = first + 1;
    while (end < all.size() && all[end].number - all[end - 1].number <= kWorthReadingPast) ++end;
    readChanges(all.subspan(first, end - first));
    first = end;
  }
}

void Filling::readChanges(Run run) {
  Statement& statement = connection_.statement({StatementKind::changes}, [] {
    return "SELECT \"transaction\", entity, key, kind, changed FROM _change "
           "WHERE \"transaction\">=?1 AND \"transaction\"<=?2 ORDER BY \"transaction\", sequence";
  });
  const StatementUse use(statement);
  statement.bindInteger(1, run.front().number);
  statement.bindInteger(2, run.back().number);
  auto owner = run.begin();
  owner->firstChange = records_.changes.size();
  // As they are numbered in the store: reading a column takes longer.
  std::uint32_t sequence = 0;
  while (statement.step()) {
    const std::int64_t number = statement.integer(0);
    while (owner->number < number) {
      ++owner;
      owner->firstChange = records_.changes.size();
      sequence = 0;
    }
    if (owner->number != number) continue;
    ++sequence;
    const std::optional<EntityIndex> changed = entity(statement.integer(1));
    if (!changed) continue;
    records_.changes.push_back({.key = statement.integer(2),
                                .changed = static_cast<SlotMask>(statement.integer(4)),
                                .sequence = sequence,
                                .entity = *changed,
                                .kind = static_cast<RowChangeKind>(statement.integer(3))});
    ++owner->changeCount;
  }
}

HistoryName Filling::name(HistoryNameId id) {
  if (id == 0) return 0;
  const auto [found, isNew] = names_.emplace(id, static_cast<HistoryName>(records_.names.size()));
  if (isNew) records_.names.emplace_back(nameText(connection_, id));
  return found->second;
}

std::optional<EntityIndex> Filling::entity(HistoryNameId id) {
  // Mostly the same again.
  if (id == lastId_) return lastEntity_;
  const auto [found, isNew] = entities_.emplace(id, std::nullopt);
  if (isNew) {
    if (const auto* known = model_.entity(nameText(connection_, id)))
      found->second = known->index();
  }
  lastId_ = id;
  lastEntity_ = found->second;
  return lastEntity_;
}

}  // namespace

std::int64_t lastNumberUpTo(Connection& connection, double stamp) {
  // Nothing is later than a stamp that is no number, either.
  return newestNumber(connection, [=](double one) { return !(one > stamp); });
}

std::int64_t lastNumberBefore(Connection& connection, double stamp) {
  return newestNumber(connection, [=](double one) { return one < stamp; });
}

HistoryRecords HistoryReader::transactions(const HistoryBounds& bounds, std::size_t limit,
                                           Filter isWanted) {
  const Reading reading(session_);
  Filling filling(reading.connection(), reading.core().model());
  filling.readTransactions(bounds, limit, isWanted);
  return filling.take();
}

HistoryRecords HistoryReader::transactionsAndChanges(const HistoryBounds& bounds, std::size_t limit,
                                                     Filter isWanted) {
  const Reading reading(session_);
  Filling filling(reading.connection(), reading.core().model());
  filling.readTransactions(bounds, limit, isWanted);
  filling.readChanges();
  return filling.take();
}

}  // namespace coredata
