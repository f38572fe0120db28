#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "Benchmarks/Benchmarks.h"
#include "Foundation/Text/TimeZone.h"

namespace {

using benchmarks::Comparison;
using benchmarks::Result;
using benchmarks::Workload;

constexpr const char* kUsage =
    "usage: benchmarks [--filter TEXT] [--rounds NUMBER] [--json] [--tiny] [--list] [--growth]\n"
    "  --filter  only operations whose names hold the text\n"
    "  --rounds  rounds of each, instead of its own number\n"
    "  --tiny    small stores and one round: do both sides give the same answers?\n"
    "  --growth  instead: what the questions of the interface cost as a store grows\n";

struct Options {
  std::string_view filter;
  std::optional<int> rounds;
  bool json = false;
  bool tiny = false;
  bool list = false;
  bool growth = false;
};

/// Nothing when the arguments make no sense.
std::optional<Options> parsed(int count, char** arguments) {
  Options options;
  for (int index = 1; index < count; ++index) {
    const std::string_view argument = arguments[index];
    const bool hasValue = index + 1 < count;
    if (argument == "--json") {
      options.json = true;
    } else if (argument == "--tiny") {
      options.tiny = true;
    } else if (argument == "--growth") {
      options.growth = true;
    } else if (argument == "--list") {
      options.list = true;
    } else if (argument == "--filter" && hasValue) {
      options.filter = arguments[++index];
    } else if (argument == "--rounds" && hasValue) {
      const std::string_view text = arguments[++index];
      int rounds = 0;
      const auto end = std::from_chars(text.data(), text.data() + text.size(), rounds).ptr;
      if (end != text.data() + text.size() || rounds < 1) return std::nullopt;
      options.rounds = rounds;
    } else {
      return std::nullopt;
    }
  }
  return options;
}

std::vector<Comparison> allComparisons() {
  using namespace benchmarks;
  std::vector<Comparison> result{checkinAtFullDurability(),
                                 checkinAtNormalDurability(),
                                 importInOneSave(),
                                 importOfAFile(),
                                 raisedCounts(),
                                 erasing(),
                                 historyPass(),
                                 nothingNewAfterFew(),
                                 nothingNewAfterMany(),
                                 deletionOfHistory(),
                                 waitForDeletion(),
                                 fetchOfEverything(),
                                 dayByDay(),
                                 daysInOneBlock(),
                                 countsOfRanges(),
                                 sumsOfMonths(),
                                 sumsOfMonthsInOneBlock(),
                                 latestCheckins(),
                                 openingToFirstQuery(),
                                 setupToFirstObject(),
                                 memoryOfEverything(),
                                 processOfOneCheckin(),
                                 sixSteps(),
                                 memoryOfSixSteps(),
                                 foldingOfPhotos(),
                                 memoryOfFolding()};
  for (Comparison& comparison : photos()) result.push_back(std::move(comparison));
  for (Comparison& requirement : requirements()) result.push_back(std::move(requirement));
  return result;
}

/// Both sides live in one zone that has summer time, as most people do.
void chooseZone() {
  constexpr const char* kZone = "Europe/Berlin";
  setenv("TZ", kZone, 1);
  tzset();
  if (const auto zone = foundation::TimeZone::named(kZone)) foundation::TimeZone::setCurrent(*zone);
}

void run(const Options& options) {
  const Workload workload = options.tiny ? Workload::tiny() : Workload();
  if (options.growth) {
    Workload smallest = workload;
    smallest.days = options.tiny ? 1 : 100;
    return benchmarks::printGrowth(smallest);
  }
  std::vector<Result> results;
  if (!options.json && !options.list) benchmarks::printHeading();
  for (const Comparison& comparison : allComparisons()) {
    if (!comparison.name.contains(options.filter)) continue;
    if (options.list) {
      std::puts(comparison.name.c_str());
      continue;
    }
    const int rounds = options.rounds.value_or(options.tiny ? 1 : comparison.rounds);
    results.push_back(benchmarks::compare(comparison, workload, rounds));
    if (!options.json) benchmarks::printRow(results.back());
  }
  if (options.json) benchmarks::printJSON(results);
}

}  // namespace

int main(int count, char** arguments) {
  const auto options = parsed(count, arguments);
  if (!options) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  try {
    chooseZone();
    run(*options);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "benchmarks: %s\n", error.what());
    return 1;
  }
}
