#include "Benchmarks/Harness.h"

#include <algorithm>
#include <chrono>
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

}  // namespace

Result compare(const Comparison& comparison, const Workload& workload, int rounds) {
  const Sides sides = comparison.prepare(workload);
  requireAgreement(comparison, runInTurn(sides, true));
  std::vector<double> ours;
  std::vector<double> byHand;
  std::vector<double> ratios;
  for (int number = 0; number < rounds; ++number) {
    const Round round = runInTurn(sides, number % 2 == 0);
    requireAgreement(comparison, round);
    ours.push_back(round.ours.cost);
    byHand.push_back(round.byHand.cost);
    ratios.push_back(round.ours.cost / round.byHand.cost);
  }
  Result result;
  result.name = comparison.name;
  result.unit = comparison.unit;
  result.target = comparison.target;
  result.rounds = rounds;
  result.ours = medianOf(ours);
  result.byHand = medianOf(byHand);
  result.lowerQuartile = quantileOf(ratios, 0.25);
  result.upperQuartile = quantileOf(ratios, 0.75);
  result.ratio = medianOf(ratios);
  return result;
}

double secondsOf(const std::function<void()>& block) {
  const auto start = std::chrono::steady_clock::now();
  block();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double medianOf(std::span<double> numbers) { return quantileOf(numbers, 0.5); }

void printHeading() {
  std::printf("%-26s %-5s %10s %10s %7s %13s %7s %7s\n", "operation", "unit", "ours", "by hand",
              "ratio", "half between", "target", "rounds");
}

void printRow(const Result& result) {
  std::printf("%-26s %-5s %10.2f %10.2f %7.2f %6.2f-%-6.2f %7.2f %7d%s\n", result.name.c_str(),
              result.unit.c_str(), result.ours, result.byHand, result.ratio, result.lowerQuartile,
              result.upperQuartile, result.target, result.rounds,
              result.ratio <= result.target ? "" : "  missed");
  std::fflush(stdout);
}

void printJSON(std::span<const Result> results) {
  auto list = nlohmann::ordered_json::array();
  for (const Result& result : results) {
    list.push_back({{"name", result.name},
                    {"unit", result.unit},
                    {"ours", result.ours},
                    {"byHand", result.byHand},
                    {"ratio", result.ratio},
                    {"lowerQuartile", result.lowerQuartile},
                    {"upperQuartile", result.upperQuartile},
                    {"target", result.target},
                    {"rounds", result.rounds}});
  }
  std::puts(list.dump(2).c_str());
}

}  // namespace benchmarks
