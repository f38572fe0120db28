#include <cmath>
#include <random>

#include "Tests/Reliability/Time/SteppingClock.h"
#include "Tests/Support/Effort.h"

namespace {

using foundation::Date;

constexpr double kYear = 365.25 * 86400;

class ClockSteps : public support::SteppingClock {
 protected:
  void commitTimes(int count) {
    for (int i = 0; i < count; ++i) commit();
  }
  /// Commits at both ends of a clock that swings about its own time.
  void strobe(double swing, double period) {
    for (int i = 0; i < 8; ++i) {
      clock_.advance(period + (i % 2 == 0 ? swing : -swing));
      commit();
    }
  }
};

/// By how many seconds the clock is put back or forward, again and again.
class OneStep : public ClockSteps, public testing::WithParamInterface<double> {};

TEST_P(OneStep, LosesRepeatsAndDeletesNothing) {
  for (int round = 0; round < 6; ++round) {
    for (int i = 0; i < 5; ++i) {
      clock_.advance(0.0004);
      commit();
    }
    clock_.advance(GetParam());
  }
  commitTimes(5);

  finish();
}

INSTANTIATE_TEST_SUITE_P(BackAndForward, OneStep,
                         testing::Values(-0.001, 0.001, -1., 1., -3600., 3600., -86400., 86400.,
                                         -10 * kYear, 10 * kYear));

TEST_F(ClockSteps, LoseNothingWhenTheClockSwings) {
  constexpr double kSmallest = 0.004;
  constexpr double kLargest = 262.144;
  for (double swing = kSmallest; swing <= kLargest; swing *= 2) {
    for (const double period : {0.001, 0.03, 1.}) strobe(swing, period);
  }

  finish();
}

TEST_F(ClockSteps, LoseNothingWhenTheClockStands) {
  const auto count = static_cast<int>(support::tries(1000, 10'000));
  commitTimes(count);

  finish();
}

TEST_F(ClockSteps, LoseNothingInAnyCentury) {
  constexpr double kEnd32 = 2'147'483'647;
  const double times[] = {-5e9,       -1e9,         -0.5,         0,
                          0.5,        kEnd32 - 0.5, kEnd32 + 0.5, 2 * kEnd32 + 2,
                          4102444800, 4102444800.5, 16725225600., 253402300799.5};
  // Up the centuries, and all the way back.
  for (const double time : times) {
    clock_.set(Date::from1970(time).timeIntervalSinceReferenceDate());
    commitTimes(4);
  }
  for (const double time : times) {
    clock_.set(Date::from1970(-time).timeIntervalSinceReferenceDate());
    commitTimes(4);
  }

  finish();
}

TEST_F(ClockSteps, LoseNothingWhateverTheClockDoes) {
  const std::uint64_t seed = support::numberFrom("CLOCK_SEED", support::runSeed(20261122));
  SCOPED_TRACE("CLOCK_SEED=" + std::to_string(seed));
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> magnitude(-6, 9);
  const std::size_t count = support::tries(300, 5000);
  for (std::size_t i = 0; i < count; ++i) {
    const double step = std::pow(10, magnitude(random));
    if (random() % 3 != 0) clock_.advance(random() % 2 == 0 ? step : -step);
    commit();
  }

  finish();
}

}  // namespace
