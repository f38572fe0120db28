#include "Tests/Reliability/Damage/CaseRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <limits>
#include <string>

#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"

namespace damage {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kMostTime{2000};
constexpr long kMostKilobytes = 64 * 1024;

/// In which a case ends on the busiest machine, unless it never ends.
constexpr std::chrono::seconds kPatience{30};

/// A line of this process's own account in the system, in kilobytes.
long kilobytes(const std::string& what) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(what)) return std::stol(line.substr(what.size() + 1));
  }
  return 0;
}

/// How far memory rises above what it was at first.
class MemoryRise {
 public:
  MemoryRise() {
    // Lets the highest mark begin anew.
    std::ofstream("/proc/self/clear_refs") << "5";
    before_ = kilobytes("VmHWM");
  }
  [[nodiscard]] bool isTooHigh() const {
#ifdef __SANITIZE_ADDRESS__
    return false;
#else
    return kilobytes("VmHWM") - before_ > kMostKilobytes;
#endif
  }

 private:
  long before_;
};

std::string oneLine(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  return text;
}

/// How a case came out: in a word, or in what is wrong with it.
struct Outcome {
  std::string text;
  bool isWrong = false;
  bool isSlow = false;
};

constexpr char kFine = '+';
constexpr char kWrong = '-';

Outcome runInChild(const Cases& cases, std::size_t number) {
  const auto begin = Clock::now();
  const auto child = support::runInChild(
      [&](const support::Acknowledgements& parent) {
        const MemoryRise memory;
        try {
          const std::string outcome = cases.work(number);
          parent.send(memory.isTooHigh() ? "-too much memory" : kFine + oneLine(outcome));
        } catch (const std::exception& error) {
          parent.send(kWrong + oneLine(error.what()));
        }
      },
      kPatience);
  const bool isSlow = Clock::now() - begin > kMostTime;
  if (child.timedOut) return {.text = "does not end", .isWrong = true, .isSlow = true};
  if (child.acknowledged.empty()) {
    return {.text = "ended by signal " + std::to_string(child.signal) + ", status " +
                    std::to_string(child.exitStatus),
            .isWrong = true,
            .isSlow = isSlow};
  }
  const std::string& line = child.acknowledged.front();
  return {.text = line.substr(1), .isWrong = line.front() == kWrong, .isSlow = isSlow};
}

void fail(const Cases& cases, std::size_t number, const std::string& what) {
  const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
  ADD_FAILURE() << cases.name(number) << ": " << what << "\nrepeat it with DAMAGE_CASE=" << number
                << " (and the same seed and effort) " << program_invocation_short_name
                << " --gtest_filter=" << test->test_suite_name() << '.' << test->name();
}

void runOne(const Cases& cases, std::size_t number, Tally& tally) {
  Outcome outcome = runInChild(cases, number);
  // The machine may have been busy with something else.
  for (int tries = 1; tries < 3 && outcome.isSlow; ++tries) outcome = runInChild(cases, number);
  if (outcome.isWrong || outcome.isSlow)
    fail(cases, number, outcome.isWrong ? outcome.text : "took too long: " + outcome.text);
  ++tally[outcome.text];
}

}  // namespace

Tally run(const Cases& cases) {
  constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t only = support::numberFrom("DAMAGE_CASE", kAll);
  Tally tally;
  for (std::size_t i = 0; i < cases.count; ++i) {
    if (only == kAll || only == i) runOne(cases, i, tally);
  }
  for (const auto& [outcome, count] : tally) std::printf("  %zu: %s\n", count, outcome.c_str());
  return tally;
}

}  // namespace damage
