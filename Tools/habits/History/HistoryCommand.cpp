#include <algorithm>
#include <cmath>
#include <limits>

#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreDataStack/History/PersistentHistoryFetcher.h"
#include "Foundation/Text/Calendar.h"
#include "Foundation/Values/URL.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Day.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/History/ShownChange.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredata::NSPersistentHistoryChange;
using coredata::NSPersistentHistoryChangeRequest;
using coredata::NSPersistentHistoryTransaction;
using coredatastack::PersistentHistoryFetcher;
using foundation::Date;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

/// Just before the first instant of the day: what is asked for comes after it.
Date before(const std::string& day) {
  const Date start = foundation::Calendar::current().startOfDay(dayArgument(day));
  return Date::fromReference(std::nextafter(start.timeIntervalSinceReferenceDate(),
                                            -std::numeric_limits<double>::infinity()));
}

/// The identifier that the URI stands for in the open store.
foundation::Ref<coredata::NSManagedObjectID> identifierFor(const std::string& uri,
                                                           const Session& session) {
  const auto url = foundation::URL::parse(uri);
  const auto identifier =
      url ? session.stack().persistentStoreCoordinator()->managedObjectIDForURIRepresentation(*url)
          : nullptr;
  if (!identifier) {
    throw Refusal("There is no object " + uri +
                  " in this store. \"habits history\" shows those "
                  "that there are.");
  }
  return identifier;
}

using Changes = std::vector<NSPersistentHistoryChange>;

Changes wantedChanges(const NSPersistentHistoryTransaction& transaction,
                      const foundation::Ref<coredata::NSManagedObjectID>& object) {
  Changes changes;
  for (const NSPersistentHistoryChange& change : transaction.changes()) {
    if (!object || change.changedObjectID()->isEqual(*object)) changes.push_back(change);
  }
  return changes;
}

std::string uriOf(const NSPersistentHistoryChange& change) {
  return change.changedObjectID()->uriRepresentation().absoluteString();
}

Value dataOf(const NSPersistentHistoryTransaction& transaction, const Changes& changes) {
  ValueList list;
  for (const NSPersistentHistoryChange& change : changes) {
    ValueList properties;
    for (const std::string& name : change.updatedProperties()) properties.emplace_back(name);
    list.emplace_back(ValueDictionary{{"kind", nameOf(change.changeType())},
                                      {"entity", change.changedObjectID()->entity().name()},
                                      {"object", uriOf(change)},
                                      {"properties", std::move(properties)}});
  }
  return ValueDictionary{{"number", transaction.transactionNumber()},
                         {"time", timeForScripts(transaction.timestamp())},
                         {"author", transaction.author()},
                         {"changes", std::move(list)}};
}

std::string textOf(const NSPersistentHistoryTransaction& transaction, const Changes& changes) {
  Table header;
  header.add({timeForPeople(transaction.timestamp()), transaction.author().value_or("-")});
  Table lines;
  for (const NSPersistentHistoryChange& change : changes) {
    std::string properties;
    for (const std::string& name : change.updatedProperties()) {
      properties += (properties.empty() ? "" : ", ") + name;
    }
    lines.add({"  " + nameOf(change.changeType()), uriOf(change), properties});
  }
  return header.text() + (changes.empty() ? "" : "\n" + lines.text());
}

}  // namespace

Answer history(const Session& session, const HistoryWish& wish) {
  const auto object = wish.object ? identifierFor(*wish.object, session) : nullptr;
  const auto transactions = PersistentHistoryFetcher::transactions(
      session.context().execute(NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(
          wish.since ? before(*wish.since) : Date::distantPast())));
  std::string text;
  ValueList data;
  for (const auto& transaction : transactions) {
    const Changes changes = wantedChanges(*transaction, object);
    if (object && changes.empty()) continue;
    if (!text.empty()) text += "\n";
    text += textOf(*transaction, changes);
    data.push_back(dataOf(*transaction, changes));
  }
  return {text.empty() ? "Nothing was written." : std::move(text), std::move(data)};
}

}  // namespace habits
