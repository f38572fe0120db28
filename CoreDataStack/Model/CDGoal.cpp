#include "CoreDataStack/Model/CDGoal.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Foundation/Files/Bundle.h"
#include "Foundation/Text/LocalizedFormat.h"

namespace coredatastack {

using domain::UserType;

namespace {

using Interval = CDGoal::Interval;

/// What translators look for: the keys of an interval that begins anew.
struct Keys {
  Interval interval;
  std::string_view streaks;
  std::string_view description;
};
constexpr Keys kKeys[] = {
    {Interval::daily, "Daily Streak", "Goal Daily Description"},
    {Interval::weekly, "Weekly Streak", "Goal Weekly Description"},
    {Interval::monthly, "Monthly Streak", "Goal Monthly Description"},
    {Interval::yearly, "Yearly Streak", "Goal Yearly Description"},
};
constexpr std::string_view kNoGoal = "None";

const Keys* keysOf(std::int16_t interval) {
  const auto found = std::ranges::find_if(
      kKeys, [&](const Keys& keys) { return keys.interval.rawValue() == interval; });
  return found == std::end(kKeys) ? nullptr : found;
}

std::string localized(std::string_view key) {
  return foundation::Bundle::main().localizedString(key);
}

bool countsFor(UserType user, Interval interval) {
  const bool isLong = interval == Interval::monthly || interval == Interval::yearly;
  return !isLong || user.mayHaveLongGoals();
}

}  // namespace

std::optional<std::string> CDGoal::localizedStreaks(std::int64_t streaks) const {
  const Keys* keys = keysOf(interval());
  if (keys == nullptr) return std::nullopt;
  return foundation::localizedFormat(localized(keys->streaks), {streaks});
}

std::optional<std::string> CDGoal::localizedDescription(UserType for_) const {
  const auto kind = Interval::withRawValue(interval());
  if (!kind) return std::nullopt;
  if (kind == Interval::none || count() < 1 || !countsFor(for_, *kind)) return localized(kNoGoal);
  if (const Keys* keys = keysOf(interval())) {
    return foundation::localizedFormat(localized(keys->description), {count()});
  }
  // The same words in every language: people know this kind of goal by them.
  return "체크인 후 " + std::to_string(count()) + "일 마다";
}

}  // namespace coredatastack
