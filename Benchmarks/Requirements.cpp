#include "Benchmarks/Requirements.h"

#include <array>

#include "Benchmarks/Reading.h"

namespace benchmarks {

using coredatastack::CDCheckin;
using coredatastack::LocalAPI;
using domain::ActivityStatus;
using domain::CalendarItem;
using domain::CheckinType;
using domain::DateFormat;
using foundation::Ref;

namespace {

constexpr std::size_t kMonthLength = 7;
constexpr std::size_t kYearLength = 4;

const coredatastack::API::CheckinTypes& ordinaryTypes() {
  static const coredatastack::API::CheckinTypes types{{CheckinType(CheckinType::standard)}};
  return types;
}

// What is read of an answer, on our side.

template <typename List>
std::int64_t readingOfCheckins(const List& checkins) {
  std::int64_t sum = 0;
  for (const auto& checkin : checkins) sum += readingOf(*checkin);
  return sum;
}

std::int64_t readingOfOne(const Ref<CDCheckin>& checkin) {
  return checkin ? readingOf(*checkin) : 0;
}

std::int64_t lengthOf(const std::optional<std::string>& text) {
  return text ? static_cast<std::int64_t>(text->size()) : 0;
}

template <typename List>
std::int64_t readingOfActivities(const List& activities) {
  std::int64_t sum = 0;
  for (const auto& activity : activities) {
    sum += lengthOf(activity->title()) + lengthOf(activity->memo()) + lengthOf(activity->notes()) +
           lengthOf(activity->icon()) + lengthOf(activity->color()) +
           lengthOf(activity->startDate()) + lengthOf(activity->endDate()) + activity->status() +
           static_cast<std::int64_t>(activity->checkinMaxCount()) +
           (activity->createdDate() ? 1 : 0) + (activity->modifiedDate() ? 1 : 0) + 1;
  }
  return sum;
}

// The same by hand.

std::int64_t readCheckins(PreparedStatement& rows) {
  std::vector<CheckinRecord> records;
  while (rows.step()) records.push_back(readCheckin(rows));
  std::int64_t sum = 0;
  for (const CheckinRecord& record : records) sum += readingOf(record);
  return sum;
}

/// An activity as somebody would keep it who read it by hand: all that its table has.
struct ActivityRecord {
  static constexpr std::size_t kTexts = 7;

