#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

/// Finds the plan of a request, resolving it the first time a request of its form is run. Requests
/// of one form differ only in values: the predicate's arguments, limit, offset and batch size.
///
/// Threading: use it on any thread; one lock, held for a look-up.
class FetchPlanCache {
 public:
  explicit FetchPlanCache(foundation::Ref<const NSManagedObjectModel> model)
      : model_(std::move(model)) {}

  /// Throws `foundation::Error` for an unknown entity or key and for a request that makes no sense.
  [[nodiscard]] foundation::Ref<const FetchPlan> plan(const NSFetchRequestBase& request);

 private:
  /// What makes two requests alike.
  struct Form {
    const NSEntityDescription* entity;
    std::uint64_t predicate;
    bool isDictionary;
    bool isDistinct;
    foundation::SortDescriptors sorts;
    std::vector<FetchProperty> properties;
    std::vector<FetchProperty> grouping;
    foundation::Ref<const FetchPlan> plan;
  };
  [[nodiscard]] const NSEntityDescription& entityOf(const NSFetchRequestBase& request) const;
  /// Whether the request asks for that entity, which it need not be looked up for.
  [[nodiscard]] static bool asksFor(const NSEntityDescription& entity,
                                    const NSFetchRequestBase& request) noexcept;
  [[nodiscard]] static bool matches(const Form& form, std::uint64_t predicate,
                                    const NSFetchRequestBase& request);

  foundation::Ref<const NSManagedObjectModel> model_;
  std::mutex mutex_;
  foundation::HashMap<std::uint64_t, std::vector<Form>> forms_;
  std::size_t size_ = 0;
};

}  // namespace coredata
