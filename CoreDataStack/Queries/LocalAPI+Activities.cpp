#include <vector>

#include "CoreDataStack/Queries/LocalAPI.h"
#include "Foundation/Predicate/PredicateTemplate.h"
#include "Foundation/Text/DayKey.h"

namespace coredatastack {

using coredata::NSArray;
using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using domain::ActivityStatus;
using foundation::Date;
using foundation::DayKey;
using foundation::NSPredicate;
using foundation::PredicateTemplate;
using foundation::Ref;

using Sorts = foundation::SortDescriptors;

namespace {

const Sorts& groupOrder() {
  static const Sorts sorts{
      {"group.priority", true}, {"order.priority", true}, {"createdDate", false}};
  return sorts;
}

const Sorts& orderWithinAGroup() {
  static const Sorts sorts{{"order.priority", true}, {"createdDate", false}};
  return sorts;
}

NSFetchRequest<CDActivity> requestFor(NSPredicate predicate) {
  NSFetchRequest<CDActivity> request = CDActivity::fetchRequest();
  request.setPredicate(std::move(predicate));
  return request;
}

NSFetchRequest<CDActivity> requestFor(NSPredicate predicate, const Sorts& sorts) {
  NSFetchRequest<CDActivity> request = requestFor(std::move(predicate));
  request.setSortDescriptors(sorts);
  return request;
}

}  // namespace

NSArray<CDActivity> LocalAPI::activities() const { return list(CDActivity::fetchRequest()); }

NSArray<CDActivity> LocalAPI::activities(const Ref<CDGroup>& of) const {
  static constinit PredicateTemplate inGroup{"status = %d AND group = %@"};
  static constinit PredicateTemplate inNone{"status == %d AND group = nil"};
  const std::int16_t active = ActivityStatus(ActivityStatus::active).value();
  return list(requestFor(of ? inGroup.bind(active, of) : inNone.bind(active), orderWithinAGroup()));
}

NSArray<CDActivity> LocalAPI::activities(ActivityStatus with) const {
  static constinit PredicateTemplate ofStatus{"status == %d"};
  return list(requestFor(ofStatus.bind(with.value()), groupOrder()));
}

NSArray<CDActivity> LocalAPI::activities(ActivityStatus with, Date from, Date to) const {
  static constinit PredicateTemplate madeOrCheckedIn{
      "status == %d AND (createdDate <= %@ OR "
      "SUBQUERY(checkins, $checkin, $checkin.date BETWEEN {%@, %@}).@count > 0)"};
  return list(
      requestFor(madeOrCheckedIn.bind(with.value(), to, DayKey(from).text(), DayKey(to).text()),
                 groupOrder()));
}

std::int64_t LocalAPI::numberOfActivities(ActivityStatus with) const {
  static constinit PredicateTemplate ofStatus{"status = %d"};
  return number(requestFor(ofStatus.bind(with.value())));
}

std::int64_t LocalAPI::numberOfActivities() const { return number(CDActivity::fetchRequest()); }

std::int64_t LocalAPI::numberOfAchievedActivities() const {
  static constinit PredicateTemplate ofStatus{"status == %d"};
  return number(requestFor(ofStatus.bind(ActivityStatus(ActivityStatus::achieved).value())));
}

void LocalAPI::delete_(const Ref<CDActivity>& activity) {
  const Ref<NSManagedObjectContext> context = activity ? activity->managedObjectContext() : nullptr;
  if (!context) return;
  try {
    context->delete_(activity);
    context->save();
  } catch (const foundation::Error& error) {
    // Whoever asked for it sees the activity still there; the deletion goes with the next save.
    foundation::print(error.description());
  }
}

}  // namespace coredatastack
