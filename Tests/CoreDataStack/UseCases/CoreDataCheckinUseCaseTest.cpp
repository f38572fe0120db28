#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"

#include <gtest/gtest.h>

#include "CoreData/Context/SaveError.h"
#include "CoreData/Model/ModelBuilder.h"
#include "Domain/CheckinError.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Support/LocalDate.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::ActivityStatus;
using domain::CheckinError;
using domain::CheckinType;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using support::localDate;

class CoreDataCheckinUseCaseTest : public testing::Test {
 protected:
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  [[nodiscard]] Ref<CDActivity> savedActivity(
      ActivityStatus status = ActivityStatus::active) const {
    auto activity = CDActivity::create(context(), "red");
    activity->setStatus(status.value());
    context().save();
    return activity;
  }
  [[nodiscard]] CoreDataCheckinUseCase checkinsOf(const Ref<CDActivity>& activity) const {
    return {activity, store_.contextHandle()};
  }
  void addCheckin(const Ref<CDActivity>& activity, std::optional<std::string> day) const {
    auto checkin = make<CDCheckin>(context());
    checkin->setDate(std::move(day));
    checkin->setActivity(activity);
    context().save();
  }
  /// The check-ins that another reader of the file sees.
  [[nodiscard]] std::int64_t storedCheckins() const {
    const auto other = store_.opened()->newBackgroundContext();
    return other->performBlockAndWait([&] { return other->count(CDCheckin::fetchRequest()); });
  }

  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  support::TemporaryStore store_;
};

TEST_F(CoreDataCheckinUseCaseTest, AddsACheckinAndSavesIt) {
  const auto activity = savedActivity();

  checkinsOf(activity).addCheckin(localDate(2024, 2, 10, 9), CheckinType::standard);

  const auto checkin = activity->checkin(localDate(2024, 2, 10));
  ASSERT_NE(checkin, nullptr);
  EXPECT_EQ(checkin->type(), 0);
  EXPECT_EQ(checkin->count(), 1.0);
  EXPECT_TRUE(activity->checkins().contains(checkin));
  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(storedCheckins(), 1);
}

TEST_F(CoreDataCheckinUseCaseTest, AddsACheckinOfTheCallersType) {
  const auto activity = savedActivity();

  checkinsOf(activity).addCheckin(localDate(2024, 2, 10), CheckinType::alternate);

  EXPECT_EQ(activity->checkin(localDate(2024, 2, 10))->type(), 10);
}

TEST_F(CoreDataCheckinUseCaseTest, RefusesASecondCheckinOfADay) {
  auto checkins = checkinsOf(savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10, 9), CheckinType::standard);

  try {
    checkins.addCheckin(localDate(2024, 2, 10, 23, 59), CheckinType::alternate);
    FAIL() << "the day was taken";
  } catch (const CheckinError& error) {
    EXPECT_EQ(error, CheckinError::alreadyExists());
  }

  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(storedCheckins(), 1);
}

TEST_F(CoreDataCheckinUseCaseTest, RefusesAnotherTypeOnATakenDayAsWell) {
  auto checkins = checkinsOf(savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10), CheckinType::alternate);

  EXPECT_THROW(checkins.addCheckin(localDate(2024, 2, 10), CheckinType::standard), CheckinError);
}

TEST_F(CoreDataCheckinUseCaseTest, AddsCheckinsOfTwoActivitiesOnOneDay) {
  checkinsOf(savedActivity()).addCheckin(localDate(2024, 2, 10), CheckinType::standard);
  checkinsOf(savedActivity()).addCheckin(localDate(2024, 2, 10), CheckinType::standard);

  EXPECT_EQ(storedCheckins(), 2);
}

TEST_F(CoreDataCheckinUseCaseTest, AddsACheckinToAnActivityThatIsNotSavedYet) {
  const auto activity = CDActivity::create(context(), "red");

  checkinsOf(activity).addCheckin(localDate(2024, 2, 10), CheckinType::standard);

  EXPECT_FALSE(context().hasChanges());
  EXPECT_TRUE(activity->didCheckin(localDate(2024, 2, 10)));
}

