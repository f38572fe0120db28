#include "Domain/CheckinRecorder.h"

#include "CoreDataStack/UseCases/CoreDataActivityUseCase.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Domain/CheckinError.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"

namespace coredatastack {
namespace {

using domain::CheckinError;
using domain::CheckinType;
using foundation::Date;
using foundation::Ref;
using support::localDate;

// Named out here: the compiler stumbles over them in a template.
constexpr CheckinType kStandard = CheckinType::standard;
constexpr CheckinType kAlternate = CheckinType::alternate;

/// What both use cases do that check an activity in and out.
template <typename UseCase>
class CheckinRecorderTest : public UseCaseTest {
 protected:
  [[nodiscard]] UseCase checkinsOf(const Ref<CDActivity>& activity) const {
    return {activity, contextHandle()};
  }
  /// The error that `work` throws.
  template <typename Work>
  [[nodiscard]] static std::optional<CheckinError> refusal(Work&& work) {
    try {
      work();
    } catch (const CheckinError& error) {
      return error;
    }
    return std::nullopt;
  }
};

using UseCases = testing::Types<CoreDataCheckinUseCase, CoreDataActivityUseCase>;
TYPED_TEST_SUITE(CheckinRecorderTest, UseCases);

TYPED_TEST(CheckinRecorderTest, AddsACheckinAndSavesIt) {
  const auto activity = this->savedActivity();

  this->checkinsOf(activity).addCheckin(localDate(2024, 2, 10, 9), kStandard);

  const auto checkin = activity->checkin(localDate(2024, 2, 10));
  ASSERT_NE(checkin, nullptr);
  EXPECT_EQ(checkin->type(), 0);
  EXPECT_EQ(checkin->count(), 1.0);
  EXPECT_TRUE(activity->checkins().contains(checkin));
  EXPECT_FALSE(this->context().hasChanges());
  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
}

TYPED_TEST(CheckinRecorderTest, AddsACheckinOfTheCallersType) {
  const auto activity = this->savedActivity();

  this->checkinsOf(activity).addCheckin(localDate(2024, 2, 10), kAlternate);

  EXPECT_EQ(activity->checkin(localDate(2024, 2, 10))->type(), 10);
}

TYPED_TEST(CheckinRecorderTest, RefusesASecondCheckinOfADay) {
  auto checkins = this->checkinsOf(this->savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10, 9), kStandard);

  EXPECT_EQ(this->refusal([&] { checkins.addCheckin(localDate(2024, 2, 10, 23, 59), kAlternate); }),
            CheckinError::alreadyExists());

  EXPECT_FALSE(this->context().hasChanges());
  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
}

TYPED_TEST(CheckinRecorderTest, RefusesAnotherTypeOnATakenDayAsWell) {
  auto checkins = this->checkinsOf(this->savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10), kAlternate);

  EXPECT_EQ(this->refusal([&] { checkins.addCheckin(localDate(2024, 2, 10), kStandard); }),
            CheckinError::alreadyExists());
}

TYPED_TEST(CheckinRecorderTest, AddsCheckinsOfTwoActivitiesOnOneDay) {
  this->checkinsOf(this->savedActivity()).addCheckin(localDate(2024, 2, 10), kStandard);
  this->checkinsOf(this->savedActivity()).addCheckin(localDate(2024, 2, 10), kStandard);

  EXPECT_EQ(this->template stored<CDCheckin>(), 2);
}

TYPED_TEST(CheckinRecorderTest, AddsACheckinToAnActivityThatIsNotSavedYet) {
  const auto activity = CDActivity::create(this->context(), "red");

  this->checkinsOf(activity).addCheckin(localDate(2024, 2, 10), kStandard);

  EXPECT_FALSE(this->context().hasChanges());
  EXPECT_TRUE(activity->didCheckin(localDate(2024, 2, 10)));
}

TYPED_TEST(CheckinRecorderTest, CountsTheFirstTimeAsOne) {
  const auto activity = this->savedActivity();

  const auto checkin = this->checkinsOf(activity).addCheckinCount(5.0, localDate(2024, 2, 10));

  EXPECT_EQ(checkin->count(), 1.0);
  EXPECT_EQ(checkin->type(), 0);
  EXPECT_EQ(checkin->activity(), activity);
  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
}

TYPED_TEST(CheckinRecorderTest, CountsOneMoreWhateverTheAmount) {
  auto checkins = this->checkinsOf(this->savedActivity());
  const auto first = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));

  for (const double amount : {5.0, 0.0, -3.0}) {
    EXPECT_EQ(checkins.addCheckinCount(amount, localDate(2024, 2, 10)), first);
  }

  EXPECT_EQ(first->count(), 4.0);
  EXPECT_FALSE(this->context().hasChanges());
  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
}

TYPED_TEST(CheckinRecorderTest, StampsWhatItCountsOnceMore) {
  auto checkins = this->checkinsOf(this->savedActivity());
  static_cast<void>(checkins.addCheckinCount(1.0, localDate(2024, 2, 10)));
  const foundation::ManualClock clock(800000000);

  const auto raised = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));

  EXPECT_EQ(raised->modifiedDate(), Date::fromReference(800000000));
  EXPECT_NE(raised->createdDate(), Date::fromReference(800000000));
}

