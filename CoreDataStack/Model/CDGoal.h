#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "CoreData/Object/ManagedObjectProperties.h"
#include "Domain/UserType.h"

namespace coredatastack {

class CDActivity;

/// How often an activity should be done.
///
/// Threading: belongs to its context's queue.
class CDGoal final : public coredata::NSManagedObject {
  CD_ENTITY(CDGoal, "Goal")
  CD_INTEGER16(count, setCount)
  CD_INTEGER16(interval, setInterval)
  CD_TO_ONE(CDActivity, activity, setActivity)

 public:
  /// What the goal's count is counted in: times in a day, a week, a month or a year, or the days
  /// from one check-in to the next.
  class Interval {
   public:
    /// The numbers are stored. 5 to 9 are free on purpose: a kind that repeats may still come.
    enum class Case : std::int16_t {
      none = 0,
      daily = 1,
      weekly = 2,
      monthly = 3,
      yearly = 4,
      count = 10
    };
    using enum Case;

    // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
    constexpr Interval(Case which) noexcept : case_(which) {}
    constexpr operator Case() const noexcept { return case_; }
    // NOLINTEND(google-explicit-constructor)

    /// The interval stored under that number; none for a number that stands for none.
    [[nodiscard]] static constexpr std::optional<Interval> withRawValue(
        std::int16_t rawValue) noexcept {
      const auto which = static_cast<Case>(rawValue);
      switch (which) {
        case none:
        case daily:
        case weekly:
        case monthly:
        case yearly:
        case count:
          return which;
      }
      return std::nullopt;
    }
    [[nodiscard]] constexpr std::int16_t rawValue() const noexcept {
      return static_cast<std::int16_t>(case_);
    }
    /// Whether it begins anew with each day, week, month or year.
    [[nodiscard]] constexpr bool isRepeat() const noexcept {
      return case_ != none && case_ != count;
    }

   private:
    Case case_;
  };

  /// "5 days in a row" in the user's language, for so many; none for an interval that has no
  /// streaks. Texts come from the main bundle.
  [[nodiscard]] std::optional<std::string> localizedStreaks(std::int64_t streaks) const;
  /// The goal in words in the user's language; the text for no goal when it asks for nothing or
  /// does not count for the user; none for an unknown interval. Texts come from the main bundle.
  [[nodiscard]] std::optional<std::string> localizedDescription(domain::UserType for_) const;
};

}  // namespace coredatastack

template <>
struct std::hash<coredatastack::CDGoal::Interval> {
  std::size_t operator()(coredatastack::CDGoal::Interval interval) const noexcept {
    return std::hash<std::int16_t>{}(interval.rawValue());
  }
};

#include "CoreDataStack/Model/CDActivity.h"
