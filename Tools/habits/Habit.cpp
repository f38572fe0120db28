#include "Tools/habits/Habit.h"

#include <charconv>
#include <map>
#include <optional>

#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Text/DayKey.h"
#include "Tools/habits/Failures.h"

namespace habits {

using coredata::NSArray;
using coredata::NSManagedObjectContext;
using coredatastack::CDActivity;
using foundation::NSPredicate;
using foundation::Ref;

namespace {

constexpr char kMark = '#';

auto oldestFirst() {
  auto request = CDActivity::fetchRequest();
  request.setSortDescriptors({{"createdDate", true}});
  return request;
}

NSArray<CDActivity> activitiesTitled(std::string_view title, NSManagedObjectContext& context) {
  auto request = oldestFirst();
  request.setPredicate(NSPredicate::format("title = %@", title));
  return context.fetch(request);
}

std::string numbered(const std::string& title, std::size_t number) {
  return title + kMark + std::to_string(number);
}

/// "Run#2" taken apart.
struct NumberedName {
  std::string_view title;
  std::size_t number;
};

std::optional<NumberedName> takenApart(std::string_view name) {
  const std::size_t mark = name.rfind(kMark);
  if (mark == std::string_view::npos) return std::nullopt;
  std::size_t number = 0;
  const char* end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data() + mark + 1, end, number);
  if (error != std::errc() || stop != end || number == 0) return std::nullopt;
  return NumberedName{name.substr(0, mark), number};
}

[[noreturn]] void refuseMissing(std::string_view name) {
  throw Refusal("There is no habit \"" + std::string(name) +
                "\". \"habits list\" shows those that there are.");
}

[[noreturn]] void refuseSeveral(const std::string& title, const NSArray<CDActivity>& candidates) {
  std::string text =
      std::to_string(candidates.size()) + " habits are called \"" + title + "\". Say which one:";
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    text += "\n  \"" + numbered(title, i + 1) + "\"";
    if (const auto since = candidates[i]->createdDate()) {
      text += ", added on " + foundation::DayKey(*since).string();
    }
  }
  throw Refusal(text);
}

}  // namespace

std::string titleOf(const CDActivity& activity) { return activity.title().value_or(""); }

std::vector<Habit> allHabits(NSManagedObjectContext& context) {
  std::vector<Habit> habits;
  std::map<std::string, std::vector<std::size_t>> placesByTitle;
  for (const Ref<CDActivity> activity : context.fetch(oldestFirst())) {
    placesByTitle[titleOf(*activity)].push_back(habits.size());
    habits.push_back({activity, titleOf(*activity)});
  }
  for (const auto& [title, places] : placesByTitle) {
    if (places.size() == 1) continue;
    for (std::size_t i = 0; i < places.size(); ++i) habits[places[i]].name = numbered(title, i + 1);
  }
  return habits;
}

Habit habitNamed(std::string_view name, NSManagedObjectContext& context) {
  const std::string title(name);
  const auto exact = activitiesTitled(title, context);
  if (exact.size() == 1) return {exact[0], title};
  if (exact.size() > 1) refuseSeveral(title, exact);
  const auto parts = takenApart(name);
  if (!parts) refuseMissing(name);
  const auto candidates = activitiesTitled(parts->title, context);
  if (parts->number > candidates.size()) refuseMissing(name);
  return {candidates[parts->number - 1], title};
}

}  // namespace habits
