#include "CoreDataStack/UseCases/CoreDataMonthlyReviewUseCase.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Text/DayKey.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Day.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Queries.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredata::NSManagedObjectContext;
using coredatastack::CDMonthlyReview;
using coredatastack::CoreDataMonthlyReviewUseCase;
using foundation::Date;
using foundation::DayKey;
using foundation::Ref;
using foundation::ValueDictionary;

namespace {

/// A day of the month; of this one when none is named.
Date dateIn(const std::optional<std::string>& month) {
  if (!month) return Date::now();
  // No zone has left out the middle of a month.
  const auto day = plainDay(*month + "-15");
  const auto noon = day ? noonOf(*day) : std::nullopt;
  if (noon) return *noon;
  throw UsageError("\"" + *month + "\" is no month; write it as YYYY-MM, such as 2024-02.");
}

/// Reads without making one, as the use case would.
Ref<CDMonthlyReview> stored(const std::string& month, NSManagedObjectContext& context) {
  auto request = CDMonthlyReview::fetchRequest();
  request.setPredicate(foundation::NSPredicate::format("date = %@", month));
  request.setFetchLimit(1);
  return context.fetchFirst(request);
}

void write(const Session& session, const Date& date, const std::string& text) {
  const auto failure = foundation::make<SilentFailure>();
  CoreDataMonthlyReviewUseCase reviews(session.contextHandle(), failure);
  const Ref<CDMonthlyReview> review = reviews.review(date);
  failure->raise();
  review->setFeedback(text.empty() ? std::nullopt : std::optional(text));
  review->setModifiedDate(Date::now());
  reviews.update(review);
  failure->raise();
}

}  // namespace

Answer review(const Session& session, const MonthText& wanted) {
  const Date date = dateIn(wanted.month);
  const std::string month(DayKey(date).month());
  if (wanted.text) write(session, date, *wanted.text);
  const Ref<CDMonthlyReview> review = stored(month, session.context());
  const auto feedback = review ? review->feedback() : std::nullopt;
  return {feedback ? withoutControls(*feedback) : "Nothing is written about " + month + ".",
          ValueDictionary{{"month", month}, {"text", feedback}}};
}

}  // namespace habits
