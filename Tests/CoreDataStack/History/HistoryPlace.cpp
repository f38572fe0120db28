#include "Tests/CoreDataStack/History/HistoryPlace.h"

#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryResult.h"

namespace support {

std::int64_t HistoryPlace::numberOfTransactions() const {
  auto request = coredata::NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(
      foundation::Date::distantPast());
  const auto context = elsewhere_->newBackgroundContext();
  return context->performBlockAndWait([&] {
    const auto result =
        foundation::as<coredata::NSPersistentHistoryResult>(context->execute(request));
    using Transactions = coredata::NSPersistentHistoryResult::Transactions;
    return static_cast<std::int64_t>(std::get<Transactions>(result->result()).size());
  });
}

}  // namespace support
