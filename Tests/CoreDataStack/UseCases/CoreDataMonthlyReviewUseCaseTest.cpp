#include "CoreDataStack/UseCases/CoreDataMonthlyReviewUseCase.h"

#include <gmock/gmock.h>

#include <atomic>

#include "Foundation/Internal/ManualClock.h"
#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"
#include "Tests/Support/RecordingLogger.h"

namespace coredatastack {
namespace {

using foundation::Date;
using foundation::make;
using foundation::Ref;
using support::localDate;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class CoreDataMonthlyReviewUseCaseTest : public UseCaseTest {
 protected:
  /// What `work` prints.
  template <typename Work>
  [[nodiscard]] static std::string printed(Work&& work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
  }

  Ref<support::RecordingLogger> logger_ = make<support::RecordingLogger>();
  CoreDataMonthlyReviewUseCase reviews_{contextHandle(), logger_};
};

TEST_F(CoreDataMonthlyReviewUseCaseTest, MakesAndSavesTheReviewOfAMonthThatHasNone) {
  const foundation::ManualClock clock(700000000);

  const auto review = reviews_.review(localDate(2024, 3, 7));

  ASSERT_NE(review, nullptr);
  EXPECT_EQ(review->date(), "2024-03");
  EXPECT_EQ(review->createdDate(), Date::fromReference(700000000));
  EXPECT_EQ(review->modifiedDate(), Date::fromReference(700000000));
  EXPECT_FALSE(review->feedback().has_value());
  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(stored<CDMonthlyReview>(), 1);
  EXPECT_THAT(logger_->descriptions(), IsEmpty());
}

/// Goes on by a second with each look at it.
class ClockThatGoesOn final : public foundation::Clock {
 public:
  ClockThatGoesOn() noexcept : previous_(install(this)) {}
  ~ClockThatGoesOn() override { install(previous_); }
  ClockThatGoesOn(const ClockThatGoesOn&) = delete;
  ClockThatGoesOn& operator=(const ClockThatGoesOn&) = delete;

  [[nodiscard]] double secondsSinceReference() const noexcept override { return ++seconds_; }

 private:
  mutable std::atomic<int> seconds_{700000000};
  const Clock* previous_;
};

TEST_F(CoreDataMonthlyReviewUseCaseTest, LooksAtTheClockForEachOfAReviewsDates) {
  const ClockThatGoesOn clock;

  const auto review = reviews_.review(localDate(2024, 3, 7));

  EXPECT_LT(*review->createdDate(), *review->modifiedDate());
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, FindsTheReviewOfAMonthAgain) {
  const auto first = reviews_.review(localDate(2024, 3, 1));

  EXPECT_EQ(reviews_.review(localDate(2024, 3, 31, 23, 59)), first);

  EXPECT_EQ(stored<CDMonthlyReview>(), 1);
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, FindsAReviewThatIsNotSavedYet) {
  const auto pending = make<CDMonthlyReview>(context());
  pending->setDate("2024-03");

  EXPECT_EQ(reviews_.review(localDate(2024, 3, 7)), pending);

  EXPECT_TRUE(pending->isInserted());
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, KeepsTheReviewsOfMonthsApart) {
  const auto march = reviews_.review(localDate(2024, 3, 31));

  const auto april = reviews_.review(localDate(2024, 4, 1));
  const auto nextMarch = reviews_.review(localDate(2025, 3, 31));

  EXPECT_NE(april, march);
  EXPECT_NE(nextMarch, march);
  EXPECT_EQ(nextMarch->date(), "2025-03");
  EXPECT_EQ(stored<CDMonthlyReview>(), 3);
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, ReadsWhatWasWrittenBefore) {
  const auto review = reviews_.review(localDate(2024, 3, 7));
  review->setFeedback("A good month.");
  reviews_.update(review);
  store_.reopen();

  const auto read =
      CoreDataMonthlyReviewUseCase(contextHandle(), logger_).review(localDate(2024, 3, 20));

  EXPECT_EQ(read->feedback(), "A good month.");
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, SavesWhateverIsPendingWhenAReviewIsUpdated) {
  const auto review = reviews_.review(localDate(2024, 3, 7));
  const auto activity = CDActivity::create(context(), "red");

  EXPECT_EQ(printed([&] { reviews_.update(review); }), "");

  EXPECT_FALSE(activity->isInserted());
  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(stored<CDActivity>(), 1);
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, SavesWithoutAReviewAsWell) {
  const auto activity = CDActivity::create(context(), "red");

  reviews_.update(nullptr);

  EXPECT_FALSE(activity->isInserted());
  EXPECT_EQ(stored<CDActivity>(), 1);
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, MakesANewReviewWhenTheStoreCannotBeRead) {
  breakDisk();

  Ref<CDMonthlyReview> review;
  const std::string line = printed([&] { review = reviews_.review(localDate(2024, 3, 7)); });

  ASSERT_NE(review, nullptr);
  EXPECT_EQ(review->date(), "2024-03");
  EXPECT_TRUE(review->isInserted());
  // Once, for the look-up: of the save that failed too nobody is told.
  ASSERT_THAT(logger_->descriptions(), ElementsAre(StartsWith("Error Domain=NSSQLiteErrorDomain")));
  EXPECT_EQ(line, logger_->descriptions().front() + "\n");
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, GivesANewReviewThatItCannotSaveAndSaysNothing) {
  breakWrites();

  Ref<CDMonthlyReview> review;
  EXPECT_EQ(printed([&] { review = reviews_.review(localDate(2024, 3, 7)); }), "");

  ASSERT_NE(review, nullptr);
  EXPECT_TRUE(review->isInserted());
  EXPECT_THAT(logger_->descriptions(), IsEmpty());
  repairDisk();
  reviews_.update(review);
  EXPECT_EQ(stored<CDMonthlyReview>(), 1);
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, LogsAndPrintsAnUpdateThatCannotBeSaved) {
  const auto review = reviews_.review(localDate(2024, 3, 7));
  review->setFeedback("A good month.");
  breakWrites();

  const std::string line = printed([&] { reviews_.update(review); });

  ASSERT_THAT(logger_->descriptions(), ElementsAre(StartsWith("Error Domain=NSSQLiteErrorDomain")));
  EXPECT_EQ(line, logger_->descriptions().front() + "\n");
  EXPECT_TRUE(review->isUpdated());
}

TEST_F(CoreDataMonthlyReviewUseCaseTest, NamesMonthsInTheUsersCalendarAndDigits) {
  const support::ScopedSettings settings("th_TH", "Asia/Bangkok");

  EXPECT_EQ(reviews_.review(Date::from1970(1707541507))->date(), "2567-02");
}

}  // namespace
}  // namespace coredatastack
