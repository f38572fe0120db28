#include "CoreData/Fetching/FetchPlanCache.h"

#include "CoreData/Fetching/FetchError.h"
#include "CoreData/Fetching/FetchPlanBuilder.h"

namespace coredata {

namespace {

/// Forms beyond this number come from formats that are put together at run time; starting over is
/// cheaper than keeping count of what is used.
constexpr std::size_t kMaxForms = 1024;

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

std::shared_ptr<const RequestForm> FetchPlanCache::form(const NSFetchRequestBase& request) {
  const std::uint64_t predicate = RequestForm::predicateOf(request);
  // Tells apart enough of the requests that have no predicate.
  const std::uint64_t hash = predicate * 64 + request.entityName().size() % 64;
  {
    const std::scoped_lock lock(mutex_);
    if (const auto found = forms_.find(hash); found != forms_.end()) {
      for (const auto& form : found->second) {
        if (form->matches(request, predicate)) return form;
      }
    }
  }
  const NSEntityDescription& entity = entityOf(request);
  auto form = std::make_shared<const RequestForm>(RequestForm{
      &entity, predicate, RequestForm::isDictionaries(request), request.returnsDistinctResults(),
      request.sortDescriptors(), request.propertiesToFetch(), request.propertiesToGroupBy(),
      buildPlan(request, entity)});
  const std::scoped_lock lock(mutex_);
  if (size_ >= kMaxForms) {
    forms_.clear();
    size_ = 0;
  }
  forms_[hash].push_back(form);
  ++size_;
  return form;
}

}  // namespace coredata
