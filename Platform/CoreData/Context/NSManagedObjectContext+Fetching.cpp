#include <algorithm>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/FetchedContent.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Context/PendingFetch.h"
#include "CoreData/Fetching/FetchError.h"
#include "CoreData/Fetching/FetchPlanCache.h"
#include "CoreData/SQLite/Query/QueryRunner.h"

namespace coredata {

using foundation::Ref;

void NSManagedObjectContext::requireClass(const NSFetchRequestBase& request,
                                          const EntityClass& entityClass) const {
  // A class serves one entity at most, and finding it compares no names.
  const auto& classes = state_->classes;
  const auto served =
      static_cast<std::size_t>(std::ranges::find(classes, &entityClass) - classes.begin());
  const auto entities = state_->coordinator->managedObjectModel().entities();
  if (served != classes.size() && entities[served]->name() == request.entityName()) return;
  const NSEntityDescription* asked = entity(request.entityName());
  // An unknown entity is the fetch's to report.
  if (asked == nullptr) return;
  throw fetchError(FetchErrorCode::unsuitableKey,
                   "Objects of " + asked->name() + " are not of the class " +
                       std::string(entityClass.className()) + " in this model.");
}

FetchedObjects NSManagedObjectContext::fetchObjects(const NSFetchRequestBase& request) {
  assertQueue();
  processPendingChanges();
  const Ref<const FetchPlan> plan = state_->plan(request);
  QueryRunner store(state_->session(), *state_);
  auto content = std::make_shared<FetchedContent>();
  content->registry = state_->registry;
  content->entity = &plan->entity();
  content->rowEpoch = state_->rowEpoch(plan->entity());
  content->batchSize = request.fetchBatchSize();
  if (request.includesPendingChanges() && state_->dirty(plan->entity()).any()) {
    PendingFetch(*state_, *plan, request, store).fill(*content);
  } else if (holdsKeys(request)) {
    content->keys =
        store.keys(*plan, request.arguments(), request.fetchLimit(), request.fetchOffset());
  } else {
    content->rows =
        store.rows(*plan, request.arguments(), request.fetchLimit(), request.fetchOffset());
  }
  return FetchedObjects(std::move(content));
}

Ref<NSManagedObject> NSManagedObjectContext::fetchFirstObject(const NSFetchRequestBase& request) {
  assertQueue();
  processPendingChanges();
  const Ref<const FetchPlan> plan = state_->plan(request);
  const NSEntityDescription& entity = plan->entity();
  const bool hasPending = request.includesPendingChanges() && state_->dirty(entity).any();
  if (hasPending || holdsKeys(request)) {
    NSFetchRequestBase forOne = request;
    forOne.setFetchLimit(1);
    const FetchedObjects found = fetchObjects(forOne);
    return found.empty() ? nullptr : found.at(0);
  }
  QueryRunner store(state_->session(), *state_);
  Ref<Row> row = store.firstRow(*plan, request.arguments(), request.fetchOffset());
  if (!row) return nullptr;
  const ObjectKey key = row->key();
  return state_->object(entity, key, std::move(row));
}

std::int64_t NSManagedObjectContext::count(const NSFetchRequestBase& request) {
  assertQueue();
  processPendingChanges();
  const Ref<const FetchPlan> plan = state_->plan(request);
  QueryRunner store(state_->session(), *state_);
  if (request.includesPendingChanges() && state_->dirty(plan->entity()).any()) {
    return PendingFetch(*state_, *plan, request, store).count();
  }
  const std::size_t limit =
      request.fetchLimit() == 0 ? 0 : request.fetchLimit() + request.fetchOffset();
  const std::int64_t found = store.count(*plan, request.arguments(), limit);
  return std::max<std::int64_t>(0, found - static_cast<std::int64_t>(request.fetchOffset()));
}

DictionaryRows NSManagedObjectContext::fetchDictionaries(const NSFetchRequestBase& request) {
  assertQueue();
  if (request.resultType() != NSFetchRequestResultType::dictionaries) {
    throw fetchError(FetchErrorCode::unsuitableKey,
                     "The request for " + request.entityName() + " does not ask for dictionaries.");
  }
  processPendingChanges();
  const Ref<const FetchPlan> plan = state_->plan(request);
  QueryRunner store(state_->session(), *state_);
  return store.dictionaries(*plan, request.arguments(), request.fetchLimit(),
                            request.fetchOffset());
}

std::vector<Ref<NSManagedObjectID>> NSManagedObjectContext::fetchObjectIDs(
    const NSFetchRequestBase& request) {
  const FetchedObjects objects = fetchObjects(request);
  std::vector<Ref<NSManagedObjectID>> result;
  result.reserve(objects.size());
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const auto pinned = objects.content_->pinned.find(i);
    const bool isPinned = pinned != objects.content_->pinned.end();
    result.push_back(isPinned
                         ? pinned->second->objectID()
                         : state_->identifier(*objects.content_->entity, objects.content_->key(i)));
  }
  return result;
}

}  // namespace coredata
