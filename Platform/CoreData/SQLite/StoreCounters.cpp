#include "CoreData/SQLite/StoreCounters.h"

#include <algorithm>
#include <limits>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowAccess.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreMarks.h"

namespace coredata {

void StoreCounters::beginUsing(const Connection& connection) noexcept {
  if (connection.serial() == connection_ && connection.seenDataVersion == dataVersion_) return;
  forget();
  connection_ = connection.serial();
  dataVersion_ = connection.seenDataVersion;
}

void StoreCounters::forget() noexcept {
  std::ranges::fill(next_, 0);
  tail_.reset();
  connection_ = 0;
}

ObjectKey StoreCounters::reserve(Connection& connection, const NSEntityDescription& entity,
                                 std::size_t count) {
  constexpr ObjectKey kLast = std::numeric_limits<ObjectKey>::max();
  ObjectKey& next = next_[entity.index()];
  if (next == 0) {
    const ObjectKey used =
        std::max(highestKey(connection, entity), keyMark(connection, entity.name()));
    next = used == kLast ? 0 : used + 1;
  }
  if (next <= 0 || static_cast<std::uint64_t>(kLast - next) < count) {
    next = 0;
    throw storeError(StoreErrorCode::keysExhausted,
                     "There are no keys left for another " + entity.name() + ".");
  }
  const ObjectKey first = next;
  next += static_cast<ObjectKey>(count);
  return first;
}

const HistoryTail& StoreCounters::historyTail(Connection& connection) {
  if (!tail_) tail_ = historyTailIn(connection);
  return *tail_;
}

}  // namespace coredata
