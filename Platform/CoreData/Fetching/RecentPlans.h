#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "CoreData/Fetching/FetchPlanCache.h"

namespace coredata {

/// The plans of what one context asked lately, which are found without a lock and without a hash:
/// an application asks the same few questions again and again.
///
/// Threading: its owner's.
class RecentPlans {
 public:
  explicit RecentPlans(FetchPlanCache& all) : all_(all) {}

  /// Throws what `FetchPlanCache::form` throws.
  [[nodiscard]] foundation::Ref<const FetchPlan> plan(const NSFetchRequestBase& request) {
    const std::uint64_t predicate = RequestForm::predicateOf(request);
    // Shapes are numbered one after the other, so that the questions of one caller lie apart.
    std::shared_ptr<const RequestForm>& recent = recent_[predicate % recent_.size()];
    if (!recent || !recent->matches(request, predicate)) recent = all_.form(request);
    return recent->plan;
  }

 private:
  FetchPlanCache& all_;
  std::array<std::shared_ptr<const RequestForm>, 16> recent_;
};

}  // namespace coredata
