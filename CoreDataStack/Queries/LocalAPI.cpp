#include "CoreDataStack/Queries/LocalAPI.h"

#include <utility>

#include "Foundation/Values/NSNumber.h"

namespace coredatastack {

using coredata::DictionaryRows;
using coredata::NSFetchRequestBase;
using coredata::NSManagedObjectContext;
using foundation::Ref;

LocalAPI::LocalAPI(Ref<NSManagedObjectContext> context, Ref<logger::Loggable> logger)
    : context_(std::move(context)), logger_(std::move(logger)) {}

std::int64_t LocalAPI::number(const NSFetchRequestBase& request) const {
  return answer([&] { return context_->count(request); });
}

std::int64_t LocalAPI::wholeSum(const NSFetchRequestBase& request) const {
  const DictionaryRows rows = answer([&] { return context_->fetchDictionaries(request); });
  if (rows.empty()) return 0;
  return foundation::NSNumber(rows.real(0, 0)).exactInt64().value_or(0);
}

}  // namespace coredatastack
