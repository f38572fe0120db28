#include "Tools/habits/History/ShownChange.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "Foundation/Text/DateFormatter.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentHistoryChange;
using coredata::NSPersistentHistoryChangeType;
using coredata::NSPersistentHistoryTransaction;
using coredatastack::CDCheckin;
using foundation::Date;
using Json = nlohmann::ordered_json;

namespace {

void describeCheckin(ShownChange& shown, const NSPersistentHistoryChange& change,
                     NSManagedObjectContext& context) {
  const auto checkin = foundation::as<CDCheckin>(context.objectWithID(*change.changedObjectID()));
  if (!checkin) return;
  shown.date = checkin->date().value_or("");
  if (const auto activity = checkin->activity()) shown.activity = activity->title().value_or("");
}

}  // namespace

std::string timeForScripts(const Date& time) {
  constexpr std::int64_t kMicroseconds = 1'000'000;
  const auto micros = static_cast<std::int64_t>(
      std::floor(time.timeIntervalSince1970() * static_cast<double>(kMicroseconds)));
  const std::chrono::sys_time<std::chrono::microseconds> instant{std::chrono::microseconds(micros)};
  const auto midnight = std::chrono::floor<std::chrono::days>(instant);
  const std::chrono::year_month_day day(midnight);
  const std::chrono::hh_mm_ss clock(instant - midnight);
  char text[64];
  std::snprintf(
      text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ", static_cast<int>(day.year()),
      static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

std::string timeForPeople(const Date& time) {
  return foundation::DateFormatter("yyyy-MM-dd HH:mm:ss").string(time);
}

std::string nameOf(NSPersistentHistoryChangeType type) {
  switch (type) {
    case NSPersistentHistoryChangeType::insert:
      return "insert";
    case NSPersistentHistoryChangeType::update:
      return "update";
    case NSPersistentHistoryChangeType::delete_:
      return "delete";
  }
  return {};
}

std::string ShownChange::json() const {
  Json object{{"time", timeForScripts(time)},
              {"author", author.empty() ? Json() : Json(author)},
              {"kind", kind},
              {"entity", entity}};
  if (!date.empty()) {
    object["activity"] = activity;
    object["date"] = date;
  }
  return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string ShownChange::text() const {
  std::vector<std::string> row{timeForPeople(time), author.empty() ? "-" : author,
                               kind + " " + entity};
  if (!date.empty()) row.push_back("\"" + activity + "\" on " + date);
  Table line;
  line.add(std::move(row));
  return line.text();
}

std::vector<ShownChange> shownChanges(const NSPersistentHistoryTransaction& transaction,
                                      NSManagedObjectContext& context) {
  std::vector<ShownChange> shown;
  for (const NSPersistentHistoryChange& change : transaction.changes()) {
    shown.push_back({transaction.timestamp(), transaction.author().value_or(""),
                     nameOf(change.changeType()), change.changedObjectID()->entity().name(), "",
                     ""});
    if (change.changeType() != NSPersistentHistoryChangeType::delete_) {
      describeCheckin(shown.back(), change, context);
    }
  }
  return shown;
}

}  // namespace habits
