#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/SQLite/HistoryReader.h"
#include "Foundation/Predicate/NSPredicate.h"

namespace coredata {

/// A predicate on transactions, made ready for one request. What it says of stamps, numbers and
/// authors shortens the way through the history; whether a transaction is wanted is then decided by
/// evaluating it whole, so that the answer is the same as in memory. One that asks for an author
/// and nothing else, as programs do that look for others' changes, is answered by the way alone.
class HistoryPredicate {
 public:
  /// The keys that a predicate may name.
  enum class Key : std::uint8_t {
    author,
    bundleID,
    contextName,
    processID,
    storeID,
    timestamp,
    transactionNumber,
  };
  [[nodiscard]] static std::optional<Key> keyNamed(std::string_view name) noexcept;

  /// Throws `HistoryErrorCode::unknownKey`. Without a predicate every transaction is wanted.
  HistoryPredicate(std::optional<foundation::NSPredicate> predicate, std::string storeID);

  /// Makes the bounds narrower where the predicate allows it. True when they say all that it says:
  /// then no transaction within them has to be looked at.
  [[nodiscard]] bool narrow(HistoryBounds& bounds) const;
  [[nodiscard]] bool holds(const HistoryTransactionRecord& transaction,
                           const HistoryRecords& records) const;

 private:
  class Reader;

  void resolve(const foundation::PredicateNode& node);
  void resolve(const foundation::ExpressionNode& side);
  bool narrow(HistoryBounds& bounds, const foundation::PredicateNode& node) const;

  std::optional<foundation::NSPredicate> predicate_;
  std::string storeID_;
  /// By the key path's site.
  std::vector<Key> keys_;
};

}  // namespace coredata
