#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "CoreData/Context/FetchedObjects.h"
#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "CoreDataStack/Model/CDGroup.h"
#include "Domain/ActivityStatus.h"
#include "Domain/CalendarItem.h"
#include "Domain/CheckinType.h"
#include "Domain/DateFormat.h"
#include "Foundation/Values/Date.h"

namespace coredatastack {

/// What an application asks about its activities and check-ins: lists, numbers and first ones.
///
/// - No query throws. One that fails says so where the implementation says, and answers with
/// nothing: an empty list, null, 0 or false.
/// - Days are compared as the texts that check-ins bear, each date as the local day it falls on.
/// Periods include both ends; one that ends before it begins is empty.
/// - `types` are the types of check-in to look at: absent for all, an empty list for none. The
/// shorthands without it look at the ordinary ones.
/// - Lists and numbers of objects see unsaved changes; `numberOfCheckins` sees the store alone.
/// - Unless a query says otherwise, an activity that is null stands for none: it is asked about the
/// check-ins that belong to no activity.
///
/// Threading: as the data underneath says.
class API {
 public:
  using CheckinTypes = std::optional<std::vector<domain::CheckinType>>;
  template <typename T>
  using Ref = foundation::Ref<T>;
  template <typename T>
  using NSArray = coredata::NSArray<T>;

  API() = default;
  API(const API&) = delete;
  API& operator=(const API&) = delete;
  virtual ~API() = default;

  /// All check-ins of the activity, the earliest day first.
  [[nodiscard]] virtual NSArray<CDCheckin> checkins(const Ref<CDActivity>& of,
                                                    const CheckinTypes& types) const = 0;
  [[nodiscard]] NSArray<CDCheckin> checkins(const Ref<CDActivity>& of) const;

  /// The check-ins of the date's year, month or day, as `format` says. In no order of days.
  [[nodiscard]] virtual NSArray<CDCheckin> checkins(const Ref<CDActivity>& of,
                                                    const CheckinTypes& types,
                                                    foundation::Date date,
                                                    domain::DateFormat format) const = 0;
  [[nodiscard]] NSArray<CDCheckin> checkins(const Ref<CDActivity>& of, foundation::Date date,
                                            domain::DateFormat format) const;

  /// The check-ins of a period. In no order of days.
  [[nodiscard]] virtual NSArray<CDCheckin> checkins(const Ref<CDActivity>& of,
                                                    const CheckinTypes& types,
                                                    foundation::Date from,
                                                    foundation::Date to) const = 0;

  /// Whether the day of the date has a check-in, of any type. Makes no object.
  [[nodiscard]] virtual bool checkinExists(foundation::Date at,
                                           const Ref<CDActivity>& of) const = 0;

  /// Deletes the activity, and what its delete rules say goes with it, in the activity's own
  /// context, and saves that context. One without a context is left alone. A save that fails is
  /// printed and leaves the deletion pending.
  virtual void delete_(const Ref<CDActivity>& activity) = 0;

  /// The check-in of the earliest day, of any type, if the activity is of that status; null when
  /// there is none. Without an activity (null) the earliest of all activities of that status, which
  /// costs a look at every check-in that there is.
  [[nodiscard]] virtual Ref<CDCheckin> firstCheckin(const Ref<CDActivity>& of,
                                                    domain::ActivityStatus with) const = 0;
  /// The check-in of the latest day, of any type; null when there is none.
  [[nodiscard]] virtual Ref<CDCheckin> lastCheckin(const Ref<CDActivity>& of) const = 0;

  /// Every activity.
  [[nodiscard]] virtual NSArray<CDActivity> activities() const = 0;
  /// The active activities of the group, or without one (null) those that are in no group. By
  /// their place in the group, the newest first among equals.
  [[nodiscard]] virtual NSArray<CDActivity> activities(const Ref<CDGroup>& of) const = 0;
  /// The activities of that status, in the order of the groups and of their places within; the
  /// newest first among equals. Those in no group come before all others.
  [[nodiscard]] virtual NSArray<CDActivity> activities(domain::ActivityStatus with) const = 0;
  /// Of these, in the same order, those that were made by the instant `to`, and those made later
  /// that have a check-in in the period.
  [[nodiscard]] virtual NSArray<CDActivity> activities(domain::ActivityStatus with,
                                                       foundation::Date from,
                                                       foundation::Date to) const = 0;

  [[nodiscard]] virtual std::int64_t numberOfActivities(domain::ActivityStatus with) const = 0;
  [[nodiscard]] virtual std::int64_t numberOfActivities() const = 0;
  [[nodiscard]] virtual std::int64_t numberOfAchievedActivities() const = 0;

  /// How many times the activity was done in a year, in a month or on a day: the sum of the counts
  /// of the check-ins, as the store has them; 0 when that is no whole number. One sum over an
  /// index, whose cost grows with the check-ins of that time alone.
  [[nodiscard]] virtual std::int64_t numberOfCheckins(const Ref<CDActivity>& activity,
                                                      const CheckinTypes& types,
                                                      domain::CalendarItem item) const = 0;
  [[nodiscard]] std::int64_t numberOfCheckins(const Ref<CDActivity>& activity,
                                              domain::CalendarItem item) const;
  /// The same sum over a period, which is open where an end is absent.
  [[nodiscard]] virtual std::int64_t numberOfCheckins(const Ref<CDActivity>& of,
                                                      const CheckinTypes& types,
                                                      std::optional<foundation::Date> from,
                                                      std::optional<foundation::Date> to) const = 0;
  [[nodiscard]] std::int64_t numberOfCheckins(const Ref<CDActivity>& of,
                                              std::optional<foundation::Date> from,
                                              std::optional<foundation::Date> to) const;
};

}  // namespace coredatastack
