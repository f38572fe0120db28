#include "CoreDataStack/UseCases/CoreDataMonthlyReviewUseCase.h"

#include <string>
#include <utility>
#include <vector>

#include "Foundation/Predicate/PredicateTemplate.h"
#include "Foundation/Text/DayKey.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using foundation::Date;
using foundation::Error;
using foundation::PredicateTemplate;
using foundation::Ref;
using foundation::SortDescriptors;

namespace {

NSFetchRequest<CDMonthlyReview> requestForMonth(std::string_view month) {
  static constinit PredicateTemplate ofMonth{"date = %@"};
  static const SortDescriptors latestFirst{{"date", false}};
  NSFetchRequest<CDMonthlyReview> request = CDMonthlyReview::fetchRequest();
  request.setPredicate(ofMonth.bind(month));
  request.setFetchLimit(1);
  request.setIncludesSubentities(true);
  request.setSortDescriptors(latestFirst);
  return request;
}

}  // namespace

CoreDataMonthlyReviewUseCase::CoreDataMonthlyReviewUseCase(Ref<NSManagedObjectContext> context,
                                                           Ref<logger::Loggable> logger)
    : context_(std::move(context)), logger_(std::move(logger)) {}

Ref<CDMonthlyReview> CoreDataMonthlyReviewUseCase::review(Date by) {
  const foundation::DayKey day(by);
  const Ref<CDMonthlyReview> known = stored(day.month());
  return known ? known : create(day.month());
}

void CoreDataMonthlyReviewUseCase::update(const Ref<CDMonthlyReview>& /*review*/) {
  try {
    context_->save();
  } catch (const Error& error) {
    logger_->error(error);
    foundation::print(error.description());
  }
}

Ref<CDMonthlyReview> CoreDataMonthlyReviewUseCase::stored(std::string_view month) const {
  try {
    return context_->fetchFirst(requestForMonth(month));
  } catch (const Error& error) {
    foundation::print(error.description());
    logger_->error(error);
    return nullptr;
  }
}

Ref<CDMonthlyReview> CoreDataMonthlyReviewUseCase::create(std::string_view month) const {
  auto review = foundation::make<CDMonthlyReview>(*context_);
  review->setCreatedDate(Date::now());
  review->setModifiedDate(Date::now());
  review->setDate(std::string(month));
  try {
    context_->save();
  } catch (const Error&) {
    // The user can go on to write; `update` saves again, and then says what is wrong.
  }
  return review;
}

}  // namespace coredatastack
