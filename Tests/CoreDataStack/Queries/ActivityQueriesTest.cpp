#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreDataStack/Queries/Diary.h"
#include "Tests/Support/LocalDate.h"

namespace coredatastack {
namespace {

using domain::ActivityStatus;
using domain::CheckinType;
using foundation::make;
using foundation::Ref;
using support::localDate;
using testing::ElementsAre;
using testing::IsEmpty;

class Activities : public QueriesOfBoth {
 protected:
  /// An activity made at noon of a day of February 2024.
  Ref<CDActivity> madeOn(int day, const std::string& title) const {
    const double noon = localDate(2024, 2, day, 12).timeIntervalSinceReferenceDate();
    return diary_.activity(title, {.createdAt = noon});
  }
};

INSTANTIATE_TEST_SUITE_P(Kept, Activities, kBoth, nameOfKept);

TEST_P(Activities, AreAllListedAsTheyCame) {
  diary_.activity("Run", {.status = ActivityStatus::archived});
  diary_.activity("Read", {.status = ActivityStatus::achieved});
  diary_.activity("Walk", {.priority = -5});
  keep();

  EXPECT_THAT(titles(api().activities()), ElementsAre("Run", "Read", "Walk"));
  EXPECT_EQ(api().numberOfActivities(), 3);
}

TEST_P(Activities, AreNoneInAnEmptyStore) {
  const auto group = diary_.group(0);
  keep();

  EXPECT_THAT(titles(api().activities()), IsEmpty());
  EXPECT_THAT(titles(api().activities(group)), IsEmpty());
  EXPECT_EQ(api().numberOfActivities(), 0);
}

TEST_P(Activities, OfNoGroupAreThoseThatAreActive) {
  diary_.activity("Run", {.priority = 2});
  diary_.activity("Read", {.priority = 1});
  diary_.activity("Sing", {.status = ActivityStatus::achieved});
  diary_.activity("Knit", {.status = ActivityStatus::archived});
  diary_.activity("Walk", {.group = diary_.group(0)});
  keep();

  EXPECT_THAT(titles(api().activities(nullptr)), ElementsAre("Read", "Run"));
}

TEST_P(Activities, OfAGroupStandInTheirPlacesTheNewestFirstAmongEquals) {
  const auto group = diary_.group(0);
  diary_.activity("Run", {.group = group, .priority = 2, .createdAt = 50});
  diary_.activity("Read", {.group = group, .priority = 1, .createdAt = 10});
  diary_.activity("Walk", {.group = group, .priority = 1, .createdAt = 30});
  diary_.activity("Sing", {.group = group, .priority = 1, .createdAt = 20});
  diary_.activity("Knit", {.status = ActivityStatus::achieved, .group = group});
  diary_.activity("Draw", {.group = diary_.group(0)});
  diary_.activity("Swim");
  keep();

  EXPECT_THAT(titles(api().activities(group)), ElementsAre("Walk", "Sing", "Read", "Run"));
}

TEST_P(Activities, WithoutARecordOfTheirPlaceComeFirst) {
  diary_.activity("Run", {.priority = -1});
  diary_.activity("Read")->setOrder(nullptr);
  keep();

  EXPECT_THAT(titles(api().activities(nullptr)), ElementsAre("Read", "Run"));
}

TEST_P(Activities, OfAStatusStandInTheOrderOfTheGroups) {
  const auto late = diary_.group(2);
  const auto early = diary_.group(1);
  diary_.activity("Run", {.group = late, .priority = 1});
  diary_.activity("Read", {.group = early, .priority = 7, .createdAt = 10});
  diary_.activity("Walk", {.group = early, .priority = 7, .createdAt = 20});
  diary_.activity("Sing", {.group = early, .priority = 3});
  diary_.activity("Knit", {.priority = 9});
  diary_.activity("Draw", {.status = ActivityStatus::archived, .group = early});
  keep();

  EXPECT_THAT(titles(api().activities(ActivityStatus::active)),
              ElementsAre("Knit", "Sing", "Walk", "Read", "Run"));
  EXPECT_THAT(titles(api().activities(ActivityStatus::archived)), ElementsAre("Draw"));
  EXPECT_THAT(titles(api().activities(ActivityStatus::achieved)), IsEmpty());
}

TEST_P(Activities, AreCountedByStatus) {
  diary_.activity("Run");
  diary_.activity("Read");
  diary_.activity("Walk", {.status = ActivityStatus::achieved});
  diary_.activity("Sing", {.status = ActivityStatus::archived});
  diary_.activity("Knit", {.status = ActivityStatus::archived});
  diary_.activity("Draw", {.status = ActivityStatus::archived});
  keep();

  EXPECT_EQ(api().numberOfActivities(ActivityStatus::active), 2);
  EXPECT_EQ(api().numberOfActivities(ActivityStatus::achieved), 1);
  EXPECT_EQ(api().numberOfActivities(ActivityStatus::archived), 3);
  EXPECT_EQ(api().numberOfActivities(), 6);
}

TEST_P(Activities, ThatWereAchievedAreThoseOfThatStatus) {
  diary_.activity("Run");
  diary_.activity("Read")->achieve();
  diary_.activity("Walk")->achieve();
  keep();

  EXPECT_EQ(api().numberOfAchievedActivities(), 2);
  EXPECT_EQ(api().numberOfAchievedActivities(), api().numberOfActivities(ActivityStatus::achieved));
}

TEST_P(Activities, OfAPeriodWereMadeByItsEnd) {
  madeOn(1, "Run");
  madeOn(10, "Read");
  madeOn(20, "Walk");
  keep();

  EXPECT_THAT(titles(api().activities(ActivityStatus::active, localDate(2024, 2, 5),
                                      localDate(2024, 2, 15))),
              ElementsAre("Read", "Run"));
}

TEST_P(Activities, OfAPeriodWereMadeByTheVeryInstantItEnds) {
  madeOn(15, "Run");
  keep();
  const auto titlesUntil = [&](foundation::Date to) {
    return titles(api().activities(ActivityStatus::active, localDate(2024, 2, 1), to));
  };

  EXPECT_THAT(titlesUntil(localDate(2024, 2, 15, 12, 0)), ElementsAre("Run"));
  EXPECT_THAT(titlesUntil(localDate(2024, 2, 15, 11, 59)), IsEmpty());
}

TEST_P(Activities, OfAPeriodMayHaveBeenMadeLaterThanTheirCheckins) {
  const auto walk = madeOn(20, "Walk");
  const auto sing = madeOn(21, "Sing");
  const auto knit = madeOn(22, "Knit");
  madeOn(23, "Draw");
  diary_.checkIn(walk, "2024-02-05");
  diary_.checkIn(walk, "2024-02-06");
  diary_.checkIn(sing, "2024-02-15", CheckinType::alternate);
  diary_.checkIn(knit, "2024-02-04");
  diary_.checkIn(knit, "2024-02-16");
  keep();

  EXPECT_THAT(titles(api().activities(ActivityStatus::active, localDate(2024, 2, 5, 23),
                                      localDate(2024, 2, 15, 1))),
              ElementsAre("Sing", "Walk"));
}

TEST_P(Activities, OfAPeriodAreOfTheStatusAsWell) {
  const auto run = madeOn(1, "Run");
  run->achieve();
  diary_.checkIn(run, "2024-02-10");
  madeOn(2, "Read");
  keep();
  const auto from = localDate(2024, 2, 5);
  const auto to = localDate(2024, 2, 15);

  EXPECT_THAT(titles(api().activities(ActivityStatus::achieved, from, to)), ElementsAre("Run"));
  EXPECT_THAT(titles(api().activities(ActivityStatus::active, from, to)), ElementsAre("Read"));
}

TEST_P(Activities, OfAPeriodStandInTheOrderOfTheGroups) {
  diary_.activity("Run", {.group = diary_.group(2)});
  diary_.activity("Read", {.group = diary_.group(1)});
  diary_.activity("Walk", {.priority = 5});
  diary_.activity("Sing", {.priority = 4});
  keep();

  EXPECT_THAT(titles(api().activities(ActivityStatus::active, localDate(2024, 2, 5),
                                      localDate(2024, 2, 15))),
              ElementsAre("Sing", "Walk", "Read", "Run"));
}

/// What was saved, and then changed in the context.
class ChangedActivities : public testing::Test {
 protected:
  ChangedActivities() { diary_.save(); }
  [[nodiscard]] const LocalAPI& api() const { return diary_.api(); }

