#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "Benchmarks/Cost.h"
#include "Benchmarks/Workload.h"

namespace benchmarks {

/// By which clock a comparison is judged. On a machine that does nothing else both say the same of
/// what does not wait for the disk.
enum class Clock : std::uint8_t { elapsed, processor };

/// One measured run of one side.
struct Run {
  /// What it cost, in the comparison's unit.
  Cost cost;
  /// What it found out or wrote, as a number that both sides must agree on.
  std::int64_t answer = 0;
};

/// The two ways of doing one thing, each over a store of its own.
struct Sides {
  std::function<Run()> ours;
  std::function<Run()> byHand;
};

/// An operation of the library beside the same work written by hand.
struct Comparison {
  std::string name;
  std::string unit;
  /// The highest ratio that we are content with.
  double target = 1;
  /// How often it is repeated unless asked otherwise.
  int rounds = 15;
  Clock clock = Clock::processor;
  /// Makes what both sides work on.
  std::function<Sides(const Workload&)> prepare;
  /// The highest cost of ours that we are content with, whatever the other side's is.
  double most = std::numeric_limits<double>::infinity();
};

struct Result {
  std::string name;
  std::string unit;
  /// Medians over the rounds. The ratio is that of each round's two costs, so that a machine which
  /// is slow for a while is slow for both.
  double ours = 0;
  double byHand = 0;
  double ratio = 0;
  /// Between which ratios half of the rounds lie.
  double lowerQuartile = 0;
  double upperQuartile = 0;
  /// The ratio by the clock that does not judge.
  double otherRatio = 0;
  Clock clock = Clock::processor;
  double target = 0;
  int rounds = 0;
  double most = 0;

  [[nodiscard]] bool isMissed() const noexcept { return ratio > target || ours > most; }
};

/// Runs both sides in turn, each first in every other round, after one run of each that does not
/// count. Throws `std::runtime_error` when their answers differ.
[[nodiscard]] Result compare(const Comparison& comparison, const Workload& workload, int rounds);

/// The median of each clock.
[[nodiscard]] Cost medianOf(std::span<const Cost> costs);

/// Results as a table for people, and as JSON.
void printHeading();
void printRow(const Result& result);
void printJSON(std::span<const Result> results);

}  // namespace benchmarks
