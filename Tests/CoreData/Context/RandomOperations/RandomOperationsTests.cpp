#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <iostream>
#include <memory>
#include <random>

#include "Tests/CoreData/Context/RandomOperations/Playground.h"
#include "Tests/Support/EnvironmentSetting.h"

namespace {

using graph::Playground;
using graph::Sequence;
using graph::Stage;
using graph::Step;

/// Making a store costs as much as running a sequence, so a few sequences share one.
constexpr std::uint64_t kSequencesPerStage = 50;

struct Failure {
  std::string what;
  std::string log;
};

std::optional<Failure> failureOf(Stage& stage, const Sequence& sequence) {
  Playground playground(stage, sequence);
  try {
    playground.run();
    return std::nullopt;
  } catch (const std::exception& error) {
    return Failure{error.what(), playground.log()};
  }
}

std::optional<Failure> failureOf(const Sequence& sequence) {
  Stage stage;
  return failureOf(stage, sequence);
}

/// Takes out steps, many at a time first, for as long as the sequence fails without them.
Sequence shrunk(Sequence sequence) {
  for (std::size_t count = sequence.steps.size() / 2; count > 0;) {
    bool removedAny = false;
    for (std::size_t begin = 0; begin < sequence.steps.size();) {
      Sequence shorter = sequence;
      const auto first = shorter.steps.begin() + static_cast<std::ptrdiff_t>(begin);
      const auto last = shorter.steps.begin() +
                        static_cast<std::ptrdiff_t>(std::min(begin + count, sequence.steps.size()));
      shorter.steps.erase(first, last);
      if (failureOf(shorter)) {
        sequence = std::move(shorter);
        removedAny = true;
      } else {
        begin += count;
      }
    }
    if (!removedAny || count > 1) count /= 2;
  }
  return sequence;
}

std::string report(std::uint64_t seed, const Sequence& sequence, const Failure& first) {
  const std::string header = "sequence RANDOM_OPERATIONS_SEED=" + std::to_string(seed) + ": ";
  if (!failureOf(sequence)) {
    return header + first.what + "\n(not on a store of its own)\n" + first.log;
  }
  const Sequence small = shrunk(sequence);
  const Failure failure = *failureOf(small);
  return header + failure.what + "\n" + failure.log + graph::description(small);
}

/// The sequence that is being run, for a process that is stopped inside it.
char running[64];
void reportRunning(int) {
  if (::write(STDERR_FILENO, running, std::strlen(running)) < 0) return;
}

TEST(RandomOperations, LeaveTwoContextsAndTheFileAsTheModelSays) {
  const std::uint64_t master =
      support::numberFrom("RANDOM_OPERATIONS_SEED", support::runSeed(20240901));
  const std::uint64_t count = support::numberFrom("RANDOM_OPERATIONS_COUNT", 2000);
  std::cout << "RANDOM_OPERATIONS_SEED=" << master << " RANDOM_OPERATIONS_COUNT=" << count << '\n';
  const auto before = std::signal(SIGABRT, reportRunning);
  std::unique_ptr<Stage> stage;

  for (std::uint64_t i = 0; i < count; ++i) {
    if (i % kSequencesPerStage == 0) stage = std::make_unique<Stage>();
    // The first sequence has the master seed itself, so that a failing one is run again alone.
    const std::uint64_t seed = master + i;
    std::snprintf(running, sizeof running, "stopped in RANDOM_OPERATIONS_SEED=%llu\n",
                  static_cast<unsigned long long>(seed));
    const Sequence sequence = graph::randomSequence(seed);
    const std::optional<Failure> failure = failureOf(*stage, sequence);
    if (failure) {
      ADD_FAILURE() << report(seed, sequence, *failure);
      break;
    }
    stage->clear();
  }
  std::signal(SIGABRT, before);
}

}  // namespace
