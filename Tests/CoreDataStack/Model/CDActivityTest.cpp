#include "CoreDataStack/Model/CDActivity.h"

#include <gtest/gtest.h>

#include "Foundation/Internal/ManualClock.h"
#include "Tests/Support/LocalDate.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::CheckinType;
using domain::UserType;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using support::localDate;
using Interval = CDGoal::Interval;

class CDActivityTest : public testing::Test {
 protected:
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  [[nodiscard]] Ref<CDActivity> activity() const { return CDActivity::create(context(), "red"); }
  Ref<CDCheckin> checkIn(const Ref<CDActivity>& activity, Date day) const {
    auto checkin = make<CDCheckin>(context(), day, CheckinType::standard);
    activity->addCheckinsObject(checkin);
    return checkin;
  }
  [[nodiscard]] Ref<CDActivity> activityWithGoal(Interval interval, std::int16_t count) const {
    auto result = activity();
    result->goal()->setInterval(interval.rawValue());
    result->goal()->setCount(count);
    return result;
  }

  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  support::TemporaryStore store_;
};

TEST_F(CDActivityTest, IsCreatedWithItsColorAndAnEmptyIcon) {
  const auto made = CDActivity::create(context(), "#ff0000");

  EXPECT_EQ(made->color(), "#ff0000");
  EXPECT_EQ(made->icon(), "");
}

TEST_F(CDActivityTest, IsCreatedWithOrderGoalAndEveryDayShown) {
  const auto made = activity();

  EXPECT_EQ(made->order()->priority(), 0);
  EXPECT_EQ(made->order()->type(), 1);
  EXPECT_EQ(made->displayOn()->days(), 127);
  EXPECT_EQ(made->goal()->interval(), 0);
  EXPECT_EQ(made->goal()->count(), 0);
  EXPECT_EQ(made->goal()->activity(), made);
}

TEST_F(CDActivityTest, IsCreatedWithoutReminderGroupAndWidget) {
  const auto made = activity();

  EXPECT_EQ(made->reminder(), nullptr);
  EXPECT_EQ(made->group(), nullptr);
  EXPECT_EQ(made->widget(), nullptr);
}

TEST_F(CDActivityTest, IsCreatedWithTheModelsDefaultsForTheRest) {
  const auto made = activity();

  EXPECT_FALSE(made->title().has_value());
  EXPECT_EQ(made->status(), 0);
  EXPECT_EQ(made->checkinMaxCount(), 1.0);
}

TEST_F(CDActivityTest, IsCreatedAtThePresentMomentAndNotSaved) {
  const foundation::ManualClock clock(700000000.5);

  const auto made = activity();

  EXPECT_EQ(made->createdDate(), Date::fromReference(700000000.5));
  EXPECT_EQ(made->modifiedDate(), Date::fromReference(700000000.5));
  EXPECT_TRUE(made->isInserted());
}

TEST_F(CDActivityTest, FindsACheckinAtAnyTimeOfItsDay) {
  const auto run = activity();
  const auto checkin = checkIn(run, localDate(2024, 2, 10, 12));

  EXPECT_TRUE(run->didCheckin(localDate(2024, 2, 10, 0, 0)));
  EXPECT_TRUE(run->didCheckin(localDate(2024, 2, 10, 23, 59)));
  EXPECT_EQ(run->checkin(localDate(2024, 2, 10, 23, 59)), checkin);
}

TEST_F(CDActivityTest, TellsAMinuteToMidnightFromAMinuteAfter) {
  const auto run = activity();
  checkIn(run, localDate(2024, 2, 10, 23, 59));

  EXPECT_FALSE(run->didCheckin(localDate(2024, 2, 11, 0, 1)));
  EXPECT_EQ(run->checkin(localDate(2024, 2, 11, 0, 1)), nullptr);
}

TEST_F(CDActivityTest, FindsACheckinInTheStoreToo) {
  const auto run = activity();
  const auto checkin = checkIn(run, localDate(2024, 2, 10));
  context().save();

  EXPECT_TRUE(run->didCheckin(localDate(2024, 2, 10)));
  EXPECT_EQ(run->checkin(localDate(2024, 2, 10)), checkin);
}

TEST_F(CDActivityTest, DoesNotFindAnotherActivitysCheckin) {
  const auto run = activity();
  checkIn(activity(), localDate(2024, 2, 10));

  EXPECT_FALSE(run->didCheckin(localDate(2024, 2, 10)));
  EXPECT_EQ(run->checkin(localDate(2024, 2, 10)), nullptr);
}

TEST_F(CDActivityTest, DoesNotFindADeletedCheckin) {
  const auto run = activity();
  const auto checkin = checkIn(run, localDate(2024, 2, 10));
  context().save();

  context().delete_(checkin);

  EXPECT_FALSE(run->didCheckin(localDate(2024, 2, 10)));
}

TEST_F(CDActivityTest, KnowsWhetherTodayIsDone) {
  const auto run = activity();
  const foundation::ManualClock clock(localDate(2024, 2, 10, 7).timeIntervalSinceReferenceDate());
  EXPECT_FALSE(run->didCheckinToday());

  checkIn(run, localDate(2024, 2, 10, 6));

  EXPECT_TRUE(run->didCheckinToday());
}

