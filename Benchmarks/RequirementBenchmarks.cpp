#include <algorithm>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Requirements.h"
#include "Logger/StandardErrorLogger.h"

namespace benchmarks {

using coredatastack::CDActivity;

namespace {
constexpr double kMicroseconds = 1e6;
/// Many, since they are short: a round that something else disturbs must not decide.
constexpr int kRounds = 81;
}  // namespace

Interview::Interview(const Requirement& requirement, std::shared_ptr<Fixture> fixture,
                     const Workload& workload)
    : requirement_(requirement),
      fixture_(std::move(fixture)),
      api_(fixture_->ours().viewContext(), foundation::make<logger::StandardErrorLogger>()),
      statement_(fixture_->byHand().statement(requirement.sql)) {
  const int count = std::min(requirement.questionsInARound, workload.queriesInARound);
  auto& view = *fixture_->ours().viewContext();
  for (int number = 0; number < count; ++number) {
    const Question chosen = question(workload, static_cast<std::uint64_t>(number));
    asked_.push_back({foundation::as<CDActivity>(
                          view.objectWithID(*fixture_->activity(chosen.activity)->objectID())),
                      chosen.activity, noonOf(chosen.firstDay), noonOf(chosen.lastDay)});
  }
}

template <typename F>
Run Interview::summed(F&& ask) const {
  Run run;
  run.cost = costOf([&] {
               for (const Asked& asked : asked_) run.answer += ask(asked);
             }) *
             (kMicroseconds / static_cast<double>(asked_.size()));
  return run;
}

Run Interview::ours() {
  return summed([&](const Asked& asked) { return requirement_.ours(api_, asked); });
}

Run Interview::byHand() {
  return summed([&](const Asked& asked) {
    Parameters parameters;
    requirement_.bind(statement_, asked, parameters);
    const std::int64_t answer = requirement_.read(statement_);
    statement_.reset();
    return answer;
  });
}

std::vector<Comparison> requirements() {
  std::vector<Comparison> result;
  for (const Requirement& requirement : allRequirements()) {
    result.push_back(
        {std::string("api: ") + requirement.name, "us", 1.15, kRounds, Clock::processor,
         [&requirement](const Workload& workload) {
           auto fixture = std::make_shared<TemporaryFixture>(workload.activities, workload.days);
           const auto interview =
               std::make_shared<Interview>(requirement, std::move(fixture), workload);
           return Sides{[=] { return interview->ours(); }, [=] { return interview->byHand(); }};
         }});
  }
  return result;
}

}  // namespace benchmarks
