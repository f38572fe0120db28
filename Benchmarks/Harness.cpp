#include "Benchmarks/Harness.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace benchmarks {

namespace {

double quantileOf(std::span<double> numbers, double share) {
  if (numbers.empty()) throw std::runtime_error("nothing was measured");
  const auto index =
      static_cast<std::size_t>(static_cast<double>(numbers.size() - 1) * share + 0.5);
  std::ranges::nth_element(numbers, numbers.begin() + static_cast<std::ptrdiff_t>(index));
  return numbers[index];
}

struct Round {
  Run ours;
  Run byHand;
};

Round runInTurn(const Sides& sides, bool oursFirst) {
  Round round;
  if (oursFirst) round.ours = sides.ours();
  round.byHand = sides.byHand();
  if (!oursFirst) round.ours = sides.ours();
  return round;
}

void requireAgreement(const Comparison& comparison, const Round& round) {
  if (round.ours.answer == round.byHand.answer) return;
  throw std::runtime_error(comparison.name + ": we found " + std::to_string(round.ours.answer) +
                           ", by hand it is " + std::to_string(round.byHand.answer));
}

std::vector<double> numbersOf(std::span<const Cost> costs, Clock clock) {
  std::vector<double> numbers;
  for (const Cost& cost : costs) {
    numbers.push_back(clock == Clock::elapsed ? cost.elapsed : cost.processor);
  }
  return numbers;
}

double quantileOf(std::span<const Cost> costs, Clock clock, double share) {
  std::vector<double> numbers = numbersOf(costs, clock);
  return quantileOf(numbers, share);
}

Result summaryOf(const Comparison& comparison, std::span<const Round> rounds) {
  std::vector<Cost> ours;
  std::vector<Cost> byHand;
  std::vector<Cost> ratios;
  for (const Round& round : rounds) {
    ours.push_back(round.ours.cost);
    byHand.push_back(round.byHand.cost);
    ratios.push_back({ours.back().elapsed / byHand.back().elapsed,
                      ours.back().processor / byHand.back().processor});
  }
  const Clock clock = comparison.clock;
  const Clock other = clock == Clock::elapsed ? Clock::processor : Clock::elapsed;
  return {.name = comparison.name,
          .unit = comparison.unit,
          .ours = quantileOf(ours, clock, 0.5),
          .byHand = quantileOf(byHand, clock, 0.5),
          .ratio = quantileOf(ratios, clock, 0.5),
          .lowerQuartile = quantileOf(ratios, clock, 0.25),
          .upperQuartile = quantileOf(ratios, clock, 0.75),
          .otherRatio = quantileOf(ratios, other, 0.5),
          .clock = clock,
          .target = comparison.target,
          .rounds = static_cast<int>(rounds.size()),
          .most = comparison.most};
}

}  // namespace

Result compare(const Comparison& comparison, const Workload& workload, int rounds) {
  const Sides sides = comparison.prepare(workload);
  requireAgreement(comparison, runInTurn(sides, true));
  std::vector<Round> results;
  for (int number = 0; number < rounds; ++number) {
    results.push_back(runInTurn(sides, number % 2 == 0));
    requireAgreement(comparison, results.back());
  }
  return summaryOf(comparison, results);
}

Cost medianOf(std::span<const Cost> costs) {
  return {quantileOf(costs, Clock::elapsed, 0.5), quantileOf(costs, Clock::processor, 0.5)};
}

void printHeading() {
  std::printf("%-26s %-4s %9s %9s %6s %12s %9s %7s %6s\n", "operation", "unit", "ours", "by hand",
              "ratio", "half between", "elapsed", "target", "rounds");
}

void printRow(const Result& result) {
  const bool isElapsed = result.clock == Clock::elapsed;
  std::printf("%-26s %-4s %9.2f %9.2f %6.2f %6.2f-%-5.2f %9.2f %7.2f %6d%s\n", result.name.c_str(),
              result.unit.c_str(), result.ours, result.byHand, result.ratio, result.lowerQuartile,
              result.upperQuartile, isElapsed ? result.ratio : result.otherRatio, result.target,
              result.rounds, result.isMissed() ? "  missed" : "");
  std::fflush(stdout);
}

void printJSON(std::span<const Result> results) {
  auto list = nlohmann::ordered_json::array();
  for (const Result& result : results) {
    const bool isElapsed = result.clock == Clock::elapsed;
    list.push_back({{"name", result.name},
                    {"unit", result.unit},
                    {"clock", isElapsed ? "elapsed" : "processor"},
                    {"ours", result.ours},
                    {"byHand", result.byHand},
                    {"ratio", result.ratio},
                    {"lowerQuartile", result.lowerQuartile},
                    {"upperQuartile", result.upperQuartile},
                    {"elapsedRatio", isElapsed ? result.ratio : result.otherRatio},
                    {"target", result.target},
                    {"rounds", result.rounds}});
  }
  std::puts(list.dump(2).c_str());
}

}  // namespace benchmarks
