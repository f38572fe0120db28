#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Object/ManagedObjectProperties.h"
#include "Domain/Reminder.h"
#include "Foundation/Values/Date.h"

namespace coredatastack {

class CDActivity;

/// On which days of the week and at what time of day an activity reminds its user.
///
/// Threading: belongs to its context's queue.
class CDReminder final : public coredata::NSManagedObject, public domain::Reminder {
  CD_ENTITY(CDReminder, "Reminder")
  CD_INTEGER16(days, setDays, override)
  CD_TEXT(time, setTime, override)
  CD_TO_ONE(CDActivity, activity, setActivity)

 public:
  /// A time of day. No range is enforced.
  struct Time {
    std::int64_t hours = 0;
    std::int64_t minutes = 0;

    /// "9:05", "13:30": the hour as it is, the minute with a zero before it below 10.
    [[nodiscard]] std::string description() const;
    /// The time on the first day of the calendar's year 1, for a picker that shows nothing else. A
    /// time beyond the day rolls over. Stops the process for one that no calendar reaches.
    [[nodiscard]] foundation::Date asDate() const;

    friend bool operator==(const Time&, const Time&) = default;
  };

  // Bits of `days` that stand for no day of the week are ignored, and kept by every change.

  [[nodiscard]] std::vector<domain::DayOfWeek> daysOfWeek() const override;
  /// Whether no day is set.
  [[nodiscard]] bool isOff() const;
  [[nodiscard]] bool hasAllDays() const;
  void addDay(domain::DayOfWeek day) override;
  void removeDay(domain::DayOfWeek day) override;
  [[nodiscard]] bool hasDay(domain::DayOfWeek day) const override;
};

/// The time of day that a text of the form "HH:mm" says, in the user's locale; nine o'clock for any
/// other text.
[[nodiscard]] CDReminder::Time asTime(std::string_view text);

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
