#include "CoreData/History/NSPersistentHistoryTransaction.h"

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/History/HistoryPredicate.h"

namespace coredata {

using foundation::make;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

Ref<NSPersistentHistoryToken> NSPersistentHistoryTransaction::token() const {
  return make<NSPersistentHistoryToken>(storeID(), transactionNumber());
}

foundation::NSNotification NSPersistentHistoryTransaction::objectIDNotification() const {
  ValueList inserted;
  ValueList updated;
  ValueList deleted;
  for (const NSPersistentHistoryChange& change : changes()) {
    switch (change.changeType()) {
      case NSPersistentHistoryChangeType::insert:
        inserted.emplace_back(change.changedObjectID());
        break;
      case NSPersistentHistoryChangeType::update:
        updated.emplace_back(change.changedObjectID());
        break;
      case NSPersistentHistoryChangeType::delete_:
        deleted.emplace_back(change.changedObjectID());
        break;
    }
  }
  auto userInfo = std::make_shared<const ValueDictionary>(
      ValueDictionary{{std::string(NSInsertedObjectsKey), Value(std::move(inserted))},
                      {std::string(NSUpdatedObjectsKey), Value(std::move(updated))},
                      {std::string(NSDeletedObjectsKey), Value(std::move(deleted))}});
  return foundation::NSNotification(NSManagedObjectContext::didSaveNotification(), nullptr,
                                    std::move(userInfo));
}

Value NSPersistentHistoryTransaction::valueForKey(std::string_view key) const {
  using Key = HistoryPredicate::Key;
  const auto text = [](const std::optional<std::string>& name) {
    return name ? Value(*name) : Value();
  };
  const std::optional<Key> known = HistoryPredicate::keyNamed(key);
  if (!known) return foundation::Object::valueForKey(key);
  switch (*known) {
    case Key::author:
      return text(author());
    case Key::bundleID:
      return Value(bundleID());
    case Key::contextName:
      return text(contextName());
    case Key::processID:
      return Value(processID());
    case Key::storeID:
      return Value(storeID());
    case Key::timestamp:
      return Value(timestamp());
    case Key::transactionNumber:
      return Value(transactionNumber());
  }
  return {};
}

std::string NSPersistentHistoryTransaction::description() const {
  return "transaction " + std::to_string(transactionNumber()) + " of " + timestamp().description() +
         " by " + author().value_or("nobody named") + ", " + std::to_string(changes().size()) +
         " changes";
}

}  // namespace coredata
