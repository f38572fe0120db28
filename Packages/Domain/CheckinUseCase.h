#pragma once

#include <optional>
#include <unordered_map>

#include "Domain/ActivityStatus.h"
#include "Domain/CheckinRecorder.h"

namespace domain {

/// Checks one activity in and out, and tells how up to date all of them are. `Activity` and
/// `Checkin` are the classes that stand for the two wherever the data is kept.
///
/// Threading: as the data underneath says.
template <typename Activity, typename Checkin>
class CheckinUseCase : public CheckinRecorder<Checkin> {
 public:
  using LastCheckins = std::unordered_map<foundation::Ref<Activity>, foundation::Date>;

  /// The day of the latest check-in of every activity, or of every activity of that status, as the
  /// day's first instant. Activities without check-ins are not in it. Throws whatever the store
  /// throws.
  [[nodiscard]] virtual LastCheckins lastCheckins(std::optional<ActivityStatus> status) = 0;
};

}  // namespace domain
