#include <cstdint>
#include <ranges>
#include <utility>
#include <vector>

#include "CoreDataStack/Queries/LocalAPI.h"
#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Foundation/Predicate/PredicateTemplate.h"
#include "Foundation/Text/Calendar.h"
#include "Foundation/Text/DayKey.h"

namespace coredatastack {

using coredata::NSArray;
using coredata::NSExpressionDescription;
using coredata::NSFetchRequest;
using coredata::NSFetchRequestResultType;
using domain::ActivityStatus;
using domain::CalendarItem;
using domain::CheckinType;
using domain::DateFormat;
using foundation::Date;
using foundation::DayKey;
using foundation::make;
using foundation::NSCompoundPredicate;
using foundation::NSExpression;
using foundation::NSPredicate;
using foundation::PredicateTemplate;
using foundation::Ref;

using CheckinTypes = API::CheckinTypes;
using Sorts = foundation::SortDescriptors;

namespace {

NSPredicate ofActivity(const Ref<CDActivity>& activity) {
  static constinit PredicateTemplate format{"activity = %@"};
  return format.bind(activity);
}

NSPredicate onDay(const Ref<CDActivity>& activity, const DayKey& day) {
  static constinit PredicateTemplate format{"activity = %@ AND date = %@"};
  return format.bind(activity, day.text());
}

/// Of the days whose texts begin like that.
NSPredicate beginningWith(const Ref<CDActivity>& activity, std::string_view beginning) {
  static constinit PredicateTemplate format{"activity = %@ AND date BEGINSWITH %@"};
  return format.bind(activity, beginning);
}

NSPredicate inPeriod(const Ref<CDActivity>& activity, std::optional<Date> from,
                     std::optional<Date> to) {
  static constinit PredicateTemplate between{"activity = %@ AND (%@ <= date AND date <= %@)"};
  static constinit PredicateTemplate since{"activity = %@ AND %@ <= date"};
  static constinit PredicateTemplate until{"activity = %@ AND date <= %@"};
  if (from && to) return between.bind(activity, DayKey(*from).text(), DayKey(*to).text());
  if (from) return since.bind(activity, DayKey(*from).text());
  if (to) return until.bind(activity, DayKey(*to).text());
  return ofActivity(activity);
}

NSPredicate ofTypes(NSPredicate predicate, const CheckinTypes& types) {
  static constinit PredicateTemplate format{"type in %@"};
  if (!types) return predicate;
  const auto values = *types | std::views::transform(&CheckinType::value);
  return NSCompoundPredicate::andPredicate({std::move(predicate), format.bind(values)});
}

/// How the texts of all days of the date's year or month begin, or the whole text of its day.
std::string_view part(const DayKey& day, DateFormat format) {
  switch (format) {
    case DateFormat::year:
      return day.year();
    case DateFormat::month:
      return day.month();
    case DateFormat::day:
      return day.text();
  }
  return day.text();
}

/// The item's first day; now where the calendar has none for its numbers.
Date firstDayOf(const CalendarItem& item) {
  const CalendarItem::Components& first = item.firstDay();
  foundation::DateComponents components;
  components.year = first.year;
  components.month = first.month;
  components.day = first.day;
  const auto date = foundation::Calendar::current().date(components);
  return date ? *date : Date::now();
}

NSFetchRequest<CDCheckin> checkinRequest(NSPredicate predicate) {
  NSFetchRequest<CDCheckin> request = CDCheckin::fetchRequest();
  request.setPredicate(std::move(predicate));
  request.setIncludesSubentities(false);
  return request;
}

enum class DayOrder : std::uint8_t { ascending, descending };

const Sorts& byDay(DayOrder order) {
  static const Sorts ascending{{"date", true}};
  static const Sorts descending{{"date", false}};
  return order == DayOrder::ascending ? ascending : descending;
}

/// For the check-in of the day that comes first in that order.
NSFetchRequest<CDCheckin> requestForFirst(NSPredicate predicate, DayOrder order) {
  NSFetchRequest<CDCheckin> request = CDCheckin::fetchRequest();
  request.setPredicate(std::move(predicate));
  request.setSortDescriptors(byDay(order));
  request.setFetchLimit(1);
  return request;
}

NSFetchRequest<CDCheckin> requestForSum(NSPredicate predicate) {
  static const auto sum = make<const NSExpressionDescription>(
      "count", NSExpression::forFunction("sum:", {NSExpression::forKeyPath("count")}),
      coredata::NSAttributeType::double_);
  NSFetchRequest<CDCheckin> request = CDCheckin::fetchRequest();
  request.setPredicate(std::move(predicate));
  request.setPropertiesToFetch({sum});
  request.setResultType(NSFetchRequestResultType::dictionaries);
  return request;
}

}  // namespace

NSArray<CDCheckin> LocalAPI::checkins(const Ref<CDActivity>& of, const CheckinTypes& types) const {
  auto request = checkinRequest(ofTypes(ofActivity(of), types));
  request.setSortDescriptors(byDay(DayOrder::ascending));
  return list(request);
}

NSArray<CDCheckin> LocalAPI::checkins(const Ref<CDActivity>& of, const CheckinTypes& types,
                                      Date date, DateFormat format) const {
  const DayKey day(date);
  const bool isDay = format == DateFormat::day;
  return list(checkinRequest(
      ofTypes(isDay ? onDay(of, day) : beginningWith(of, part(day, format)), types)));
}

NSArray<CDCheckin> LocalAPI::checkins(const Ref<CDActivity>& of, const CheckinTypes& types,
                                      Date from, Date to) const {
  return list(checkinRequest(ofTypes(inPeriod(of, from, to), types)));
}

bool LocalAPI::checkinExists(Date at, const Ref<CDActivity>& of) const {
  auto request = checkinRequest(onDay(of, DayKey(at)));
  request.setFetchLimit(1);
  return number(request) > 0;
}

Ref<CDCheckin> LocalAPI::firstCheckin(const Ref<CDActivity>& of, ActivityStatus with) const {
  static constinit PredicateTemplate ofOne{"activity = %@ AND activity.status = %d"};
  static constinit PredicateTemplate ofAll{"activity.status = %d"};
  NSPredicate predicate = of ? ofOne.bind(of, with.value()) : ofAll.bind(with.value());
  return first(requestForFirst(std::move(predicate), DayOrder::ascending));
}

Ref<CDCheckin> LocalAPI::lastCheckin(const Ref<CDActivity>& of) const {
  return first(requestForFirst(ofActivity(of), DayOrder::descending));
}

std::int64_t LocalAPI::numberOfCheckins(const Ref<CDActivity>& activity, const CheckinTypes& types,
                                        CalendarItem item) const {
  const DayKey day(firstDayOf(item));
  return wholeSum(requestForSum(ofTypes(beginningWith(activity, part(day, item.format())), types)));
}

std::int64_t LocalAPI::numberOfCheckins(const Ref<CDActivity>& of, const CheckinTypes& types,
                                        std::optional<Date> from, std::optional<Date> to) const {
  return wholeSum(requestForSum(ofTypes(inPeriod(of, from, to), types)));
}

}  // namespace coredatastack
