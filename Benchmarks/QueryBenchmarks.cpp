#include <algorithm>
#include <memory>
#include <unordered_map>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Fixture.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Foundation/Predicate/PredicateTemplate.h"
#include "Foundation/Text/DateFormatter.h"

namespace benchmarks {

using coredata::NSExpressionDescription;
using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using coredatastack::CoreDataCheckinUseCase;
using foundation::NSExpression;
using foundation::PredicateTemplate;
using foundation::Ref;

namespace {

constexpr double kMicroseconds = 1e6;
constexpr double kMilliseconds = 1e3;
constexpr std::size_t kMonthLength = 7;

/// Queries of one habit's days: the same ones in every round, each in a turn of its own unless they
/// are asked inside one.
class HabitQueries {
 public:
  explicit HabitQueries(const Workload& workload) : fixture_(workload.activities, workload.days) {
    for (int number = 0; number < workload.queriesInARound; ++number) {
      const Question asked = question(workload, static_cast<std::uint64_t>(number));
      questions_.push_back({asked.activity, dayText(asked.firstDay), dayText(asked.lastDay),
                            dayText(asked.firstDay).substr(0, kMonthLength)});
    }
  }

  Run countsOurs() {
    return summed([this](const Asked& asked) { return inBlock(asked, countOfRange); });
  }
  Run countsByHand() {
    return summed([this](const Asked& asked) {
      return fixture_.byHand().countBetween(asked.activity, asked.first, asked.last);
    });
  }
  Run sumsOurs() {
    return summed([this](const Asked& asked) { return inBlock(asked, sumOfMonth); });
  }
  Run sumsInOneBlock() {
    return fixture_.ours().inBlock([&] { return sumsOurs(); });
  }
  Run sumsByHand() {
    return summed([this](const Asked& asked) {
      return static_cast<std::int64_t>(fixture_.byHand().sumOfMonth(asked.activity, asked.month));
    });
  }

 private:
  struct Asked {
    std::int64_t activity;
    std::string first;
    std::string last;
    std::string month;
  };
  using Query = std::int64_t (*)(EngineStore&, const Ref<CDActivity>&, const Asked&);

  static std::int64_t countOfRange(EngineStore& store, const Ref<CDActivity>& activity,
                                   const Asked& asked) {
    static constinit PredicateTemplate ofRange{"activity = %@ AND %@ <= date AND date <= %@"};
    auto request = CDCheckin::fetchRequest();
    request.setPredicate(
        ofRange.bind(Ref<const CDActivity>(activity.get()), asked.first, asked.last));
    return store.context().count(request);
  }

  static std::int64_t sumOfMonth(EngineStore& store, const Ref<CDActivity>& activity,
                                 const Asked& asked) {
    static constinit PredicateTemplate ofMonth{"activity = %@ AND date BEGINSWITH %@"};
    static const auto* const sum =
        new Ref<NSExpressionDescription>(foundation::make<NSExpressionDescription>(
            "sum", NSExpression::forFunction("sum:", {NSExpression::forKeyPath("count")}),
            coredata::NSAttributeType::double_));
    auto request = CDCheckin::fetchRequest();
    request.setPredicate(ofMonth.bind(Ref<const CDActivity>(activity.get()), asked.month));
    request.setResultType(coredata::NSFetchRequestResultType::dictionaries);
    request.setPropertiesToFetch({*sum});
    return static_cast<std::int64_t>(store.context().fetchDictionaries(request).real(0, 0));
  }

  std::int64_t inBlock(const Asked& asked, Query query) {
    return fixture_.ours().inBlock(
        [&] { return query(fixture_.ours(), fixture_.activity(asked.activity), asked); });
  }

  template <typename F>
  Run summed(F&& ask) const {
    Run run;
    run.cost = costOf([&] {
                 for (const Asked& asked : questions_) run.answer += ask(asked);
               }) *
               (kMicroseconds / static_cast<double>(questions_.size()));
    return run;
  }

  TemporaryFixture fixture_;
  std::vector<Asked> questions_;
};

/// Days since 1970 of all activities' latest check-ins: the same on both sides, in whatever order.
template <typename Map>
std::int64_t sumOfDays(const Map& latest) {
  std::int64_t sum = static_cast<std::int64_t>(latest.size());
  for (const auto& [activity, date] : latest) {
    sum += static_cast<std::int64_t>(date.timeIntervalSince1970()) / 3600;
  }
  return sum;
}

Run latestOurs(Fixture& fixture) {
  Run run;
  run.cost = costOf([&] {
               fixture.ours().inBlock([&] {
                 CoreDataCheckinUseCase checkins(nullptr, fixture.ours().contextHandle());
                 run.answer = sumOfDays(checkins.lastCheckins(std::nullopt));
               });
             }) *
             kMilliseconds;
  return run;
}

/// Rows come in the order of their days, so whatever is written last into the map stays.
Run latestByHand(Fixture& fixture) {
  Run run;
  run.cost = costOf([&] {
               const foundation::DateFormatter format("yyyy-MM-dd");
               std::unordered_map<std::int64_t, foundation::Date> latest;
               PreparedStatement& rows = fixture.byHand().daysOfActivities();
               while (rows.step()) {
                 if (const auto day = format.date(rows.text(1))) latest[rows.integer(0)] = *day;
               }
               rows.reset();
               run.answer = sumOfDays(latest);
             }) *
             kMilliseconds;
  return run;
}

}  // namespace

Comparison countsOfRanges() {
  return {"count of a range", "us", 1.10, 51, Clock::processor, [](const Workload& workload) {
            const auto queries = std::make_shared<HabitQueries>(workload);
            return Sides{[=] { return queries->countsOurs(); },
                         [=] { return queries->countsByHand(); }};
          }};
}

Comparison sumsOfMonths() {
  return {
      "sum of a month", "us", 0.25, 51, Clock::processor, [](const Workload& workload) {
        const auto queries = std::make_shared<HabitQueries>(workload);
        return Sides{[=] { return queries->sumsOurs(); }, [=] { return queries->sumsByHand(); }};
      }};
}

Comparison sumsOfMonthsInOneBlock() {
  return {
      "sum of a month, in a block", "us", 0.25, 51, Clock::processor, [](const Workload& workload) {
        const auto queries = std::make_shared<HabitQueries>(workload);
        return Sides{[=] { return queries->sumsInOneBlock(); },
                     [=] { return queries->sumsByHand(); }};
      }};
}

Comparison latestCheckins() {
  return {
      "latest check-ins", "ms", 1.05, 21, Clock::processor, [](const Workload& workload) {
        const auto stores = std::make_shared<TemporaryFixture>(workload.activities, workload.days);
        return Sides{[=] { return latestOurs(*stores); }, [=] { return latestByHand(*stores); }};
      }};
}

}  // namespace benchmarks
