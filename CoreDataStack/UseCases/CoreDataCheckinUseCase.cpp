#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"

#include <utility>

#include "Domain/DateFormat.h"
#include "Foundation/Internal/HashTables.h"
#include "Foundation/Predicate/PredicateTemplate.h"
#include "Foundation/Text/DateFormatter.h"

namespace coredatastack {

using coredata::DictionaryRows;
using coredata::NSEntityDescription;
using coredata::NSFetchRequest;
using coredata::NSFetchRequestResultType;
using coredata::NSManagedObjectContext;
using coredata::NSRelationshipDescription;
using coredata::ObjectKey;
using coredata::SlotTag;
using domain::ActivityStatus;
using domain::CheckinType;
using domain::DateFormat;
using foundation::Date;
using foundation::Ref;

CoreDataCheckinUseCase::CoreDataCheckinUseCase(Ref<CDActivity> activity,
                                               Ref<NSManagedObjectContext> context)
    : writer_(std::move(activity), std::move(context)) {}

void CoreDataCheckinUseCase::addCheckin(Date at, CheckinType with) { writer_.addCheckin(at, with); }

Ref<CDCheckin> CoreDataCheckinUseCase::addCheckinCount(double /*amount*/, Date date) {
  return writer_.addCheckinCount(date);
}

void CoreDataCheckinUseCase::deleteCheckin(Date at) { writer_.deleteCheckin(at); }

namespace {

using LastCheckins = CoreDataCheckinUseCase::LastCheckins;

constexpr const char* kActivity = "activity";
constexpr const char* kDate = "date";

/// The days of all check-ins, each activity's once, in ascending order of their texts; the
/// check-ins themselves where they have no activity to group by.
NSFetchRequest<CDCheckin> requestForDays(const NSEntityDescription* entity,
                                         const NSRelationshipDescription* activity,
                                         std::optional<ActivityStatus> status) {
  static constinit foundation::PredicateTemplate ofStatus{"activity.status = %d"};
  NSFetchRequest<CDCheckin> request = CDCheckin::fetchRequest();
  if (activity != nullptr) {
    request.setPropertiesToFetch({*activity, kDate});
    request.setPropertiesToGroupBy({*activity, kDate});
    request.setResultType(NSFetchRequestResultType::dictionaries);
    request.setReturnsObjectsAsFaults(false);
  }
  if (status) request.setPredicate(ofStatus.bind(status->value()));
  request.setEntity(entity);
  request.setSortDescriptors({{kDate, true}});
  return request;
}

/// The last day of each activity that can be read. Going backwards, the first one is it: the many
/// before it cost one look at the key.
LastCheckins lastDays(const DictionaryRows& rows, const NSEntityDescription& activityEntity,
                      NSManagedObjectContext& context) {
  LastCheckins result;
  const std::size_t activities = rows.column(kActivity);
  const std::size_t dates = rows.column(kDate);
  const foundation::DateFormatter days(DateFormat(DateFormat::day).pattern());
  foundation::HashSet<ObjectKey> done;
  for (std::size_t row = rows.size(); row-- > 0;) {
    const ObjectKey key = rows.reference(row, activities);
    if (rows.tag(row, activities) != SlotTag::reference || done.contains(key)) continue;
    const auto day = days.date(rows.text(row, dates));
    if (!day) continue;
    done.insert(key);
    auto activity = foundation::as<CDActivity>(context.object(activityEntity, key));
    if (activity) result.emplace(std::move(activity), *day);
  }
  return result;
}

}  // namespace

LastCheckins CoreDataCheckinUseCase::lastCheckins(std::optional<ActivityStatus> status) {
  NSManagedObjectContext& context = writer_.context();
  const NSEntityDescription* entity = context.entity("Checkin");
  const auto* activity = entity == nullptr ? nullptr : entity->relationship(kActivity);
  const auto request = requestForDays(entity, activity, status);
  if (activity == nullptr) {
    // Objects can be fetched, but are no rows: nothing comes of them.
    static_cast<void>(context.fetchObjects(request));
    return {};
  }
  return lastDays(context.fetchDictionaries(request), activity->destinationEntity(), context);
}

}  // namespace coredatastack
