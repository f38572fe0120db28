#pragma once

#include "Domain/CheckinRecorder.h"

namespace domain {

/// Checks one activity in and out, and wipes what was recorded. `Checkin` is the class that stands
/// for a check-in wherever the data is kept, `Checkins` a list of them.
///
/// Threading: as the data underneath says.
template <typename Checkin, typename Checkins>
class ActivityUseCase : public CheckinRecorder<Checkin> {
 public:
  /// The check-ins counted more often than `threshold`, those of every other activity too, in no
  /// order. Throws whatever the store throws.
  [[nodiscard]] virtual Checkins checkinsOfOverCount(double threshold) = 0;
  /// Deletes every check-in of the activity for good; the activity and all else that belongs to it
  /// stay. Throws whatever the store throws, and has then deleted nothing.
  virtual void eraseAllData() = 0;
};

}  // namespace domain
