#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Rows/ObjectKey.h"
#include "CoreData/SQLite/StoreInspection.h"
#include "Tools/storecheck/Findings.h"

namespace storecheck {

/// What a text is as the key of a day ("2024-02-10") or a month ("2024-02").
enum class KeyForm : std::uint8_t {
  gregorian,  ///< a day or month of the Gregorian calendar in Latin digits
  other,      ///< of the form, but of another calendar or in other digits
  none        ///< nothing that any device writes
};
[[nodiscard]] KeyForm formOfDay(std::string_view text);
[[nodiscard]] KeyForm formOfMonth(std::string_view text);

/// Looks at the days of check-ins and the months of reviews.
///
/// - A text that is no key at all is an error. One that is no Gregorian day is a warning: a device
///   writes keys in its own calendar and digits, but they do not sort among others.
/// - Two check-ins of one activity on one day are a warning: the use cases keep to one, but two
///   devices or processes may each have made theirs before they heard of the other, and nothing in
///   a store forbids it.
class DayCheck {
 public:
  void add(const coredata::NSEntityDescription& entity, coredata::StoredRow row,
           Findings& findings);
  /// When all rows were added.
  void checkSameDays(Findings& findings);

 private:
  struct Checkin {
    coredata::ObjectKey activity;
    std::string day;
    coredata::ObjectKey key;
    friend auto operator<=>(const Checkin&, const Checkin&) = default;
  };

  std::vector<Checkin> checkins_;
};

}  // namespace storecheck
