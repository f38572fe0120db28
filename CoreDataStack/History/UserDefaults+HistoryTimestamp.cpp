#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"

#include <algorithm>
#include <string>

#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using foundation::Date;
using foundation::UserDefaults;

namespace {

std::string key(const AppTarget& target) {
  return "lastHistoryTransactionTimeStamp-" + std::string(target.rawValue());
}

}  // namespace

std::optional<Date> lastHistoryTransactionTimestamp(const UserDefaults& userDefaults,
                                                    const AppTarget& forTarget) {
  const std::optional<foundation::Value> value = userDefaults.object(key(forTarget));
  const Date* date = value ? value->date() : nullptr;
  return date == nullptr ? std::nullopt : std::optional(*date);
}

void updateLastHistoryTransactionTimestamp(UserDefaults& userDefaults, const AppTarget& forTarget,
                                           const std::optional<Date>& to) {
  userDefaults.set(to, key(forTarget));
}

std::optional<Date> lastCommonTransactionTimestamp(const UserDefaults& userDefaults,
                                                   std::span<const AppTarget> in) {
  if (in.empty()) {
    foundation::fatalError("there are no targets whose history could have a timestamp in common");
  }
  if (in.size() == 1) return lastHistoryTransactionTimestamp(userDefaults, in.front());
  Date earliest =
      lastHistoryTransactionTimestamp(userDefaults, in.front()).value_or(Date::distantPast());
  for (const AppTarget& target : in.subspan(1)) {
    earliest = std::min(
        earliest,
        lastHistoryTransactionTimestamp(userDefaults, target).value_or(Date::distantPast()));
  }
  return earliest > Date::distantPast() ? std::optional(earliest) : std::nullopt;
}

}  // namespace coredatastack
