#pragma once

#include <optional>
#include <unordered_map>

#include "Domain/ActivityStatus.h"
#include "Domain/CheckinType.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/Ref.h"

namespace domain {

/// Checks one activity in and out, day by day. `Activity` and `Checkin` are the classes that stand
/// for the two wherever the data is kept.
///
/// Every write is saved before it returns. All operations throw `CheckinError` where they say so,
/// and whatever the store throws, unchanged.
///
/// Threading: as the data underneath says.
template <typename Activity, typename Checkin>
class CheckinUseCase {
 public:
  using LastCheckins = std::unordered_map<foundation::Ref<Activity>, foundation::Date>;

  CheckinUseCase() = default;
  CheckinUseCase(const CheckinUseCase&) = delete;
  CheckinUseCase& operator=(const CheckinUseCase&) = delete;
  virtual ~CheckinUseCase() = default;

  /// Checks the activity in on the day of the date. Throws `CheckinError::alreadyExists` when that
  /// day has a check-in of any type, and then writes nothing.
  virtual void addCheckin(foundation::Date at, CheckinType with) = 0;
  /// Once more on the day of the date: raises the count of its check-in by exactly one, whatever
  /// `amount` is, or makes an ordinary check-in. Gives the check-in.
  virtual foundation::Ref<Checkin> addCheckinCount(double amount, foundation::Date date) = 0;
  /// Takes the check-in of the day back. Throws `CheckinError::notFound` when there is none, and
  /// then writes nothing.
  virtual void deleteCheckin(foundation::Date at) = 0;

  /// The day of the latest check-in of every activity, or of every activity of that status, as the
  /// day's first instant. Activities without check-ins are not in it.
  [[nodiscard]] virtual LastCheckins lastCheckins(std::optional<ActivityStatus> status) = 0;
};

}  // namespace domain