TYPED_TEST(CheckinRecorderTest, CountsAnAlternateCheckinOnceMoreAsItIs) {
  auto checkins = this->checkinsOf(this->savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10), kAlternate);

  const auto raised = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));

  EXPECT_EQ(raised->count(), 2.0);
  EXPECT_EQ(raised->type(), 10);
}

TYPED_TEST(CheckinRecorderTest, DeletesTheCheckinOfADay) {
  const auto activity = this->savedActivity();
  auto checkins = this->checkinsOf(activity);
  checkins.addCheckin(localDate(2024, 2, 10), kStandard);
  checkins.addCheckin(localDate(2024, 2, 11), kStandard);

  checkins.deleteCheckin(localDate(2024, 2, 10, 23, 59));

  EXPECT_FALSE(activity->didCheckin(localDate(2024, 2, 10)));
  EXPECT_EQ(activity->checkins().count(), 1U);
  EXPECT_FALSE(this->context().hasChanges());
  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
}

TYPED_TEST(CheckinRecorderTest, FindsNothingToDeleteOnAnEmptyDay) {
  auto checkins = this->checkinsOf(this->savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10), kStandard);

  EXPECT_EQ(this->refusal([&] { checkins.deleteCheckin(localDate(2024, 2, 11)); }),
            CheckinError::notFound());

  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
}

TYPED_TEST(CheckinRecorderTest, SavesEverythingElseThatIsPendingToo) {
  const auto activity = this->savedActivity();
  activity->setTitle("Run");

  this->checkinsOf(activity).addCheckin(localDate(2024, 2, 10), kStandard);

  EXPECT_FALSE(this->context().hasChanges());
  EXPECT_EQ(activity->title(), "Run");
}

TYPED_TEST(CheckinRecorderTest, ShowsWhatOthersMadeOfTheActivityAfterEachWrite) {
  const auto activity = this->savedActivity();
  auto checkins = this->checkinsOf(activity);
  const auto rename = [&](const std::string& title) {
    const auto other = this->store_.newBackgroundContext();
    other->performBlockAndWait([&] {
      foundation::as<CDActivity>(other->objectWithID(*activity->objectID()))->setTitle(title);
      other->save();
    });
    EXPECT_NE(activity->title(), title);
  };

  rename("Run");
  checkins.addCheckin(localDate(2024, 2, 10), kStandard);
  EXPECT_EQ(activity->title(), "Run");

  rename("Walk");
  static_cast<void>(checkins.addCheckinCount(1.0, localDate(2024, 2, 10)));
  EXPECT_EQ(activity->title(), "Walk");

  rename("Swim");
  checkins.deleteCheckin(localDate(2024, 2, 10));
  EXPECT_EQ(activity->title(), "Swim");
}

TYPED_TEST(CheckinRecorderTest, ThrowsTheStoresErrorAndKeepsACheckinThatItCouldNotSave) {
  const auto activity = this->savedActivity();
  this->breakWrites();

  EXPECT_EQ(errorDomain(
                [&] { this->checkinsOf(activity).addCheckin(localDate(2024, 2, 10), kStandard); }),
            foundation::kSQLiteErrorDomain);

  EXPECT_EQ(activity->checkins().count(), 1U);
  this->repairDisk();
  this->context().save();
  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
}

TYPED_TEST(CheckinRecorderTest, ThrowsTheStoresErrorAndKeepsACountThatItCouldNotSave) {
  auto checkins = this->checkinsOf(this->savedActivity());
  const auto checkin = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));
  this->breakWrites();

  EXPECT_EQ(errorDomain(
                [&] { static_cast<void>(checkins.addCheckinCount(1.0, localDate(2024, 2, 10))); }),
            foundation::kSQLiteErrorDomain);

  EXPECT_EQ(checkin->count(), 2.0);
  EXPECT_TRUE(checkin->isUpdated());
}

TYPED_TEST(CheckinRecorderTest, ThrowsTheStoresErrorAndKeepsADeletionThatItCouldNotSave) {
  auto checkins = this->checkinsOf(this->savedActivity());
  const auto checkin = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));
  this->breakWrites();

  EXPECT_EQ(errorDomain([&] { checkins.deleteCheckin(localDate(2024, 2, 10)); }),
            foundation::kSQLiteErrorDomain);

  EXPECT_TRUE(checkin->isDeleted());
  this->repairDisk();
  EXPECT_EQ(this->template stored<CDCheckin>(), 1);
  this->context().save();
  EXPECT_EQ(this->template stored<CDCheckin>(), 0);
}

TYPED_TEST(CheckinRecorderTest, ThrowsWithoutAStoreAndKeepsWhatItCouldNotSave) {
  const auto container = support::containerWithoutStore();
  const auto& loose = container->viewContext();
  const auto activity = CDActivity::create(*loose, "red");

  EXPECT_THROW(TypeParam(activity, loose).addCheckin(localDate(2024, 2, 10), kStandard),
               foundation::Error);

  EXPECT_TRUE(loose->hasChanges());
  EXPECT_EQ(activity->checkins().count(), 1U);
}

}  // namespace
}  // namespace coredatastack
