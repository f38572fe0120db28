#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/Rows/ObjectKey.h"
#include "CoreData/SQLite/AuthorMarks.h"

namespace coredata {

class Connection;

/// What the next key of each entity and the newest transaction are, so that a save need not ask the
/// store each time. Known only as long as nobody but the connection that asked has written.
///
/// Threading: inside the store's writer gate.
class StoreCounters {
 public:
  explicit StoreCounters(const NSManagedObjectModel& model) : next_(model.entities().size()) {}

  /// Forgets everything unless `connection`, inside its write transaction, is the one that knew it
  /// and has seen no commit of another since.
  void beginUsing(const Connection& connection) noexcept;
  void forget() noexcept;

  /// The first of `count` keys that are given out now. Throws `StoreErrorCode::keysExhausted`.
  [[nodiscard]] ObjectKey reserve(Connection& connection, const NSEntityDescription& entity,
                                  std::size_t count);
  [[nodiscard]] const HistoryTail& historyTail(Connection& connection);
  void setHistoryTail(const HistoryTail& tail) noexcept { tail_ = tail; }

 private:
  /// By entity; 0 is unknown.
  std::vector<ObjectKey> next_;
  std::optional<HistoryTail> tail_;
  std::uint64_t connection_ = 0;
  std::int64_t dataVersion_ = 0;
};

}  // namespace coredata
