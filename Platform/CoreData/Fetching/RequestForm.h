#pragma once

#include <cstdint>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/NSFetchRequest.h"

namespace coredata {

/// What makes requests alike, and their plan. Requests of one form differ only in values: the
/// predicate's arguments, limit, offset and batch size.
struct RequestForm {
  /// The serial of the request's shape of predicate, 0 without one.
  [[nodiscard]] static std::uint64_t predicateOf(const NSFetchRequestBase& request) noexcept {
    return request.predicate() ? request.predicate()->shape().serial() : 0;
  }
  [[nodiscard]] static bool isDictionaries(const NSFetchRequestBase& request) noexcept {
    return request.resultType() == NSFetchRequestResultType::dictionaries;
  }

  /// Whether the request is of this form; `itsPredicate` is its `predicateOf`.
  [[nodiscard]] bool matches(const NSFetchRequestBase& request, std::uint64_t itsPredicate) const;

  const NSEntityDescription* entity;
  std::uint64_t predicate;
  bool givesDictionaries;
  bool isDistinct;
  foundation::SortDescriptors sorts;
  std::vector<FetchProperty> properties;
  std::vector<FetchProperty> grouping;
  foundation::Ref<const FetchPlan> plan;

 private:
  /// Whether the request asks for this form's entity, which it need not be looked up for.
  [[nodiscard]] bool hasEntityOf(const NSFetchRequestBase& request) const noexcept;
};

}  // namespace coredata
