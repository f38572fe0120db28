#include <memory>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Fixture.h"
#include "Benchmarks/Reading.h"

namespace benchmarks {

using coredatastack::CDCheckin;
using foundation::Date;

namespace {

constexpr double kMicroseconds = 1e6;
constexpr double kMilliseconds = 1e3;

std::shared_ptr<TemporaryFixture> filledStores(const Workload& workload) {
  return std::make_shared<TemporaryFixture>(workload.activities, workload.days);
}

Run fetchOurs(EngineStore& store) {
  Run run;
  run.cost = costOf([&] { run.answer = readEverything(store); }) * kMilliseconds;
  return run;
}

Run fetchByHand(HandWrittenStore& store) {
  Run run;
  run.cost = costOf([&] { run.answer = readEverything(store); }) * kMilliseconds;
  return run;
}

/// Asks for days of which half have a check-in.
class Days {
 public:
  explicit Days(const Workload& workload)
      : workload_(workload), fixture_(workload.activities, workload.days) {
    for (int number = 0; number < workload.queriesInARound; ++number) {
      const Question asked = question(workload_, static_cast<std::uint64_t>(number));
      const int day = number % 2 == 0 ? asked.firstDay : asked.firstDay + workload_.days;
      questions_.push_back({asked.activity, noonOf(day)});
    }
  }

  Run oursOneByOne() {
    return counted([&](const Asked& asked) {
      return fixture_.ours().inBlock([&] { return answerOf(asked); });
    });
  }
  Run oursInOneBlock() {
    Run run;
    run.cost = costOf([&] {
                 fixture_.ours().inBlock([&] {
                   for (const Asked& asked : questions_) run.answer += answerOf(asked) ? 1 : 0;
                 });
               }) *
               (kMicroseconds / static_cast<double>(questions_.size()));
    return run;
  }
  Run byHand() {
    return counted([&](const Asked& asked) {
      return fixture_.byHand().didCheckin(asked.activity, dayOf(asked.time));
    });
  }

 private:
  struct Asked {
    std::int64_t activity;
    std::int64_t time;
  };

  [[nodiscard]] bool answerOf(const Asked& asked) const {
    return fixture_.activity(asked.activity)
        ->didCheckin(Date::from1970(static_cast<double>(asked.time)));
  }

  template <typename F>
  Run counted(F&& ask) const {
    Run run;
    run.cost = costOf([&] {
                 for (const Asked& asked : questions_) run.answer += ask(asked) ? 1 : 0;
               }) *
               (kMicroseconds / static_cast<double>(questions_.size()));
    return run;
  }

  Workload workload_;
  TemporaryFixture fixture_;
  std::vector<Asked> questions_;
};

}  // namespace

Comparison fetchOfEverything() {
  return {"fetch of everything", "ms", 0.85, 21, Clock::processor, [](const Workload& workload) {
            const auto stores = filledStores(workload);
            return Sides{[=] { return fetchOurs(stores->ours()); },
                         [=] { return fetchByHand(stores->byHand()); }};
          }};
}

Comparison dayByDay() {
  return {"did check in, a call", "us", 1.15, 51, Clock::processor, [](const Workload& workload) {
            const auto days = std::make_shared<Days>(workload);
            return Sides{[=] { return days->oursOneByOne(); }, [=] { return days->byHand(); }};
          }};
}

Comparison daysInOneBlock() {
  return {
      "did check in, in a block", "us", 0.35, 51, Clock::processor, [](const Workload& workload) {
        const auto days = std::make_shared<Days>(workload);
        return Sides{[=] { return days->oursInOneBlock(); }, [=] { return days->byHand(); }};
      }};
}

}  // namespace benchmarks
