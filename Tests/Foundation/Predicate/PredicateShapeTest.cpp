#include "Foundation/Predicate/PredicateShape.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Foundation/Predicate/Internal/ShapeTable.h"

namespace foundation {
namespace {

TEST(PredicateShape, StaysTheSameWhileSomebodyHoldsIt) {
  const auto held = PredicateShape::parse("held = %@");
  for (int i = 0; i < 5000; ++i) {
    static_cast<void>(PredicateShape::parse("a = " + std::to_string(i)));
  }

  EXPECT_EQ(PredicateShape::parse("held = %@"), held);
}

TEST(PredicateShape, IsDroppedWithManyOthersThatNobodyHolds) {
  for (std::size_t i = 0; i < 10 * ShapeTable::kFirstSweep; ++i) {
    static_cast<void>(PredicateShape::parse("unused = " + std::to_string(i)));
  }

  EXPECT_LE(ShapeTable::shared().size(), 2 * ShapeTable::kFirstSweep);
}

TEST(PredicateShape, HasASerialOfItsOwn) {
  std::set<std::uint64_t> serials;
  for (int i = 0; i < 3000; ++i) {
    serials.insert(PredicateShape::parse("serial = " + std::to_string(i))->serial());
  }

  EXPECT_EQ(serials.size(), 3000U);
}

TEST(PredicateShape, IsInternedByManyThreadsAtOnce) {
  std::vector<std::shared_ptr<const PredicateShape>> shapes(4);
  std::vector<std::jthread> threads;
  for (auto& shape : shapes) {
    threads.emplace_back([&shape] {
      for (int i = 0; i < 2000; ++i) {
        const auto part = PredicateShape::parse("thread = " + std::to_string(i));
        const std::vector parts = {part, PredicateShape::parse("other = %@")};
        shape = PredicateShape::combine(CompoundKind::conjunction, parts);
      }
    });
  }
  threads.clear();

  for (const auto& shape : shapes) EXPECT_EQ(shape, shapes.front());
}

}  // namespace
}  // namespace foundation
