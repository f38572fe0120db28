#include "Foundation/Internal/TestPoint.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using foundation::TestPoint;
using foundation::TestPointObserver;

class Recorder final : public TestPointObserver {
 public:
  Recorder() : previous_(install(this)) {}
  ~Recorder() override { install(previous_); }
  void reached(TestPoint point) noexcept override { points.push_back(point); }

  std::vector<TestPoint> points;

 private:
  TestPointObserver* previous_;
};

TEST(TestPoint, IsToldToTheObserverInForce) {
  Recorder recorder;

  foundation::reach(TestPoint::beforeCommit);
  foundation::reach(TestPoint::afterCommit);

  EXPECT_EQ(recorder.points, (std::vector{TestPoint::beforeCommit, TestPoint::afterCommit}));
}

TEST(TestPoint, IsToldToTheFormerObserverOnceTheLaterHasGone) {
  Recorder former;
  { const Recorder later; }

  foundation::reach(TestPoint::emptyPass);

  EXPECT_EQ(former.points, std::vector{TestPoint::emptyPass});
}

TEST(TestPoint, PassesWhereNobodyObserves) {
  ASSERT_EQ(TestPointObserver::current(), nullptr);

  foundation::reach(TestPoint::beforeCommit);

  EXPECT_EQ(TestPointObserver::current(), nullptr);
}

TEST(TestPoint, HasANameOfItsOwn) {
  const std::set<std::string_view> names(foundation::kTestPointNames.begin(),
                                         foundation::kTestPointNames.end());

  EXPECT_EQ(names.size(), foundation::kTestPointNames.size());
  EXPECT_EQ(nameOf(TestPoint::beforeStamp), "before stamp");
  EXPECT_EQ(nameOf(TestPoint::fallbackReplacement), "fallback replacement");
}

}  // namespace
