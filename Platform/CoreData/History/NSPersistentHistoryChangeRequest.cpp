#include "CoreData/History/NSPersistentHistoryChangeRequest.h"

#include "CoreData/History/NSPersistentHistoryToken.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"

namespace coredata {

using foundation::Date;
using foundation::Ref;
using Request = NSPersistentHistoryChangeRequest;
using ResultType = NSPersistentHistoryResultType;

Request::NSPersistentHistoryChangeRequest(Action action, Place place, ResultType resultType)
    : action_(action), place_(std::move(place)), resultType_(resultType) {}

Request Request::fetchHistoryAfterDate(Date date) {
  return {Action::fetch, date, ResultType::transactionsAndChanges};
}

Request Request::fetchHistoryAfterToken(Ref<NSPersistentHistoryToken> token) {
  return {Action::fetch, std::move(token), ResultType::transactionsAndChanges};
}

Request Request::fetchHistoryAfterTransaction(
    const Ref<NSPersistentHistoryTransaction>& transaction) {
  return fetchHistoryAfterToken(transaction ? transaction->token() : nullptr);
}

Request Request::deleteHistoryBeforeDate(Date date) {
  return {Action::delete_, date, ResultType::statusOnly};
}

Request Request::deleteHistoryBeforeToken(Ref<NSPersistentHistoryToken> token) {
  return {Action::delete_, std::move(token), ResultType::statusOnly};
}

Request Request::deleteHistoryBeforeTransaction(
    const Ref<NSPersistentHistoryTransaction>& transaction) {
  return deleteHistoryBeforeToken(transaction ? transaction->token() : nullptr);
}

}  // namespace coredata
