#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "CoreData/Fetching/NSFetchRequest.h"

namespace coredata {

/// What a batch delete tells about its work.
enum class NSBatchDeleteRequestResultType : std::uint8_t {
  statusOnly,  ///< nothing but that it did not fail
  count,       ///< how many objects it deleted
};

/// Deletes in the store what a fetch request finds there, without making objects. Of the fetch
/// request the entity, the predicate, the order, the limit and the offset count.
class NSBatchDeleteRequest {
 public:
  explicit NSBatchDeleteRequest(NSFetchRequestBase fetchRequest)
      : fetchRequest_(std::move(fetchRequest)) {}

  [[nodiscard]] const NSFetchRequestBase& fetchRequest() const noexcept { return fetchRequest_; }
  [[nodiscard]] NSBatchDeleteRequestResultType resultType() const noexcept { return resultType_; }
  void setResultType(NSBatchDeleteRequestResultType type) noexcept { resultType_ = type; }

 private:
  NSFetchRequestBase fetchRequest_;
  NSBatchDeleteRequestResultType resultType_ = NSBatchDeleteRequestResultType::statusOnly;
};

struct NSBatchDeleteResult {
  /// How many objects of the requested entity were deleted, those included that a delete rule took
  /// along, when the request asks for it. Objects of other entities that went with them are not
  /// counted.
  std::optional<std::int64_t> count;
};

}  // namespace coredata
