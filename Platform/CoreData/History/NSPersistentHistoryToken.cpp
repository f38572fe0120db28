#include "CoreData/History/NSPersistentHistoryToken.h"

#include <functional>

namespace coredata {

bool NSPersistentHistoryToken::isEqual(const foundation::Object& other) const noexcept {
  const auto* token = dynamic_cast<const NSPersistentHistoryToken*>(&other);
  return token != nullptr && token->number_ == number_ && token->storeID_ == storeID_;
}

std::size_t NSPersistentHistoryToken::hash() const noexcept {
  return std::hash<std::string>{}(storeID_) ^ std::hash<std::int64_t>{}(number_);
}

std::string NSPersistentHistoryToken::description() const {
  return "transaction " + std::to_string(number_) + " of store " + storeID_;
}

}  // namespace coredata
