#include "Domain/CheckinType.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Day.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/Queries.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredata::NSArray;
using coredatastack::API;
using coredatastack::CDCheckin;
using domain::CheckinType;
using foundation::Date;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

/// The days to look at, open where an end is absent.
struct Period {
  std::optional<Date> from;
  std::optional<Date> to;
};

Period periodOf(const StatsQuestion& question) {
  Period period;
  if (question.from) period.from = dayArgument(question.from);
  if (question.to) period.to = dayArgument(question.to);
  if (period.from && period.to && dayOf(*period.to) < dayOf(*period.from)) {
    throw UsageError("--to lies before --from.");
  }
  return period;
}

API::CheckinTypes typesOf(const StatsQuestion& question) {
  std::vector<CheckinType> types;
  types.reserve(question.types.size());
  for (const std::string& name : question.types) {
    types.emplace_back(name == kAlternateType ? CheckinType::alternate : CheckinType::standard);
  }
  return types;
}

struct Stats {
  std::size_t days = 0;
  double times = 0;
  std::optional<std::string> first;
  std::optional<std::string> last;
};

Stats statsOf(const NSArray<CDCheckin>& checkins) {
  Stats stats;
  for (const Ref<CDCheckin> checkin : checkins) {
    const std::string day = checkin->date().value_or("");
    ++stats.days;
    stats.times += checkin->count();
    if (!stats.first || day < *stats.first) stats.first = day;
    if (!stats.last || day > *stats.last) stats.last = day;
  }
  return stats;
}

std::string textOf(const Stats& stats) {
  Table table;
  table.add({"Days", std::to_string(stats.days)});
  table.add({"Times", foundation::NSNumber(stats.times).stringValue()});
  table.add({"First", stats.first.value_or("never")});
  table.add({"Last", stats.last.value_or("never")});
  return table.text();
}

Value dataOf(const Stats& stats, const Habit& habit) {
  return ValueDictionary{{"title", titleOf(*habit.activity)},
                         {"name", habit.name},
                         {"days", static_cast<std::int64_t>(stats.days)},
                         {"times", stats.times},
                         {"first", stats.first},
                         {"last", stats.last}};
}

}  // namespace

Answer stats(const Session& session, const StatsQuestion& question) {
  const Period period = periodOf(question);
  const Habit habit = habitNamed(question.name, session.context());
  const auto checkins = Queries(session).answer([&](const API& api) {
    return api.checkins(habit.activity, typesOf(question),
                        period.from.value_or(Date::distantPast()),
                        period.to.value_or(Date::distantFuture()));
  });
  const Stats stats = statsOf(checkins);
  return {textOf(stats), dataOf(stats, habit)};
}

}  // namespace habits