TEST_F(CoreDataCheckinUseCaseTest, CountsTheFirstTimeAsOne) {
  const auto activity = savedActivity();

  const auto checkin = checkinsOf(activity).addCheckinCount(5.0, localDate(2024, 2, 10));

  EXPECT_EQ(checkin->count(), 1.0);
  EXPECT_EQ(checkin->type(), 0);
  EXPECT_EQ(checkin->activity(), activity);
  EXPECT_EQ(storedCheckins(), 1);
}

TEST_F(CoreDataCheckinUseCaseTest, CountsOneMoreWhateverTheAmount) {
  auto checkins = checkinsOf(savedActivity());
  const auto first = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));

  for (const double amount : {5.0, 0.0, -3.0}) {
    EXPECT_EQ(checkins.addCheckinCount(amount, localDate(2024, 2, 10)), first);
  }

  EXPECT_EQ(first->count(), 4.0);
  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(storedCheckins(), 1);
}

TEST_F(CoreDataCheckinUseCaseTest, StampsWhatItCountsOnceMore) {
  auto checkins = checkinsOf(savedActivity());
  checkins.addCheckinCount(1.0, localDate(2024, 2, 10));
  const foundation::ManualClock clock(800000000);

  const auto raised = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));

  EXPECT_EQ(raised->modifiedDate(), Date::fromReference(800000000));
  EXPECT_NE(raised->createdDate(), Date::fromReference(800000000));
}

TEST_F(CoreDataCheckinUseCaseTest, CountsAnAlternateCheckinOnceMoreAsItIs) {
  auto checkins = checkinsOf(savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10), CheckinType::alternate);

  const auto raised = checkins.addCheckinCount(1.0, localDate(2024, 2, 10));

  EXPECT_EQ(raised->count(), 2.0);
  EXPECT_EQ(raised->type(), 10);
}

TEST_F(CoreDataCheckinUseCaseTest, DeletesTheCheckinOfADay) {
  const auto activity = savedActivity();
  auto checkins = checkinsOf(activity);
  checkins.addCheckin(localDate(2024, 2, 10), CheckinType::standard);
  checkins.addCheckin(localDate(2024, 2, 11), CheckinType::standard);

  checkins.deleteCheckin(localDate(2024, 2, 10, 23, 59));

  EXPECT_FALSE(activity->didCheckin(localDate(2024, 2, 10)));
  EXPECT_EQ(activity->checkins().count(), 1U);
  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(storedCheckins(), 1);
}

TEST_F(CoreDataCheckinUseCaseTest, FindsNothingToDeleteOnAnEmptyDay) {
  auto checkins = checkinsOf(savedActivity());
  checkins.addCheckin(localDate(2024, 2, 10), CheckinType::standard);

  try {
    checkins.deleteCheckin(localDate(2024, 2, 11));
    FAIL() << "the day is empty";
  } catch (const CheckinError& error) {
    EXPECT_EQ(error, CheckinError::notFound());
  }

  EXPECT_EQ(storedCheckins(), 1);
}

TEST_F(CoreDataCheckinUseCaseTest, SavesEverythingElseThatIsPendingToo) {
  const auto activity = savedActivity();
  activity->setTitle("Run");

  checkinsOf(activity).addCheckin(localDate(2024, 2, 10), CheckinType::standard);

  EXPECT_FALSE(context().hasChanges());
  EXPECT_EQ(activity->title(), "Run");
}

TEST_F(CoreDataCheckinUseCaseTest, ThrowsTheStoresErrorAndKeepsWhatItCouldNotSave) {
  const auto container = support::containerWithoutStore();
  const auto& loose = container->viewContext();
  const auto activity = CDActivity::create(*loose, "red");

  EXPECT_THROW(CoreDataCheckinUseCase(activity, loose)
                   .addCheckin(localDate(2024, 2, 10), CheckinType::standard),
               foundation::Error);

  EXPECT_TRUE(loose->hasChanges());
  EXPECT_EQ(activity->checkins().count(), 1U);
}

TEST_F(CoreDataCheckinUseCaseTest, ListsTheLatestDayOfEveryActivity) {
  const auto a = savedActivity();
  const auto b = savedActivity();
  addCheckin(a, "2024-02-10");
  addCheckin(a, "2024-01-03");

  const auto last = checkinsOf(b).lastCheckins(std::nullopt);

  EXPECT_EQ(last, (CoreDataCheckinUseCase::LastCheckins{{a, localDate(2024, 2, 10)}}));
}