  Diary diary_;
  Ref<CDGroup> group_ = diary_.group(1);
  Ref<CDActivity> run_ = diary_.activity("Run", {.createdAt = 10});
  Ref<CDActivity> read_ = diary_.activity("Read", {.group = group_, .createdAt = 20});
};

TEST_F(ChangedActivities, AreListedAndCountedByTheirNewStatus) {
  run_->achieve();

  EXPECT_THAT(titles(api().activities(ActivityStatus::active)), ElementsAre("Read"));
  EXPECT_THAT(titles(api().activities(ActivityStatus::achieved)), ElementsAre("Run"));
  EXPECT_EQ(api().numberOfActivities(ActivityStatus::active), 1);
  EXPECT_EQ(api().numberOfAchievedActivities(), 1);
}

TEST_F(ChangedActivities, AreListedInTheirNewGroup) {
  run_->setGroup(group_);
  read_->setGroup(nullptr);

  EXPECT_THAT(titles(api().activities(group_)), ElementsAre("Run"));
  EXPECT_THAT(titles(api().activities(nullptr)), ElementsAre("Read"));
  EXPECT_THAT(titles(api().activities(ActivityStatus::active)), ElementsAre("Read", "Run"));
}

TEST_F(ChangedActivities, StandAmongThoseThatWereSaved) {
  diary_.activity("Walk", {.group = group_, .createdAt = 30});
  diary_.activity("Sing", {.group = diary_.group(0)});
  diary_.activity("Knit", {.createdAt = 5});

  EXPECT_THAT(titles(api().activities(ActivityStatus::active)),
              ElementsAre("Run", "Knit", "Sing", "Walk", "Read"));
  EXPECT_EQ(api().numberOfActivities(), 5);
}

TEST_F(ChangedActivities, AreGoneWhenDeleted) {
  diary_.context().delete_(run_);

  EXPECT_THAT(titles(api().activities()), ElementsAre("Read"));
  EXPECT_EQ(api().numberOfActivities(), 1);
  EXPECT_EQ(api().numberOfActivities(ActivityStatus::active), 1);
}

TEST_F(ChangedActivities, EnterAPeriodWithACheckinThatIsNotSaved) {
  const auto from = foundation::Date::fromReference(0);
  const auto to = foundation::Date::fromReference(15);
  ASSERT_THAT(titles(api().activities(ActivityStatus::active, from, to)), ElementsAre("Run"));

  diary_.checkIn(read_, "2001-01-01");

  EXPECT_THAT(titles(api().activities(ActivityStatus::active, from, to)),
              ElementsAre("Run", "Read"));
}

class DeletingAnActivity : public ChangedActivities {
 protected:
  /// What another reader of the file sees.
  [[nodiscard]] std::int64_t stored(const coredata::NSFetchRequestBase& request) const {
    const auto other = diary_.store().opened()->newBackgroundContext();
    return other->performBlockAndWait([&] { return other->count(request); });
  }
};

TEST_F(DeletingAnActivity, TakesItsRecordsAlongAndSaves) {
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(read_, "2024-02-11");
  diary_.save();

  diary_.api().delete_(run_);

  EXPECT_FALSE(diary_.context().hasChanges());
  EXPECT_EQ(stored(CDActivity::fetchRequest()), 1);
  EXPECT_EQ(stored(CDCheckin::fetchRequest()), 1);
  EXPECT_EQ(stored(CDOrder::fetchRequest()), 1);
  EXPECT_EQ(stored(CDGoal::fetchRequest()), 1);
  EXPECT_EQ(stored(CDGroup::fetchRequest()), 1);
}

TEST_F(DeletingAnActivity, SavesWhatElseIsPendingInItsContext) {
  read_->setTitle("Write");

  diary_.api().delete_(run_);

  EXPECT_FALSE(diary_.context().hasChanges());
  EXPECT_EQ(read_->title(), "Write");
}

TEST_F(DeletingAnActivity, HappensInTheActivitysOwnContext) {
  const auto background = diary_.store().newBackgroundContext();
  run_->setTitle("Walk");

  background->performBlockAndWait([&] {
    const auto request = CDActivity::fetchRequest();
    const Ref<CDActivity> same = background->fetch(request)[1];
    ASSERT_EQ(same->title(), "Read");
    diary_.api().delete_(same);
    EXPECT_FALSE(background->hasChanges());
  });

  EXPECT_EQ(stored(CDActivity::fetchRequest()), 1);
  EXPECT_TRUE(diary_.context().hasChanges()) << "the queries' own context was saved";
}

TEST_F(DeletingAnActivity, ForgetsOneThatWasNeverSaved) {
  const auto walk = diary_.activity("Walk");

  diary_.api().delete_(walk);

  EXPECT_THAT(titles(api().activities()), ElementsAre("Run", "Read"));
  EXPECT_EQ(stored(CDActivity::fetchRequest()), 2);
}

TEST_F(DeletingAnActivity, LeavesOneWithoutAContextAlone) {
  const auto loose = make<CDActivity>(diary_.context().entity(CDActivity::entityClass()), nullptr);
  read_->setTitle("Write");

  testing::internal::CaptureStdout();
  diary_.api().delete_(loose);
  diary_.api().delete_(nullptr);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(diary_.context().hasChanges());
}

TEST_F(DeletingAnActivity, DoesNothingTheSecondTime) {
  diary_.api().delete_(run_);
  read_->setTitle("Write");

  testing::internal::CaptureStdout();
  diary_.api().delete_(run_);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(diary_.context().hasChanges());
}

}  // namespace
}  // namespace coredatastack
