#include "CoreDataStack/Model/CDActivity.h"

#include <vector>

#include "CoreDataStack/Model/OrderType.h"
#include "Domain/ActivityStatus.h"
#include "Domain/DayOfWeek.h"
#include "Foundation/Predicate/PredicateTemplate.h"
#include "Foundation/Text/DayKey.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using foundation::Date;
using foundation::make;
using foundation::PredicateTemplate;
using foundation::Ref;
using foundation::SortDescriptors;

namespace {

NSFetchRequest<CDCheckin> requestForDay(const CDActivity& activity, Date day) {
  static constinit PredicateTemplate ofActivityAndDay{"activity = %@ AND date = %@"};
  NSFetchRequest<CDCheckin> request = CDCheckin::fetchRequest();
  request.setPredicate(
      ofActivityAndDay.bind(Ref<const CDActivity>(&activity), foundation::DayKey(day).text()));
  request.setFetchLimit(1);
  return request;
}

NSFetchRequest<CDCheckin> requestForLatest(const CDActivity& activity) {
  static constinit PredicateTemplate ofActivity{"activity = %@"};
  static const SortDescriptors latestFirst{{"date", false}, {"createdDate", false}};
  NSFetchRequest<CDCheckin> request = CDCheckin::fetchRequest();
  request.setPredicate(ofActivity.bind(Ref<const CDActivity>(&activity)));
  request.setSortDescriptors(latestFirst);
  request.setFetchLimit(1);
  return request;
}

}  // namespace

Ref<CDActivity> CDActivity::create(NSManagedObjectContext& in, std::string withColor) {
  auto activity = make<CDActivity>(in);
  auto order = make<CDOrder>(in);
  auto goal = make<CDGoal>(in);
  auto displayOn = make<CDDisplayOn>(in);
  order->setPriority(0);
  order->setType(OrderType(OrderType::activity).value());
  displayOn->setDays(domain::DayOfWeek::everyday);
  activity->setOrder(order);
  activity->setDisplayOn(displayOn);
  activity->setColor(std::move(withColor));
  activity->setIcon("");
  activity->setCreatedDate(Date::now());
  activity->setModifiedDate(Date::now());
  activity->setGoal(goal);
  return activity;
}

bool CDActivity::didCheckin(Date at) const {
  const Ref<NSManagedObjectContext> context = managedObjectContext();
  if (!context) return false;
  try {
    return context->count(requestForDay(*this, at)) > 0;
  } catch (const foundation::Error&) {
    // A count that fails answers no, and says nothing about why.
    return false;
  }
}

Ref<CDCheckin> CDActivity::checkin(Date with) const {
  const Ref<NSManagedObjectContext> context = managedObjectContext();
  if (!context) return nullptr;
  try {
    return context->fetchFirst(requestForDay(*this, with));
  } catch (const foundation::Error&) {
    // As above: whoever needs the reason meets it when writing.
    return nullptr;
  }
}

bool CDActivity::didCheckinToday() const { return didCheckin(Date::now()); }

Ref<CDCheckin> CDActivity::lastCheckin(NSManagedObjectContext& with,
                                       std::optional<domain::CheckinType> /*type*/) const {
  try {
    return with.fetchFirst(requestForLatest(*this));
  } catch (const foundation::Error& error) {
    foundation::print(error.description());
    return nullptr;
  }
}

bool CDActivity::hasGoal(domain::UserType with) const {
  const Ref<CDGoal> its = goal();
  if (!its) return false;
  const auto interval = CDGoal::Interval::withRawValue(its->interval());
  if (!interval) return false;
  switch (*interval) {
    case CDGoal::Interval::none:
      return false;
    case CDGoal::Interval::daily:
    case CDGoal::Interval::weekly:
    case CDGoal::Interval::count:
      return true;
    case CDGoal::Interval::monthly:
    case CDGoal::Interval::yearly:
      return with.mayHaveLongGoals();
  }
  return false;
}

void CDActivity::achieve() {
  setStatus(domain::ActivityStatus(domain::ActivityStatus::achieved).value());
  setModifiedDate(Date::now());
}

}  // namespace coredatastack
