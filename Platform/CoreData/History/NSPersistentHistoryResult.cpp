#include "CoreData/History/NSPersistentHistoryResult.h"

namespace coredata {

NSPersistentHistoryResult::NSPersistentHistoryResult(NSPersistentHistoryResultType resultType,
                                                     Result result)
    : resultType_(resultType), result_(std::move(result)) {}

}  // namespace coredata
