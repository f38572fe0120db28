#include <gtest/gtest.h>

#include "Tests/Reliability/Memory/Operations.h"
#include "Tests/Reliability/Memory/Sweep.h"

// Every operation while memory runs short, at each of its allocations.

namespace {

using shortage::Operation;
using support::Allocator;
using support::Shortage;

class MemoryShortage : public testing::TestWithParam<Operation> {};

TEST_P(MemoryShortage, OfObjectsOnceIsTold) {
  shortage::sweep(GetParam(), Allocator::operatorNew, Shortage::once);
}

TEST_P(MemoryShortage, OfObjectsForGoodIsTold) {
  shortage::sweep(GetParam(), Allocator::operatorNew, Shortage::fromThenOn);
}

TEST_P(MemoryShortage, OfTheStoreOnceIsTold) {
  shortage::sweep(GetParam(), Allocator::sqlite, Shortage::once);
}

TEST_P(MemoryShortage, OfTheStoreForGoodIsTold) {
  shortage::sweep(GetParam(), Allocator::sqlite, Shortage::fromThenOn);
}

const auto nameOf = [](const auto& tested) { return tested.param.name; };

INSTANTIATE_TEST_SUITE_P(Plain, MemoryShortage, testing::ValuesIn(shortage::plainOperations()),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Context, MemoryShortage, testing::ValuesIn(shortage::contextOperations()),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Saving, MemoryShortage, testing::ValuesIn(shortage::savingOperations()),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Migration, MemoryShortage,
                         testing::ValuesIn(shortage::migrationOperations()), nameOf);

}  // namespace
