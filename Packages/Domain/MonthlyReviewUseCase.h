#pragma once

#include "Foundation/Values/Date.h"
#include "Foundation/Values/Ref.h"

namespace domain {

/// What a user writes about each month, one review a month. `Review` is the class that stands for
/// one wherever the data is kept.
///
/// Neither operation throws.
///
/// Threading: as the data underneath says.
template <typename Review>
class MonthlyReviewUseCase {
 public:
  MonthlyReviewUseCase() = default;
  MonthlyReviewUseCase(const MonthlyReviewUseCase&) = delete;
  MonthlyReviewUseCase& operator=(const MonthlyReviewUseCase&) = delete;
  virtual ~MonthlyReviewUseCase() = default;

  /// The review of the date's month, made and saved when there is none yet. Never null: when it
  /// cannot be read or saved, a new one comes back that is not stored.
  [[nodiscard]] virtual foundation::Ref<Review> review(foundation::Date by) = 0;
  /// Saves what the caller has changed in the review.
  virtual void update(const foundation::Ref<Review>& review) = 0;
};

}  // namespace domain
