#include "CoreData/SQLite/Query/QueryRunner.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "CoreData/Fetching/RowOrder.h"
#include "CoreData/SQLite/Query/DictionaryReader.h"
#include "CoreData/SQLite/Query/QueryBinding.h"
#include "CoreData/SQLite/Query/QueryCache.h"
#include "CoreData/SQLite/Query/SortPlace.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreCore.h"

namespace coredata {

using foundation::Ref;
using foundation::Value;

namespace {

/// One run of one query: found or prepared, bound, and reset at the end unless it keeps the state
/// that was read.
class QueryRun {
 public:
  QueryRun(Reading& reading, const FetchPlan& plan, QueryResult result, QueryOrder order,
           const QueryInput& input, const ObjectArguments& objects)
      : query_(
            QueryCache::of(reading.connection())
                .query(plan, {result, input.limit != 0, input.offset != 0, order,
                              listCodes(plan, input.arguments), absentArguments(input.arguments)})),
        statement_(*query_.statement),
        binding_(statement_, input, objects),
        use_(reading.connection(), statement_) {
    binding_.bind(query_.compiled);
  }

  [[nodiscard]] bool step() { return statement_.step(); }
  [[nodiscard]] Statement& statement() noexcept { return statement_; }

 private:
  const QueryCache::Query& query_;
  Statement& statement_;
  QueryBinding binding_;
  KeptStatementUse use_;
};

bool isCut(const QueryInput& input) noexcept { return input.limit != 0 || input.offset != 0; }

/// Whether a cut leaves so few rows that the store need not keep more of them while it sorts.
bool keepsFew(const QueryInput& input) noexcept {
  constexpr std::size_t kFew = 1000;
  return input.limit != 0 && input.limit < kFew && input.offset < kFew;
}

/// What the store does for the order of rows. Rows of which it gives no order are all read and
/// sorted here, which is faster: SQLite's own sorting of whole rows takes half as long again, and
/// four times as long when it is to keep the first few thousand. Where an index gives the sorts'
/// order, only ties are left, for which SQLite would make a sorter for each group.
QueryOrder orderInStore(QueryCache& cache, const FetchPlan& plan, const QueryInput& input) {
  if (plan.sorts().empty()) return isCut(input) ? QueryOrder::complete : QueryOrder::none;
  if (cache.indexGivesOrder(plan)) return QueryOrder::sorts;
  const bool sortsInStore = keepsFew(input) || !plan.sortsByOwnSlots();
  return sortsInStore ? QueryOrder::complete : QueryOrder::none;
}

std::size_t endOfCut(const QueryInput& input) noexcept {
  return input.limit == 0 ? std::numeric_limits<std::size_t>::max() : input.limit + input.offset;
}

/// Whether the order goes by what other objects have, and all rows are wanted: SQLite would carry
/// whole rows through its sorter. Their keys are sorted here instead, and the rows looked up.
bool sortsByOthers(const FetchPlan& plan, const QueryInput& input) noexcept {
  return !plan.sortsByOwnSlots() && !isCut(input);
}

/// Whether looking up the rows of a cut by their keys saves more than it costs, where the store
/// gives them in order: reading on to the end of the cut goes past rows that are not wanted, the
/// one behind it at least, and an index tells where they are in the order without them.
bool passesMoreThanItKeeps(const QueryInput& input) noexcept {
  return input.limit != 0 && input.limit <= input.offset + 1;
}

/// Reads on until the keys fill the cut, and further while they are even with the last of it: which
/// of these belong in it is known once all of them are.
std::vector<ObjectKey> readKeysInOrder(QueryRun& run, const FetchPlan& plan,
                                       const QueryInput& input) {
  const std::size_t wanted = endOfCut(input);
  SortPlace place(plan.sorts().size());
  std::vector<ObjectKey> keys;
  std::size_t firstEven = 0;
  const auto sortEven = [&] {
    std::sort(keys.begin() + static_cast<std::ptrdiff_t>(firstEven), keys.end());
    firstEven = keys.size();
  };
  while (run.step()) {
    if (place.move(run.statement())) sortEven();
    if (firstEven >= wanted) break;
    keys.push_back(run.statement().integer(0));
  }
  sortEven();
  return keys;
}

/// The first of the keys in order, the lowest of those that are even.
std::optional<ObjectKey> readFirstKey(QueryRun& run, const FetchPlan& plan) {
  SortPlace place(plan.sorts().size());
  std::optional<ObjectKey> first;
  while (run.step()) {
    if (place.move(run.statement()) && first) break;
    const ObjectKey key = run.statement().integer(0);
    first = std::min(first.value_or(key), key);
  }
  return first;
}

/// As `readKeysInOrder`, for rows.
std::vector<Ref<Row>> readInOrder(QueryRun& run, const RowColumns& columns, const FetchPlan& plan,
                                  const QueryInput& input) {
  const std::size_t wanted = endOfCut(input);
  std::vector<Ref<Row>> rows;
  RowBlocks blocks;
  while (run.step()) {
    const bool isFull = rows.size() >= wanted;
    Ref<Row> row = columns.read(run.statement(), &blocks);
    if (isFull && compareRows(*rows.back(), *row, plan.sorts()) != 0) break;
    rows.push_back(std::move(row));
  }
  sortTies(rows, plan.sorts());
  return rows;
}

std::vector<Ref<Row>> readAll(QueryRun& run, const RowColumns& columns) {
  std::vector<Ref<Row>> rows;
  RowBlocks blocks;
  while (run.step()) rows.push_back(columns.read(run.statement(), &blocks));
  return rows;
}

std::vector<ObjectKey> cut(std::vector<ObjectKey> keys, const QueryInput& input) {
  const std::size_t offset = std::min(input.offset, keys.size());
  keys.erase(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(offset));
  keys.resize(std::min(input.limit, keys.size()));
  return keys;
}

void cut(std::vector<Ref<Row>>& rows, std::size_t limit, std::size_t offset) {
  const std::size_t read = rows.size();
  const auto first = rows.begin() + static_cast<std::ptrdiff_t>(std::min(offset, rows.size()));
  rows.erase(rows.begin(), first);
  if (limit != 0 && limit < rows.size()) rows.resize(limit);
  // Few that are left must not keep the memory of the others.
  if (rows.size() < read / 2) {
    for (Ref<Row>& row : rows) row = row->copy();
  }
}

/// For a key that an index gave, of a row that is not there: both were read in one state of the
/// store.
[[noreturn]] void throwMissing(const NSEntityDescription& entity, ObjectKey key) {
  throw storeError(StoreErrorCode::damaged, "An index names " + entity.name() + " " +
                                                std::to_string(key) +
                                                ", which the store does not have.");
}

/// All keys in the plan's order, sorted here: SQLite's sorting of so few columns takes twice as
/// long.
std::vector<ObjectKey> readKeysAndSort(Reading& reading, const FetchPlan& plan,
                                       const QueryInput& input, const ObjectArguments& objects) {
  const Ref<const FetchPlan> shown = QueryCache::of(reading.connection()).showingSorts(plan);
  QueryRun run(reading, *shown, QueryResult::dictionaries, QueryOrder::none, input, objects);
  DictionaryRows rows(*shown);
  while (run.step()) appendRow(run.statement(), rows);
  std::vector<ObjectKey> keys;
  keys.reserve(rows.size());
  for (const std::uint32_t row : rows.order(shown->sorts())) keys.push_back(rows.reference(row, 0));
  return keys;
}

/// The order of a fetch's groups, complete: by the sorts, then by what they are grouped by. Empty
/// where nothing is grouped or sorted.
std::vector<SortTerm> orderOfGroups(const FetchPlan& plan) {
  if (plan.grouping().empty() || plan.sorts().empty()) return {};
  std::vector<SortTerm> order = plan.sorts();
  for (const ResolvedPath& path : plan.grouping()) {
    if (std::ranges::find(order, path, &SortTerm::path) == order.end()) order.push_back({path});
  }
  return order;
}

}  // namespace

std::vector<Ref<Row>> QueryRunner::rows(const FetchPlan& plan, std::span<const Value> arguments,
                                        std::size_t limit, std::size_t offset) {
  const QueryInput input{arguments, limit, offset};
  Reading reading = Reading::withAnswer(session_);
  const NSEntityDescription& entity = plan.entity();
  const QueryOrder order = orderInStore(QueryCache::of(reading.connection()), plan, input);
  const QueryInput uncut{arguments};
  if (order == QueryOrder::sorts && passesMoreThanItKeeps(input)) {
    QueryRun run(reading, plan, QueryResult::sortedKeys, order, uncut, objects_);
    std::vector<ObjectKey> found;
    reading.answer(run.statement(), [&] { found = readKeysInOrder(run, plan, input); });
    return rowsOf(entity, cut(std::move(found), input));
  }
  const bool readsEverything = plan.predicate() == nullptr && !isCut(input);
  const bool looksUpAll = sortsByOthers(plan, input);
  // What is taken from the cache, or added to it, belongs to one state.
  if (readsEverything || looksUpAll || reading.core().rows().holdsMostOf(entity)) reading.begin();
  if (looksUpAll || session_.holdsMostOf(entity)) {
    return rowsOf(entity, keys(plan, arguments, limit, offset));
  }
  const bool isComplete = order == QueryOrder::complete;
  const RowColumns& columns = reading.core().columns(entity);
  QueryRun run(reading, plan, QueryResult::rows, order, isComplete ? input : uncut, objects_);
  std::vector<Ref<Row>> rows;
  reading.readOnce([&] {
    rows =
        order == QueryOrder::sorts ? readInOrder(run, columns, plan, input) : readAll(run, columns);
  });
  if (isComplete) return rows;
  if (readsEverything) session_.keepAll(entity, rows);
  if (order == QueryOrder::none) sortRows(rows, plan.sorts());
  cut(rows, limit, offset);
  return rows;
}

Ref<Row> QueryRunner::firstRow(const FetchPlan& plan, std::span<const Value> arguments,
                               std::size_t offset) {
  if (offset == 0 && !plan.sorts().empty()) {
    Reading reading = Reading::withAnswer(session_);
    if (QueryCache::of(reading.connection()).indexGivesOrder(plan)) {
      const QueryInput input{arguments};
      QueryRun run(reading, plan, QueryResult::sortedKeys, QueryOrder::sorts, input, objects_);
      std::optional<ObjectKey> key;
      reading.answer(run.statement(), [&] { key = readFirstKey(run, plan); });
      if (!key) return nullptr;
      Ref<Row> row = session_.row(plan.entity(), *key);
      if (!row) throwMissing(plan.entity(), *key);
      return row;
    }
  }
  std::vector<Ref<Row>> found = rows(plan, arguments, 1, offset);
  return found.empty() ? nullptr : std::move(found.front());
}

std::vector<Ref<Row>> QueryRunner::rowsOf(const NSEntityDescription& entity,
                                          const std::vector<ObjectKey>& keys) {
  std::vector<Ref<Row>> rows;
  session_.rows(entity, keys, rows);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!rows[i]) throwMissing(entity, keys[i]);
  }
  return rows;
}

