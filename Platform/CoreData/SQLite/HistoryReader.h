#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <variant>

#include "CoreData/SQLite/HistoryRecords.h"
#include "CoreData/SQLite/ReadSession.h"
#include "Foundation/Values/FunctionRef.h"

namespace coredata {

/// Where to look for transactions. Whatever is known of those that are wanted makes the look
/// shorter.
struct HistoryBounds {
  /// The number is higher than the first and not higher than the second.
  std::int64_t afterNumber = 0;
  std::int64_t lastNumber = std::numeric_limits<std::int64_t>::max();
  /// So is the stamp, in seconds since the reference date.
  double afterStamp = -std::numeric_limits<double>::infinity();
  double lastStamp = std::numeric_limits<double>::infinity();

  /// The author is this one, or is not.
  struct Author {
    bool isWanted;
    std::optional<std::string> name;
  };
  std::optional<Author> author;
};

/// Reads the record of what was saved. Each call sees one state of the store.
///
/// Transactions and changes are two ordered walks that are put together afterwards: a join, or a
/// query for each transaction, takes twice as long.
///
/// Threading: the session's.
class HistoryReader {
 public:
  /// Whether a transaction within the bounds is one of those that are wanted.
  using Filter =
      foundation::FunctionRef<bool(const HistoryTransactionRecord&, const HistoryRecords&)>;

  /// The session must outlive the reader.
  explicit HistoryReader(ReadSession& session) noexcept : session_(session) {}

  /// The transactions that are wanted, at most `limit` of the oldest (0 is no limit), without their
  /// changes. Throws `foundation::Error`, also what the filter throws.
  [[nodiscard]] HistoryRecords transactions(const HistoryBounds& bounds, std::size_t limit,
                                            Filter isWanted);
  /// The same with their changes. Those of entities that the model does not have are left out.
  [[nodiscard]] HistoryRecords transactionsAndChanges(const HistoryBounds& bounds,
                                                      std::size_t limit, Filter isWanted);

 private:
  ReadSession& session_;
};

/// The number of the last transaction whose stamp is not later than `stamp` (or is earlier, where
/// it is to be), or one below that of the first transaction. Stamps rise with numbers, so a few
/// numbers are looked at and no index is needed.
[[nodiscard]] std::int64_t lastNumberUpTo(Connection& connection, double stamp);
[[nodiscard]] std::int64_t lastNumberBefore(Connection& connection, double stamp);

}  // namespace coredata
