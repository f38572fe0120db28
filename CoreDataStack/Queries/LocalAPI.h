#pragma once

#include <type_traits>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/Queries/API.h"
#include "Foundation/Values/FatalError.h"
#include "Logger/Loggable.h"

namespace coredatastack {

/// The queries over a context. Keeps nothing but the two: every call fetches anew, in one request.
///
/// When the store fails, the error is printed to standard output and handed to the logger, and
/// nothing is tried again.
///
/// Threading: use it on the context's queue.
class LocalAPI final : public API {
 public:
  LocalAPI(Ref<coredata::NSManagedObjectContext> context, Ref<logger::Loggable> logger);

  // The shorthands, which the functions of the same names below would hide.
  using API::checkins;
  using API::numberOfCheckins;

  [[nodiscard]] NSArray<CDCheckin> checkins(const Ref<CDActivity>& of,
                                            const CheckinTypes& types) const override;
  [[nodiscard]] NSArray<CDCheckin> checkins(const Ref<CDActivity>& of, const CheckinTypes& types,
                                            foundation::Date date,
                                            domain::DateFormat format) const override;
  [[nodiscard]] NSArray<CDCheckin> checkins(const Ref<CDActivity>& of, const CheckinTypes& types,
                                            foundation::Date from,
                                            foundation::Date to) const override;
  [[nodiscard]] bool checkinExists(foundation::Date at, const Ref<CDActivity>& of) const override;
  /// Belongs on the queue of the activity's context, which need not be this one's.
  void delete_(const Ref<CDActivity>& activity) override;
  [[nodiscard]] Ref<CDCheckin> firstCheckin(const Ref<CDActivity>& of,
                                            domain::ActivityStatus with) const override;
  [[nodiscard]] Ref<CDCheckin> lastCheckin(const Ref<CDActivity>& of) const override;
  [[nodiscard]] NSArray<CDActivity> activities() const override;
  [[nodiscard]] NSArray<CDActivity> activities(const Ref<CDGroup>& of) const override;
  [[nodiscard]] NSArray<CDActivity> activities(domain::ActivityStatus with) const override;
  [[nodiscard]] NSArray<CDActivity> activities(domain::ActivityStatus with, foundation::Date from,
                                               foundation::Date to) const override;
  [[nodiscard]] std::int64_t numberOfActivities(domain::ActivityStatus with) const override;
  [[nodiscard]] std::int64_t numberOfActivities() const override;
  [[nodiscard]] std::int64_t numberOfAchievedActivities() const override;
  [[nodiscard]] std::int64_t numberOfCheckins(const Ref<CDActivity>& activity,
                                              const CheckinTypes& types,
                                              domain::CalendarItem item) const override;
  [[nodiscard]] std::int64_t numberOfCheckins(const Ref<CDActivity>& of, const CheckinTypes& types,
                                              std::optional<foundation::Date> from,
                                              std::optional<foundation::Date> to) const override;

 private:
  /// What the query gives, or the empty value of its kind when it fails.
  template <typename Query>
  [[nodiscard]] std::invoke_result_t<Query&> answer(Query query) const {
    try {
      return query();
    } catch (const foundation::Error& error) {
      foundation::print(error.description());
      logger_->error(error);
      return {};
    }
  }
  template <typename T>
  [[nodiscard]] NSArray<T> list(const coredata::NSFetchRequest<T>& request) const {
    return answer([&] { return context_->fetch(request); });
  }
  template <typename T>
  [[nodiscard]] Ref<T> first(const coredata::NSFetchRequest<T>& request) const {
    return answer([&] { return context_->fetchFirst(request); });
  }
  [[nodiscard]] std::int64_t number(const coredata::NSFetchRequestBase& request) const;
  /// The one number of a request for a sum; 0 unless it is whole.
  [[nodiscard]] std::int64_t wholeSum(const coredata::NSFetchRequestBase& request) const;

  Ref<coredata::NSManagedObjectContext> context_;
  Ref<logger::Loggable> logger_;
};

}  // namespace coredatastack