std::vector<ObjectKey> QueryRunner::keys(const FetchPlan& plan, std::span<const Value> arguments,
                                         std::size_t limit, std::size_t offset) {
  const QueryInput input{arguments, limit, offset};
  Reading reading(session_);
  const bool isSorted = isCut(input) || !plan.sorts().empty();
  const bool sortsHere =
      isSorted && !isCut(input) && !QueryCache::of(reading.connection()).indexGivesOrder(plan);
  if (sortsHere) return readKeysAndSort(reading, plan, input, objects_);
  QueryRun run(reading, plan, QueryResult::keys, isSorted ? QueryOrder::complete : QueryOrder::none,
               input, objects_);
  std::vector<ObjectKey> keys;
  while (run.step()) keys.push_back(run.statement().integer(0));
  if (!isSorted && !std::ranges::is_sorted(keys)) std::ranges::sort(keys);
  return keys;
}

std::int64_t QueryRunner::count(const FetchPlan& plan, std::span<const Value> arguments,
                                std::size_t limit) {
  Reading reading = Reading::withAnswer(session_);
  const QueryInput input{arguments, limit == 1 ? 0 : limit};
  std::int64_t count = 0;
  if (limit == 0) {
    QueryRun run(reading, plan, QueryResult::number, QueryOrder::none, input, objects_);
    reading.answer(run.statement(), [&] { count = run.step() ? run.statement().integer(0) : 0; });
    return count;
  }
  const QueryResult result = limit == 1 ? QueryResult::existence : QueryResult::ticks;
  QueryRun run(reading, plan, result, QueryOrder::none, input, objects_);
  reading.answer(run.statement(), [&] {
    for (count = 0; count < static_cast<std::int64_t>(limit) && run.step();) ++count;
  });
  return count;
}

DictionaryRows QueryRunner::dictionaries(const FetchPlan& plan, std::span<const Value> arguments,
                                         std::size_t limit, std::size_t offset) {
  const QueryInput input{arguments, limit, offset};
  Reading reading = Reading::withAnswer(session_);
  const std::vector<SortTerm> order = orderOfGroups(plan);
  const bool isSorted = order.empty() || isCut(input) ||
                        QueryCache::of(reading.connection()).indexGivesOrder(plan) ||
                        !DictionaryRows::canSort(plan, order);
  QueryRun run(reading, plan, QueryResult::dictionaries,
               isSorted ? QueryOrder::complete : QueryOrder::none, input, objects_);
  DictionaryRows rows(plan);
  reading.readOnce([&] {
    while (run.step()) appendRow(run.statement(), rows);
  });
  if (!isSorted) rows.sort(order);
  return rows;
}

}  // namespace coredata
