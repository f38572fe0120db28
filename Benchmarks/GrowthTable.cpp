#include <array>
#include <cstdio>
#include <map>
#include <memory>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Requirements.h"

namespace benchmarks {

namespace {

constexpr std::array kGrowth = {1, 10, 100};
constexpr int kRounds = 7;

/// A cost of ours at each size, and its ratio to the one by hand at the last.
struct Growing {
  std::array<double, kGrowth.size()> ours{};
  std::array<double, kGrowth.size()> byHand{};
};

Result measured(const Requirement& requirement, const std::shared_ptr<Fixture>& fixture,
                const Workload& workload) {
  return compare(
      {requirement.name, "us", 0, kRounds, Clock::processor,
       [&](const Workload&) {
         const auto interview = std::make_shared<Interview>(requirement, fixture, workload);
         return Sides{[=] { return interview->ours(); }, [=] { return interview->byHand(); }};
       }},
      workload, kRounds);
}

void printGrowing(const char* name, const Growing& growing) {
  std::printf("%-26s", name);
  for (const double cost : growing.ours) std::printf(" %10.2f", cost);
  std::printf(" %8.2f %8.2f\n", growing.ours.back() / growing.ours.front(),
              growing.byHand.back() / growing.byHand.front());
}

}  // namespace

void printGrowth(const Workload& smallest) {
  std::map<const Requirement*, Growing> table;
  std::printf("%-26s", "us a question, check-ins:");
  for (std::size_t size = 0; size < kGrowth.size(); ++size) {
    Workload workload = smallest;
    workload.days *= kGrowth[size];
    const auto fixture = std::make_shared<TemporaryFixture>(workload.activities, workload.days);
    for (const Requirement& requirement : allRequirements()) {
      const Result result = measured(requirement, fixture, workload);
      table[&requirement].ours[size] = result.ours;
      table[&requirement].byHand[size] = result.byHand;
    }
    std::printf(" %10d", workload.activities * workload.days);
    std::fflush(stdout);
  }
  std::printf(" %8s %8s\n", "growth", "by hand");
  for (const Requirement& requirement : allRequirements()) {
    printGrowing(requirement.name, table[&requirement]);
  }
}

}  // namespace benchmarks
