#include "CoreDataStack/Queries/API.h"

namespace coredatastack {

using coredata::NSArray;
using domain::CalendarItem;
using domain::CheckinType;
using domain::DateFormat;
using foundation::Date;
using foundation::Ref;

namespace {

const API::CheckinTypes& ordinary() {
  static const API::CheckinTypes types{{CheckinType::standard}};
  return types;
}

}  // namespace

NSArray<CDCheckin> API::checkins(const Ref<CDActivity>& of) const {
  return checkins(of, ordinary());
}

NSArray<CDCheckin> API::checkins(const Ref<CDActivity>& of, Date date, DateFormat format) const {
  return checkins(of, ordinary(), date, format);
}

std::int64_t API::numberOfCheckins(const Ref<CDActivity>& activity, CalendarItem item) const {
  return numberOfCheckins(activity, ordinary(), item);
}

std::int64_t API::numberOfCheckins(const Ref<CDActivity>& of, std::optional<Date> from,
                                   std::optional<Date> to) const {
  return numberOfCheckins(of, ordinary(), from, to);
}

}  // namespace coredatastack
