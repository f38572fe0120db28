#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"

#include "CoreData/Model/ModelBuilder.h"
#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"

namespace coredatastack {
namespace {

using domain::ActivityStatus;
using domain::CheckinType;
using foundation::make;
using foundation::Ref;
using support::localDate;

class CoreDataCheckinUseCaseTest : public UseCaseTest {
 protected:
  [[nodiscard]] CoreDataCheckinUseCase checkinsOf(const Ref<CDActivity>& activity) const {
    return {activity, contextHandle()};
  }
};

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

TEST_F(CoreDataCheckinUseCaseTest, ThrowsTheStoresErrorWhenTheListCannotBeRead) {
  breakDisk();

  EXPECT_EQ(errorDomain([&] { static_cast<void>(checkinsOf(nullptr).lastCheckins(std::nullopt)); }),
            foundation::kSQLiteErrorDomain);
}

TEST_F(CoreDataCheckinUseCaseTest, ThrowsWhenThereIsNoStoreToReadTheListFrom) {
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

TEST_F(CoreDataCheckinUseCaseTest, ThrowsWhereNobodyKnowsCheckins) {
  const auto container = make<coredata::NSPersistentContainer>(
      "Nothing", coredata::modelFromSource(R"({"entities": {}})"));
  CoreDataCheckinUseCase checkins(nullptr, container->viewContext());

  EXPECT_THROW(static_cast<void>(checkins.lastCheckins(std::nullopt)), foundation::Error);
}

}  // namespace
}  // namespace coredatastack
