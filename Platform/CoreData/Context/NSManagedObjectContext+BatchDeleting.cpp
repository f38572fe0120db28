#include "CoreData/Context/BatchDeletion.h"
#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Fetching/FetchPlanCache.h"
#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "CoreData/SQLite/Query/QueryRunner.h"

namespace coredata {

NSBatchDeleteResult NSManagedObjectContext::execute(const NSBatchDeleteRequest& request) {
  assertQueue();
  const NSFetchRequestBase& which = request.fetchRequest();
  const foundation::Ref<const FetchPlan> plan = state_->plan(which);
  WriteTransaction transaction(state_->session());
  const std::vector<ObjectKey> keys =
      QueryRunner(state_->session(), *state_)
          .keys(*plan, which.arguments(), which.fetchLimit(), which.fetchOffset());
  const std::int64_t deleted = BatchDeletion(transaction).run(plan->entity(), keys);
  transaction.commit({state_->author, state_->name});
  if (request.resultType() == NSBatchDeleteRequestResultType::statusOnly) return {};
  return {deleted};
}

}  // namespace coredata
