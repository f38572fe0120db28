#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "CoreData/Fetching/RequestForm.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

/// Finds the plan of a request, resolving it the first time a request of its form is run.
///
/// Threading: use it on any thread; one lock, held for a look-up.
class FetchPlanCache {
 public:
  explicit FetchPlanCache(foundation::Ref<const NSManagedObjectModel> model)
      : model_(std::move(model)) {}

  /// The request's form with its plan. Throws `foundation::Error` for an unknown entity or key and
  /// for a request that makes no sense.
  [[nodiscard]] std::shared_ptr<const RequestForm> form(const NSFetchRequestBase& request);

 private:
  [[nodiscard]] const NSEntityDescription& entityOf(const NSFetchRequestBase& request) const;

  foundation::Ref<const NSManagedObjectModel> model_;
  std::mutex mutex_;
  foundation::HashMap<std::uint64_t, std::vector<std::shared_ptr<const RequestForm>>> forms_;
  std::size_t size_ = 0;
};

}  // namespace coredata
