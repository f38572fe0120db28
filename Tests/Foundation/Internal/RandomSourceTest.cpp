#include "Foundation/Internal/RandomSource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Foundation/Values/UUID.h"

namespace foundation {
namespace {

TEST(RandomSource, FillsMoreBytesThanTheSystemGivesAtOnce) {
  std::vector<std::uint8_t> bytes(4096, 0);

  RandomSource::fillBytes(bytes);

  // Each half is all zero by chance once in 2^16384 runs.
  EXPECT_TRUE(std::any_of(bytes.begin(), bytes.begin() + 2048, [](auto b) { return b != 0; }));
  EXPECT_TRUE(std::any_of(bytes.begin() + 2048, bytes.end(), [](auto b) { return b != 0; }));
}

TEST(RandomSource, RepeatsItselfUnderTheSameSeed) {
  const auto draw = [] {
    const SeededRandomSource source(42);
    return UUID();
  };

  EXPECT_EQ(draw(), draw());
}

TEST(RandomSource, GoesBackToTheSystemsWhenTheSeededOneEnds) {
  const auto drawAfterSeed = [] {
    { const SeededRandomSource source(42); }
    return UUID();
  };

  EXPECT_NE(drawAfterSeed(), drawAfterSeed());
}

}  // namespace
}  // namespace foundation
