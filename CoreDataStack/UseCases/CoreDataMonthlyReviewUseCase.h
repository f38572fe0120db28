#pragma once

#include <string_view>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/Model/CDMonthlyReview.h"
#include "Domain/MonthlyReviewUseCase.h"
#include "Logger/Loggable.h"

namespace coredatastack {

/// The monthly reviews in a context. Keeps nothing but the context and the logger: every call looks
/// at the store.
///
/// A save that fails leaves what was to be written pending in the context.
///
/// Threading: use it on the context's queue.
class CoreDataMonthlyReviewUseCase final : public domain::MonthlyReviewUseCase<CDMonthlyReview> {
 public:
  CoreDataMonthlyReviewUseCase(foundation::Ref<coredata::NSManagedObjectContext> context,
                               foundation::Ref<logger::Loggable> logger);

  /// A look-up that fails is printed and logged, and then a new review is made as if there were
  /// none. When a new one cannot be saved nobody is told: it comes back unsaved. Making one saves
  /// everything else that is pending in the context too.
  [[nodiscard]] foundation::Ref<CDMonthlyReview> review(foundation::Date by) override;
  /// Saves the context, whatever the review. A save that fails is logged and printed.
  void update(const foundation::Ref<CDMonthlyReview>& review) override;

 private:
  /// The review of the month; null when there is none or it cannot be read.
  [[nodiscard]] foundation::Ref<CDMonthlyReview> stored(std::string_view month) const;
  [[nodiscard]] foundation::Ref<CDMonthlyReview> create(std::string_view month) const;

  foundation::Ref<coredata::NSManagedObjectContext> context_;
  foundation::Ref<logger::Loggable> logger_;
};

}  // namespace coredatastack
