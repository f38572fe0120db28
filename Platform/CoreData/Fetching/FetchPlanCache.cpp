#include "CoreData/Fetching/FetchPlanCache.h"

#include <algorithm>

#include "CoreData/Fetching/FetchError.h"
#include "CoreData/Fetching/FetchPlanBuilder.h"

namespace coredata {

using foundation::Ref;

namespace {

/// Forms beyond this number come from formats that are put together at run time; starting over is
/// cheaper than keeping count of what is used.
constexpr std::size_t kMaxForms = 1024;

bool sameProperties(const std::vector<FetchProperty>& a, const std::vector<FetchProperty>& b) {
  return std::ranges::equal(a, b, [](const FetchProperty& left, const FetchProperty& right) {
    if (left.name() != right.name()) return false;
    if (left.computed() == right.computed()) return true;
    return left.computed() != nullptr && right.computed() != nullptr &&
           left.computed()->expressionResultType() == right.computed()->expressionResultType() &&
           left.computed()->expression().description() ==
               right.computed()->expression().description();
  });
}

bool isDictionary(const NSFetchRequestBase& request) noexcept {
  return request.resultType() == NSFetchRequestResultType::dictionaries;
}

std::uint64_t predicateSerial(const NSFetchRequestBase& request) noexcept {
  return request.predicate() ? request.predicate()->shape().serial() : 0;
}

}  // namespace

const NSEntityDescription& FetchPlanCache::entityOf(const NSFetchRequestBase& request) const {
  if (request.entity() != nullptr && &request.entity()->managedObjectModel() == model_.get()) {
    return *request.entity();
  }
  const NSEntityDescription* entity = model_->entity(request.entityName());
  if (entity == nullptr) {
    throw fetchError(FetchErrorCode::unknownEntity,
                     "The model has no entity named \"" + request.entityName() + "\".");
  }
  return *entity;
}

bool FetchPlanCache::asksFor(const NSEntityDescription& entity,
                             const NSFetchRequestBase& request) noexcept {
  const NSEntityDescription* given = request.entity();
  const bool isOfThisModel =
      given != nullptr && &given->managedObjectModel() == &entity.managedObjectModel();
  return isOfThisModel ? given == &entity : request.entityName() == entity.name();
}

bool FetchPlanCache::matches(const Form& form, std::uint64_t predicate,
                             const NSFetchRequestBase& request) {
  return form.predicate == predicate && asksFor(*form.entity, request) &&
         form.isDictionary == coredata::isDictionary(request) &&
         form.isDistinct == request.returnsDistinctResults() &&
         form.sorts == request.sortDescriptors() &&
         (!form.isDictionary || (sameProperties(form.properties, request.propertiesToFetch()) &&
                                 sameProperties(form.grouping, request.propertiesToGroupBy())));
}

Ref<const FetchPlan> FetchPlanCache::plan(const NSFetchRequestBase& request) {
  const std::uint64_t predicate = predicateSerial(request);
  // Tells apart enough of the requests that have no predicate.
  const std::uint64_t hash = predicate * 64 + request.entityName().size() % 64;
  {
    const std::scoped_lock lock(mutex_);
    if (const auto found = forms_.find(hash); found != forms_.end()) {
      for (const Form& form : found->second) {
        if (matches(form, predicate, request)) return form.plan;
      }
    }
  }
  const NSEntityDescription& entity = entityOf(request);
  Ref<const FetchPlan> built = buildPlan(request, entity);
  const std::scoped_lock lock(mutex_);
  if (size_ >= kMaxForms) {
    forms_.clear();
    size_ = 0;
  }
  forms_[hash].push_back({&entity, predicate, coredata::isDictionary(request),
                          request.returnsDistinctResults(), request.sortDescriptors(),
                          request.propertiesToFetch(), request.propertiesToGroupBy(), built});
  ++size_;
  return built;
}

}  // namespace coredata
