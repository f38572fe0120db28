#include "Tests/Reliability/Compound/Fault.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "Foundation/Values/Error.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/Scene.h"

namespace compound {

using support::below;
using support::FileFault;
using support::FileFaults;

namespace {

constexpr const char* kSeed = "COMPOUND_SEED";

struct Code {
  int sqlite;
  int number;
};
constexpr std::array kCodes = {Code{SQLITE_IOERR, EIO}, Code{SQLITE_IOERR_FSYNC, EIO},
                               Code{SQLITE_FULL, ENOSPC}, Code{SQLITE_CANTOPEN, EACCES}};

Ending endingOf(const support::ChildOutcome& outcome) {
  if (outcome.timedOut) return Ending::other;
  if (outcome.signal == SIGKILL) return Ending::killed;
  if (outcome.signal == SIGABRT) return Ending::stopped;
  if (outcome.acknowledged.empty()) return Ending::other;
  return outcome.acknowledged.back() == "returned" ? Ending::returned : Ending::refused;
}

std::string text(const Fault& fault) {
  const std::string point = std::to_string(fault.point);
  const std::string code = std::to_string(fault.trouble.sqliteCode);
  switch (fault.trouble.fault) {
    case FileFault::failOnce:
      return "error " + code + " at operation " + point;
    case FileFault::failFromThenOn:
      return "error " + code + " from operation " + point + " on";
    case FileFault::killProcess:
      return "death at operation " + point;
    case FileFault::tearOnce:
      return "torn write at operation " + point;
    case FileFault::tearAndKill:
      return "death in the write of operation " + point;
  }
  return {};
}

}  // namespace

Operations::Operations(foundation::FunctionRef<void()> lay, foundation::FunctionRef<void()> work) {
  lay();
  ofDeaths_ = support::countOperations({}, work);
  lay();
  ofErrors_ = support::countOperations({.watched = support::kEverything}, work);
}

Fault Operations::someDeath(support::Chance& chance) const {
  return {{}, 1 + below(chance, ofDeaths_.total())};
}

Fault Operations::someError(support::Chance& chance) const {
  const Code code = kCodes[below(chance, kCodes.size())];
  const FileFault fault = below(chance, 2) == 0 ? FileFault::failOnce : FileFault::failFromThenOn;
  return {{fault, code.sqlite, code.number, support::kEverything},
          1 + below(chance, ofErrors_.total())};
}

Fault Operations::someFault(support::Chance& chance) const {
  const bool isDeath = below(chance, 2) == 0 && ofDeaths_.total() > 0;
  return isDeath ? someDeath(chance) : someError(chance);
}

Ending Operations::run(const Fault& fault, foundation::FunctionRef<void()> work) const {
  const bool isDeath = fault.trouble.fault == FileFault::killProcess;
  return endingOf(support::runInChild([&](const support::Acknowledgements& parent) {
    try {
      const FileFaults faults(fault.trouble, fault.point, isDeath ? ofDeaths_ : ofErrors_);
      work();
      parent.send("returned");
    } catch (const foundation::Error&) {
      parent.send("refused");
    }
  }));
}

void forEachSeed(std::size_t count, foundation::FunctionRef<bool(std::uint64_t)> look) {
  if (std::getenv(kSeed) != nullptr) {
    look(support::numberFrom(kSeed, 0));
    return;
  }
  const std::uint64_t first = support::runSeed(1);
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    if (!look(seed)) return;
  }
}

std::string describe(std::uint64_t seed, const Fault& first, const Fault& second) {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  return text(first) + ", then " + text(second) + "; again: " + kSeed + '=' + std::to_string(seed) +
         " CompoundFaultTests --gtest_filter=" + test->test_suite_name() + '.' + test->name();
}

}  // namespace compound
