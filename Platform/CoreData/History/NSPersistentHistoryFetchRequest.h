#pragma once

#include <cstddef>
#include <optional>
#include <utility>

#include "Foundation/Predicate/NSPredicate.h"

namespace coredata {

/// Which transactions of the history are wanted. A plain value.
///
/// The predicate may ask for `author`, `contextName`, `timestamp`, `transactionNumber`, `bundleID`,
/// `processID` and `storeID` of a transaction; any other key is an error of the request that it is
/// part of. `author != "x"` holds for a transaction without an author, as everywhere.
class NSPersistentHistoryFetchRequest {
 public:
  [[nodiscard]] const std::optional<foundation::NSPredicate>& predicate() const noexcept {
    return predicate_;
  }
  void setPredicate(std::optional<foundation::NSPredicate> predicate) {
    predicate_ = std::move(predicate);
  }
  /// At most so many transactions, the oldest ones; 0 for all.
  [[nodiscard]] std::size_t fetchLimit() const noexcept { return limit_; }
  void setFetchLimit(std::size_t limit) noexcept { limit_ = limit; }

 private:
  std::optional<foundation::NSPredicate> predicate_;
  std::size_t limit_ = 0;
};

}  // namespace coredata
