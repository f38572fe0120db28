#include <memory>
#include <string>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/ChildProcess.h"
#include "Benchmarks/Fixture.h"

namespace benchmarks {

using coredatastack::CDCheckin;

namespace {

constexpr double kMicroseconds = 1e6;
constexpr double kMilliseconds = 1e3;
constexpr int kDaysBeforeProcesses = 30;

/// Stores of both sides, closed, for others to open.
class ClosedStores {
 public:
  ClosedStores(int activities, int days) { Fixture(directory_, activities, days); }

  [[nodiscard]] std::string ours() const { return directory_.ourPath(); }
  [[nodiscard]] std::string byHand() const { return directory_.handWrittenPath(); }

 private:
  StoreDirectory directory_;
};

/// From nothing to the answer to a first question, time and again; closing is not counted.
template <typename Store, typename F>
Run openings(int count, const std::string& path, F&& ask) {
  std::vector<Cost> costs;
  std::int64_t answer = 0;
  for (int number = 0; number < count; ++number) {
    std::unique_ptr<Store> store;
    costs.push_back(costOf([&] {
                      store = std::make_unique<Store>(path, Durability::full);
                      answer += ask(*store);
                    }) *
                    kMicroseconds);
  }
  return {medianOf(costs), answer};
}

std::int64_t activitiesIn(EngineStore& store) {
  return store.inBlock(
      [&] { return store.context().count(coredatastack::CDActivity::fetchRequest()); });
}

Run memoryOf(const char* side, const std::string& path) {
  return runPrintedBy({programBeside("benchmark_memory"), side, path});
}

/// The middle one of several processes, each of which measures its own start.
Run startsOf(const char* side, const std::string& path, const std::string& homes, int count) {
  std::vector<Cost> costs;
  std::int64_t answer = 0;
  for (int number = 0; number < count; ++number) {
    const Run run = runPrintedBy({programBeside("benchmark_start"), side, path, homes});
    costs.push_back(run.cost);
    answer += run.answer;
  }
  return {medianOf(costs), answer};
}

/// Processes that open a store, check in on the next day and end.
class SingleCheckins {
 public:
  explicit SingleCheckins(const Workload& workload)
      : stores_(workload.activities, kDaysBeforeProcesses),
        processes_(workload.processesInARound) {}

  Run ours() { return timesOf("benchmark_checkin", stores_.ours(), ourDay_); }
  Run byHand() { return timesOf("benchmark_checkin_by_hand", stores_.byHand(), handWrittenDay_); }

 private:
  Run timesOf(const char* program, const std::string& path, int& day) const {
    std::vector<Cost> costs;
    std::int64_t answer = 0;
    for (int number = 0; number < processes_; ++number, ++day) {
      const std::vector<std::string> command{programBeside(program), path,
                                             std::to_string(noonOf(day))};
      costs.push_back(costOf([&] { answer += std::stoll(outputOf(command)); }) * kMilliseconds);
    }
    return {medianOf(costs), answer};
  }

  ClosedStores stores_;
  int processes_;
  int ourDay_ = kDaysBeforeProcesses;
  int handWrittenDay_ = kDaysBeforeProcesses;
};

}  // namespace

Comparison openingToFirstQuery() {
  return {"opening to first query", "us", 1.5, 31, Clock::processor, [](const Workload& workload) {
            const auto stores = std::make_shared<ClosedStores>(workload.activities, workload.days);
            const int count = workload.opensInARound;
            return Sides{[=] { return openings<EngineStore>(count, stores->ours(), activitiesIn); },
                         [=] {
                           return openings<HandWrittenStore>(
                               count, stores->byHand(),
                               [](HandWrittenStore& store) { return store.countOfActivities(); });
                         }};
          }};
}

Comparison setupToFirstObject() {
  return {
      "setup to first object", "us", 2.0, 15, Clock::elapsed, [](const Workload& workload) {
        const auto stores = std::make_shared<ClosedStores>(workload.activities, workload.days);
        const auto homes = std::make_shared<support::TemporaryDirectory>();
        const int count = workload.processesInARound;
        return Sides{
            [=] { return startsOf("ours", stores->ours(), homes->path().string(), count); },
            [=] { return startsOf("by-hand", stores->byHand(), homes->path().string(), count); }};
      }};
}

Comparison memoryOfEverything() {
  return {"memory of a million", "MiB", 1.0, 3, Clock::processor, [](const Workload& workload) {
            const auto stores = std::make_shared<ClosedStores>(
                workload.activities, workload.checkinsInMemory / workload.activities);
            return Sides{[=] { return memoryOf("ours", stores->ours()); },
                         [=] { return memoryOf("by-hand", stores->byHand()); }};
          }};
}

Comparison processOfOneCheckin() {
  return {"process of one check-in", "ms", 1.3, 31, Clock::elapsed, [](const Workload& workload) {
            const auto checkins = std::make_shared<SingleCheckins>(workload);
            return Sides{[=] { return checkins->ours(); }, [=] { return checkins->byHand(); }};
          }};
}

}  // namespace benchmarks