  std::int64_t id;
  std::int64_t group;
  std::int64_t status;
  double checkinMaxCount;
  std::optional<double> createdDate;
  std::optional<double> modifiedDate;
  std::array<std::optional<std::string>, kTexts> texts;
};

ActivityRecord readActivity(PreparedStatement& row) {
  ActivityRecord record{.id = row.integer(0),
                        .group = row.integer(1),
                        .status = row.integer(2),
                        .checkinMaxCount = row.real(3),
                        .createdDate = row.optionalReal(4),
                        .modifiedDate = row.optionalReal(5),
                        .texts = {}};
  int column = 6;
  for (auto& text : record.texts) text = row.optionalText(column++);
  return record;
}

std::int64_t readActivities(PreparedStatement& rows) {
  std::vector<ActivityRecord> records;
  while (rows.step()) records.push_back(readActivity(rows));
  std::int64_t sum = 0;
  for (const ActivityRecord& record : records) {
    for (const auto& text : record.texts) sum += lengthOf(text);
    sum += record.status + static_cast<std::int64_t>(record.checkinMaxCount) +
           (record.createdDate ? 1 : 0) + (record.modifiedDate ? 1 : 0) + 1;
  }
  return sum;
}

std::int64_t readNumber(PreparedStatement& row) { return row.step() ? row.integer(0) : 0; }

std::int64_t readSum(PreparedStatement& row) {
  return row.step() ? static_cast<std::int64_t>(row.real(0)) : 0;
}

// Parameters.

void lend(PreparedStatement& statement, int parameter, const std::string& text) {
  statement.bind(parameter, std::string_view(text));
}
void bindNothing(PreparedStatement&, const Asked&, Parameters&) {}
void bindActivity(PreparedStatement& statement, const Asked& asked, Parameters&) {
  statement.bind(1, asked.key);
}
void bindDay(PreparedStatement& statement, const Asked& asked, Parameters& parameters) {
  parameters.first = asked.firstDay();
  statement.bind(1, asked.key);
  lend(statement, 2, parameters.first);
}
/// Texts that begin like the first day of the period.
template <std::size_t length>
void bindBeginning(PreparedStatement& statement, const Asked& asked, Parameters& parameters) {
  parameters.first = asked.firstDay().substr(0, length);
  parameters.second = parameters.first + '.';
  statement.bind(1, asked.key);
  lend(statement, 2, parameters.first);
  lend(statement, 3, parameters.second);
}
void bindDays(PreparedStatement& statement, const Asked& asked, Parameters& parameters) {
  parameters = {asked.firstDay(), asked.lastDay()};
  lend(statement, 2, parameters.first);
  lend(statement, 3, parameters.second);
}
void bindPeriod(PreparedStatement& statement, const Asked& asked, Parameters& parameters) {
  statement.bind(1, asked.key);
  bindDays(statement, asked, parameters);
}
void bindInstantAndPeriod(PreparedStatement& statement, const Asked& asked,
                          Parameters& parameters) {
  statement.bind(1, asked.to().timeIntervalSinceReferenceDate());
  bindDays(statement, asked, parameters);
}

CalendarItem monthOf(const Asked& asked) {
  const std::string day = asked.firstDay();
  return CalendarItem::month(std::stoi(day.substr(0, 4)), std::stoi(day.substr(5, 2)));
}

#define CHECKINS "SELECT " BENCHMARKS_CHECKIN_COLUMNS " FROM Checkin WHERE "
#define ACTIVITIES                                                                         \
  "SELECT a.id, a.\"group\", a.status, a.checkinMaxCount, a.createdDate, a.modifiedDate, " \
  "a.color, "                                                                              \
  "a.endDate, a.icon, a.memo, a.notes, a.startDate, a.title FROM Activity a "
#define IN_GROUPS "LEFT JOIN \"Group\" g ON g.id = a.\"group\" "
#define IN_PLACES "LEFT JOIN \"Order\" o ON o.activity = a.id "

constexpr int kCheap = 500;
constexpr int kList = 20;

const Requirement kRequirements[] = {
    {"checkins of an activity", kList,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfCheckins(api.checkins(asked.activity, std::nullopt));
     },
     CHECKINS "activity = ? ORDER BY date", bindActivity, readCheckins},
    {"checkins of a year", kList,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfCheckins(
           api.checkins(asked.activity, ordinaryTypes(), asked.from(), DateFormat::year));
     },
     CHECKINS "activity = ? AND date >= ? AND date < ? AND type IN (0)", bindBeginning<kYearLength>,
     readCheckins},
    {"checkins of a month", kCheap,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfCheckins(
           api.checkins(asked.activity, ordinaryTypes(), asked.from(), DateFormat::month));
     },
     CHECKINS "activity = ? AND date >= ? AND date < ? AND type IN (0)",
     bindBeginning<kMonthLength>, readCheckins},
    {"checkins of a day", kCheap,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfCheckins(
           api.checkins(asked.activity, std::nullopt, asked.from(), DateFormat::day));
     },
     CHECKINS "activity = ? AND date = ?", bindDay, readCheckins},
    {"checkins of a period", kList,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfCheckins(
           api.checkins(asked.activity, ordinaryTypes(), asked.from(), asked.to()));
     },
     CHECKINS "activity = ? AND date >= ? AND date <= ? AND type IN (0)", bindPeriod, readCheckins},
    {"checkinExists", kCheap,
     [](const LocalAPI& api, const Asked& asked) {
       return std::int64_t{api.checkinExists(asked.from(), asked.activity) ? 1 : 0};
     },
     "SELECT count(*) FROM (SELECT 1 FROM Checkin WHERE activity = ? AND date = ? LIMIT 1)",
     bindDay, readNumber},
    {"firstCheckin", kCheap,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfOne(api.firstCheckin(asked.activity, ActivityStatus::active));
     },
     CHECKINS
     "activity = ? AND (SELECT status FROM Activity WHERE id = activity) = 0 ORDER BY date LIMIT 1",
     bindActivity, readCheckins},
    {"lastCheckin", kCheap,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfOne(api.lastCheckin(asked.activity));
     },
     CHECKINS "activity = ? ORDER BY date DESC LIMIT 1", bindActivity, readCheckins},
    {"activities", kList,
     [](const LocalAPI& api, const Asked&) { return readingOfActivities(api.activities()); },
     ACTIVITIES, bindNothing, readActivities},
    {"activities of no group", kList,
     [](const LocalAPI& api, const Asked&) { return readingOfActivities(api.activities(nullptr)); },
     ACTIVITIES IN_PLACES
     "WHERE a.status = 0 AND a.\"group\" IS NULL ORDER BY o.priority, a.createdDate DESC",
     bindNothing, readActivities},
    {"activities of a status", kList,
     [](const LocalAPI& api, const Asked&) {
       return readingOfActivities(api.activities(ActivityStatus::active));
     },
     ACTIVITIES IN_GROUPS IN_PLACES
     "WHERE a.status = 0 ORDER BY g.priority, o.priority, a.createdDate DESC",
     bindNothing, readActivities},
    {"activities of a period", kList,
     [](const LocalAPI& api, const Asked& asked) {
       return readingOfActivities(api.activities(ActivityStatus::active, asked.from(), asked.to()));
     },
     ACTIVITIES IN_GROUPS IN_PLACES
     "WHERE a.status = 0 AND (a.createdDate <= ? OR EXISTS (SELECT 1 FROM Checkin WHERE "
     "activity = a.id AND date >= ? AND date <= ?)) ORDER BY g.priority, o.priority, "
     "a.createdDate DESC",
     bindInstantAndPeriod, readActivities},
    {"numberOfActivities", kCheap,
     [](const LocalAPI& api, const Asked&) {
       return api.numberOfActivities(ActivityStatus::active);
     },
     "SELECT count(*) FROM Activity WHERE status = 0", bindNothing, readNumber},
    {"numberOfCheckins, a month", kCheap,
     [](const LocalAPI& api, const Asked& asked) {
       return api.numberOfCheckins(asked.activity, ordinaryTypes(), monthOf(asked));
     },
     "SELECT total(count) FROM Checkin WHERE activity = ? AND date >= ? AND date < ? AND type IN "
     "(0)",
     bindBeginning<kMonthLength>, readSum},
    {"numberOfCheckins, a period", kCheap,
     [](const LocalAPI& api, const Asked& asked) {
       return api.numberOfCheckins(asked.activity, ordinaryTypes(), asked.from(), asked.to());
     },
     "SELECT total(count) FROM Checkin WHERE activity = ? AND date >= ? AND date <= ? AND type IN "
     "(0)",
     bindPeriod, readSum},
};

}  // namespace

std::span<const Requirement> allRequirements() { return kRequirements; }

}  // namespace benchmarks