TEST_F(CDActivityTest, HasNoCheckinsWithoutAContext) {
  const auto loose = make<CDActivity>(context().entity(CDActivity::entityClass()), nullptr);

  EXPECT_FALSE(loose->didCheckin(localDate(2024, 2, 10)));
  EXPECT_EQ(loose->checkin(localDate(2024, 2, 10)), nullptr);
}

TEST_F(CDActivityTest, SwallowsAStoreThatCannotBeReadForADay) {
  const auto container = support::containerWithoutStore();
  const auto run = CDActivity::create(*container->viewContext(), "red");

  testing::internal::CaptureStdout();
  EXPECT_FALSE(run->didCheckin(localDate(2024, 2, 10)));
  EXPECT_EQ(run->checkin(localDate(2024, 2, 10)), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(CDActivityTest, PrintsWhyTheLatestCheckinCannotBeRead) {
  const auto container = support::containerWithoutStore();
  const auto run = CDActivity::create(*container->viewContext(), "red");

  testing::internal::CaptureStdout();
  EXPECT_EQ(run->lastCheckin(*container->viewContext(), std::nullopt), nullptr);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("Error Domain="), std::string::npos);
}

TEST_F(CDActivityTest, HasNoLatestCheckinBeforeTheFirst) {
  EXPECT_EQ(activity()->lastCheckin(context(), std::nullopt), nullptr);
}

TEST_F(CDActivityTest, PrefersTheLaterDayForItsLatestCheckin) {
  const auto run = activity();
  const auto later = checkIn(run, localDate(2024, 2, 10));
  checkIn(run, localDate(2024, 1, 3));

  EXPECT_EQ(run->lastCheckin(context(), std::nullopt), later);
}

TEST_F(CDActivityTest, PrefersTheLaterMadeOfTwoCheckinsOfADay) {
  const auto run = activity();
  const auto second = checkIn(run, localDate(2024, 2, 10));
  const auto first = checkIn(run, localDate(2024, 2, 10));
  second->setCreatedDate(Date::fromReference(20));
  first->setCreatedDate(Date::fromReference(10));
  context().save();

  EXPECT_EQ(run->lastCheckin(context(), std::nullopt), second);
}

TEST_F(CDActivityTest, GivesTheLatestCheckinOfAnyType) {
  const auto run = activity();
  checkIn(run, localDate(2024, 1, 3));
  const auto other = checkIn(run, localDate(2024, 2, 10));
  other->setType(10);

  EXPECT_EQ(run->lastCheckin(context(), CheckinType::standard), other);
}

TEST_F(CDActivityTest, ReadsTheLatestCheckinInTheGivenContext) {
  const auto run = activity();
  checkIn(run, localDate(2024, 1, 3));
  context().save();
  checkIn(run, localDate(2024, 2, 10));

  const auto background = store_.newBackgroundContext();
  background->performBlockAndWait([&] {
    const auto seen = run->lastCheckin(*background, std::nullopt);
    EXPECT_EQ(seen->managedObjectContext(), background);
    EXPECT_EQ(seen->date(), "2024-01-03");
  });
}

TEST_F(CDActivityTest, HasAGoalThatCountsForEverybody) {
  for (const Interval interval : {Interval::daily, Interval::weekly, Interval::count}) {
    EXPECT_TRUE(activityWithGoal(interval, 3)->hasGoal(UserType::standard));
    EXPECT_TRUE(activityWithGoal(interval, 3)->hasGoal(UserType::premium));
  }
}

TEST_F(CDActivityTest, HasALongGoalForSomeUsersOnly) {
  for (const Interval interval : {Interval::monthly, Interval::yearly}) {
    EXPECT_FALSE(activityWithGoal(interval, 3)->hasGoal(UserType::standard));
    EXPECT_TRUE(activityWithGoal(interval, 3)->hasGoal(UserType::premium));
  }
}

TEST_F(CDActivityTest, HasAGoalWhateverItAsksFor) {
  EXPECT_TRUE(activityWithGoal(Interval::daily, 0)->hasGoal(UserType::standard));
}

TEST_F(CDActivityTest, HasNoGoalOfNoneOrAnUnknownKind) {
  EXPECT_FALSE(activityWithGoal(Interval::none, 3)->hasGoal(UserType::premium));
  const auto odd = activity();
  odd->goal()->setInterval(7);
  EXPECT_FALSE(odd->hasGoal(UserType::premium));
}

TEST_F(CDActivityTest, HasNoGoalWithoutItsRecord) {
  const auto bare = make<CDActivity>(context());

  EXPECT_FALSE(bare->hasGoal(UserType::premium));
}

TEST_F(CDActivityTest, IsAchievedAtThePresentMoment) {
  const auto run = activity();
  const foundation::ManualClock clock(700000000);

  run->achieve();

  EXPECT_EQ(run->status(), 1);
  EXPECT_EQ(run->modifiedDate(), Date::fromReference(700000000));
}

}  // namespace
}  // namespace coredatastack
