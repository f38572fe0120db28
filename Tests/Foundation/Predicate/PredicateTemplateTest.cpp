#include "Foundation/Predicate/PredicateTemplate.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Foundation/Values/Error.h"
#include "Tests/Foundation/Predicate/TestObject.h"

namespace foundation {
namespace {

TEST(PredicateTemplate, BindsArgumentsToTheShapeOfItsFormat) {
  static constinit PredicateTemplate kOfDay{"activity = %@ AND date = %@"};
  const auto activity = testing::object({});
  const auto checkin = testing::object({{"activity", activity}, {"date", "2024-02-10"}});

  EXPECT_TRUE(kOfDay.bind(activity, "2024-02-10").evaluate(*checkin));
  EXPECT_FALSE(kOfDay.bind(activity, "2024-02-11").evaluate(*checkin));
  EXPECT_EQ(kOfDay.shape(), PredicateShape::parse("activity = %@ AND date = %@"));
}

TEST(PredicateTemplate, ChecksArgumentsAtEachBinding) {
  static constinit PredicateTemplate kOfStatus{"status = %d"};

  EXPECT_THROW(static_cast<void>(kOfStatus.bind("x")), Error);
  EXPECT_THROW(static_cast<void>(kOfStatus.bind()), Error);
  EXPECT_NO_THROW(static_cast<void>(kOfStatus.bind(1)));
}

TEST(PredicateTemplate, ThrowsForAFormatThatCannotBeRead) {
  static constinit PredicateTemplate kBroken{"status = = %d"};
  static constinit PredicateTemplate kWithKeyPath{"%K = %d"};

  EXPECT_THROW(static_cast<void>(kBroken.bind(1)), Error);
  EXPECT_THROW(static_cast<void>(kWithKeyPath.bind("status", 1)), Error);
}

TEST(PredicateTemplate, IsReadByManyThreadsAtOnce) {
  static constinit PredicateTemplate kShared{"a = %@ AND b = %@ AND c = 12345"};
  std::vector<const PredicateShape*> shapes(4);

  std::vector<std::jthread> threads;
  for (auto& shape : shapes) {
    threads.emplace_back([&shape] { shape = &kShared.bind(1, 2).shape(); });
  }
  threads.clear();

  for (const PredicateShape* shape : shapes) EXPECT_EQ(shape, shapes.front());
}

}  // namespace
}  // namespace foundation