TEST_F(CoreDataCheckinUseCaseTest, ListsActivitiesOfEveryStatusUnlessAsked) {
  const auto active = savedActivity(ActivityStatus::active);
  const auto archived = savedActivity(ActivityStatus::archived);
  addCheckin(active, "2024-02-10");
  addCheckin(archived, "2024-02-11");

  EXPECT_EQ(checkinsOf(active).lastCheckins(std::nullopt).size(), 2U);
}

TEST_F(CoreDataCheckinUseCaseTest, ListsActivitiesOfOneStatus) {
  for (const ActivityStatus status :
       {ActivityStatus::active, ActivityStatus::achieved, ActivityStatus::archived}) {
    addCheckin(savedActivity(status), "2024-02-10");
  }

  for (const ActivityStatus status :
       {ActivityStatus::active, ActivityStatus::achieved, ActivityStatus::archived}) {
    const auto last = checkinsOf(nullptr).lastCheckins(status);
    ASSERT_EQ(last.size(), 1U);
    EXPECT_EQ(last.begin()->first->status(), status.value());
  }
}

TEST_F(CoreDataCheckinUseCaseTest, LeavesOutDaysThatCannotBeRead) {
  const auto a = savedActivity();
  const auto b = savedActivity();
  for (const char* day : {"2024-02-10", "2024-02-30", "someday", "2024-2-11", ""})
    addCheckin(a, day);
  addCheckin(b, "never");
  addCheckin(b, std::nullopt);

  const auto last = checkinsOf(a).lastCheckins(std::nullopt);

  EXPECT_EQ(last, (CoreDataCheckinUseCase::LastCheckins{{a, localDate(2024, 2, 10)}}));
}

TEST_F(CoreDataCheckinUseCaseTest, LeavesOutCheckinsWithoutAnActivity) {
  addCheckin(nullptr, "2024-02-10");

  EXPECT_TRUE(checkinsOf(nullptr).lastCheckins(std::nullopt).empty());
}

TEST_F(CoreDataCheckinUseCaseTest, ListsCheckinsOfAnyType) {
  const auto activity = savedActivity();
  checkinsOf(activity).addCheckin(localDate(2024, 2, 10), CheckinType::alternate);

  EXPECT_EQ(checkinsOf(activity).lastCheckins(std::nullopt).at(activity), localDate(2024, 2, 10));
}

TEST_F(CoreDataCheckinUseCaseTest, ListsTheFirstInstantOfADayWithoutMidnight) {
  const support::ScopedSettings settings("en_US", "America/Sao_Paulo");
  const auto activity = savedActivity();
  addCheckin(activity, "2018-11-04");

  EXPECT_EQ(checkinsOf(activity).lastCheckins(std::nullopt).at(activity),
            localDate(2018, 11, 4, 1));
}

TEST_F(CoreDataCheckinUseCaseTest, ThrowsWhenTheListCannotBeRead) {
  const auto container = support::containerWithoutStore();
  CoreDataCheckinUseCase checkins(nullptr, container->viewContext());

  EXPECT_THROW(static_cast<void>(checkins.lastCheckins(std::nullopt)), foundation::Error);
}

TEST_F(CoreDataCheckinUseCaseTest, ListsNothingFromCheckinsThatHaveNoActivities) {
  const support::TemporaryDirectory directory;
  const auto container = make<coredata::NSPersistentContainer>(
      "Loose",
      coredata::modelFromSource(R"({"entities": {"Checkin": {"attributes": {"date": "text"}}}})"));
  container->setPersistentStoreDescriptions({coredata::NSPersistentStoreDescription(
      foundation::URL::fileURL((directory.path() / "loose.sqlite").string()))});
  container->loadPersistentStores([](const auto&, const auto& error) { ASSERT_FALSE(error); });
  container->viewContext()->insertNewObject("Checkin")->setValue("2024-02-10", "date");
  container->viewContext()->save();

  CoreDataCheckinUseCase checkins(nullptr, container->viewContext());

  EXPECT_TRUE(checkins.lastCheckins(std::nullopt).empty());
}

}  // namespace
}  // namespace coredatastack
