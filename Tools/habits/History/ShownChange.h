#pragma once

#include <string>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"

namespace habits {

/// When a transaction was: in UTC for scripts, with all that tells it from its neighbours in a
/// second, and in the user's zone and digits for people.
[[nodiscard]] std::string timeForScripts(const foundation::Date& time);
[[nodiscard]] std::string timeForPeople(const foundation::Date& time);

/// "insert", "update", "delete".
[[nodiscard]] std::string nameOf(coredata::NSPersistentHistoryChangeType type);

/// One change of a transaction, as it is told to the user.
struct ShownChange {
  foundation::Date time;
  /// Empty when nobody said who.
  std::string author;
  std::string kind;
  std::string entity;
  /// Of a check-in that is still there: its habit's title and its day; empty otherwise.
  std::string activity;
  std::string date;

  /// A line in JSON.
  [[nodiscard]] std::string json() const;
  [[nodiscard]] std::string text() const;
};

/// The changes of a transaction in their order. What is told of a check-in is read in the context.
/// In the context's turn.
[[nodiscard]] std::vector<ShownChange> shownChanges(
    const coredata::NSPersistentHistoryTransaction& transaction,
    coredata::NSManagedObjectContext& context);

}  // namespace habits
