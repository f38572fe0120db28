#pragma once

#include "Domain/CheckinType.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/Ref.h"

namespace domain {

/// Checks one activity in and out, day by day. `Checkin` is the class that stands for a check-in
/// wherever the data is kept.
///
/// Every write is saved before it returns. All operations throw `CheckinError` where they say so,
/// and whatever the store throws, unchanged.
///
/// Threading: as the data underneath says.
template <typename Checkin>
class CheckinRecorder {
 public:
  CheckinRecorder() = default;
  CheckinRecorder(const CheckinRecorder&) = delete;
  CheckinRecorder& operator=(const CheckinRecorder&) = delete;
  virtual ~CheckinRecorder() = default;

  /// Checks the activity in on the day of the date. Throws `CheckinError::alreadyExists` when that
  /// day has a check-in of any type, and then writes nothing.
  virtual void addCheckin(foundation::Date at, CheckinType with) = 0;
  /// Once more on the day of the date: raises the count of its check-in by exactly one, whatever
  /// `amount` is, or makes an ordinary check-in. Gives the check-in.
  virtual foundation::Ref<Checkin> addCheckinCount(double amount, foundation::Date date) = 0;
  /// Takes the check-in of the day back. Throws `CheckinError::notFound` when there is none, and
  /// then writes nothing.
  virtual void deleteCheckin(foundation::Date at) = 0;
};

}  // namespace domain
