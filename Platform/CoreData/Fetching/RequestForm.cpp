#include "CoreData/Fetching/RequestForm.h"

#include <algorithm>

#include "CoreData/Model/NSEntityDescription.h"

namespace coredata {

namespace {

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

}  // namespace

bool RequestForm::hasEntityOf(const NSFetchRequestBase& request) const noexcept {
  const NSEntityDescription* given = request.entity();
  const bool isOfThisModel =
      given != nullptr && &given->managedObjectModel() == &entity->managedObjectModel();
  return isOfThisModel ? given == entity : request.entityName() == entity->name();
}

bool RequestForm::matches(const NSFetchRequestBase& request, std::uint64_t itsPredicate) const {
  return predicate == itsPredicate && hasEntityOf(request) &&
         givesDictionaries == isDictionaries(request) &&
         isDistinct == request.returnsDistinctResults() && sorts == request.sortDescriptors() &&
         (!givesDictionaries || (sameProperties(properties, request.propertiesToFetch()) &&
                                 sameProperties(grouping, request.propertiesToGroupBy())));
}

}  // namespace coredata
