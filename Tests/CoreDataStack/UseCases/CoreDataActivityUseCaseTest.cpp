#include "CoreDataStack/UseCases/CoreDataActivityUseCase.h"

#include <gmock/gmock.h>

#include "CoreDataStack/Model/CDReminder.h"
#include "CoreDataStack/Model/CDWidget.h"
#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"

namespace coredatastack {
namespace {

using domain::CheckinType;
using foundation::make;
using foundation::Ref;
using support::localDate;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class CoreDataActivityUseCaseTest : public UseCaseTest {
 protected:
  [[nodiscard]] CoreDataActivityUseCase useCase(const Ref<CDActivity>& activity) const {
    return {activity, contextHandle()};
  }
  [[nodiscard]] std::vector<double> countsOver(double threshold) const {
    std::vector<double> counts;
    for (const Ref<CDCheckin> checkin : useCase(nullptr).checkinsOfOverCount(threshold)) {
      counts.push_back(checkin->count());
    }
    return counts;
  }
  /// A check-in that has a picture with its data.
  void addCheckinWithPhoto(const Ref<CDActivity>& activity, const char* day) const {
    const auto info = make<CDPhotoInfo>(context(), domain::PhotoInfo{});
    const auto photo =
        make<CDPhoto>(context(), foundation::Data(std::vector<std::uint8_t>{1, 2, 3}), info);
    addCheckin(activity, day)->addPhotosObject(photo);
    context().save();
  }
};

TEST_F(CoreDataActivityUseCaseTest, ListsTheCheckinsOfAllActivitiesThatAreCountedMoreOften) {
  const auto a = savedActivity();
  const auto b = savedActivity();
  addCheckin(a, "2024-02-10", 1.0);
  addCheckin(a, "2024-02-11", 2.0);
  addCheckin(b, "2024-02-10", 3.0);

  EXPECT_THAT(countsOver(1.0), UnorderedElementsAre(2.0, 3.0));
}

TEST_F(CoreDataActivityUseCaseTest, ListsNothingOverAThresholdThatNoCountExceeds) {
  addCheckin(savedActivity(), "2024-02-10", 3.0);

  EXPECT_THAT(countsOver(3.0), IsEmpty());
}

TEST_F(CoreDataActivityUseCaseTest, ComparesCountsWithTheThresholdAsItIs) {
  addCheckin(savedActivity(), "2024-02-10", 0.25);
  addCheckin(savedActivity(), "2024-02-10", -2.0);

  EXPECT_THAT(countsOver(0.125), UnorderedElementsAre(0.25));
  EXPECT_THAT(countsOver(-2.5), UnorderedElementsAre(0.25, -2.0));
}

TEST_F(CoreDataActivityUseCaseTest, ListsCheckinsThatAreNotSavedYet) {
  make<CDCheckin>(context())->setCount(5.0);

  EXPECT_THAT(countsOver(4.0), UnorderedElementsAre(5.0));
}

TEST_F(CoreDataActivityUseCaseTest, ThrowsTheStoresErrorWhenTheListCannotBeRead) {
  breakDisk();

  EXPECT_EQ(errorDomain([&] { static_cast<void>(countsOver(1.0)); }),
            foundation::kSQLiteErrorDomain);
}

TEST_F(CoreDataActivityUseCaseTest, ErasesTheActivitysCheckinsAndNoOthers) {
  const auto activity = savedActivity();
  const auto other = savedActivity();
  addCheckin(activity, "2024-02-10");
  addCheckin(activity, "2024-02-11");
  const auto kept = addCheckin(other, "2024-02-10");

  useCase(activity).eraseAllData();

  EXPECT_FALSE(activity->didCheckin(localDate(2024, 2, 10)));
  EXPECT_FALSE(activity->didCheckin(localDate(2024, 2, 11)));
  EXPECT_EQ(other->checkin(localDate(2024, 2, 10)), kept);
  EXPECT_EQ(stored<CDCheckin>(), 1);
  EXPECT_EQ(stored<CDActivity>(), 2);
}

TEST_F(CoreDataActivityUseCaseTest, ErasesNoneOfTheActivitysOtherParts) {
  const auto activity = savedActivity();
  activity->setReminder(make<CDReminder>(context()));
  activity->setGroup(CDGroup::create(context()));
  activity->setWidget(make<CDWidget>(context()));
  activity->addWidgetsObject(make<CDActivityWidgetItem>(context()));
  addCheckin(activity, "2024-02-10");

  useCase(activity).eraseAllData();

  store_.reopen();
  const auto read = context().fetch(CDActivity::fetchRequest()).first();
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->checkins().count(), 0U);
  EXPECT_NE(read->goal(), nullptr);
  EXPECT_NE(read->order(), nullptr);
  EXPECT_NE(read->displayOn(), nullptr);
  EXPECT_NE(read->reminder(), nullptr);
  EXPECT_NE(read->group(), nullptr);
  EXPECT_NE(read->widget(), nullptr);
  EXPECT_EQ(read->widgets().count(), 1U);
}

TEST_F(CoreDataActivityUseCaseTest, ErasesThePicturesOfTheCheckinsAsWell) {
  const auto activity = savedActivity();
  addCheckinWithPhoto(activity, "2024-02-10");
  addCheckinWithPhoto(savedActivity(), "2024-02-10");

  useCase(activity).eraseAllData();

  EXPECT_EQ(stored<CDPhoto>(), 1);
  EXPECT_EQ(stored<CDPhotoInfo>(), 1);
}

TEST_F(CoreDataActivityUseCaseTest, ErasesNothingOfAnActivityWithoutCheckins) {
  const auto activity = savedActivity();
  addCheckin(savedActivity(), "2024-02-10");

  useCase(activity).eraseAllData();

  EXPECT_EQ(stored<CDCheckin>(), 1);
}

TEST_F(CoreDataActivityUseCaseTest, ErasesNothingOfAnActivityThatIsNotSavedYet) {
  const auto activity = CDActivity::create(context(), "red");
  const auto checkin = make<CDCheckin>(context(), localDate(2024, 2, 10), CheckinType::standard);
  activity->addCheckinsObject(checkin);

  useCase(activity).eraseAllData();

  EXPECT_TRUE(checkin->isInserted());
  EXPECT_EQ(activity->checkins().count(), 1U);
}

TEST_F(CoreDataActivityUseCaseTest, ErasesWithoutSavingWhatIsPending) {
  const auto activity = savedActivity();
  addCheckin(activity, "2024-02-10");
  activity->setTitle("Run");
  activity->addCheckinsObject(
      make<CDCheckin>(context(), localDate(2024, 2, 12), CheckinType::standard));

  useCase(activity).eraseAllData();

  EXPECT_TRUE(context().hasChanges());
  EXPECT_EQ(stored<CDCheckin>(), 0);
  context().save();
  EXPECT_EQ(stored<CDCheckin>(), 1);
  EXPECT_TRUE(activity->didCheckin(localDate(2024, 2, 12)));
}

TEST_F(CoreDataActivityUseCaseTest, LeavesLoadedCheckinsAsTheyWereUntilTheyAreRefreshed) {
  const auto activity = savedActivity();
  const auto checkin = addCheckin(activity, "2024-02-10", 4.0);
  ASSERT_EQ(activity->checkins().count(), 1U);

  useCase(activity).eraseAllData();

  EXPECT_EQ(checkin->count(), 4.0);
  EXPECT_EQ(activity->checkins().count(), 1U);
  EXPECT_FALSE(context().hasChanges());
  context().refreshAllObjects();
  EXPECT_TRUE(checkin->isDeleted());
  EXPECT_EQ(activity->checkins().count(), 0U);
}

TEST_F(CoreDataActivityUseCaseTest, CanCheckInAgainOnADayThatWasErased) {
  const auto activity = savedActivity();
  auto activities = useCase(activity);
  activities.addCheckin(localDate(2024, 2, 10), CheckinType::standard);

  activities.eraseAllData();
  activities.addCheckin(localDate(2024, 2, 10), CheckinType::alternate);

  EXPECT_EQ(activity->checkin(localDate(2024, 2, 10))->type(), 10);
  EXPECT_EQ(stored<CDCheckin>(), 1);
}

TEST_F(CoreDataActivityUseCaseTest, ThrowsTheStoresErrorWhenItCannotErase) {
  const auto activity = savedActivity();
  addCheckinWithPhoto(activity, "2024-02-10");
  breakWrites();

  EXPECT_EQ(errorDomain([&] { useCase(activity).eraseAllData(); }), foundation::kSQLiteErrorDomain);

  repairDisk();
  EXPECT_TRUE(activity->didCheckin(localDate(2024, 2, 10)));
  EXPECT_EQ(stored<CDCheckin>(), 1);
  EXPECT_EQ(stored<CDPhoto>(), 1);
  useCase(activity).eraseAllData();
  EXPECT_EQ(stored<CDCheckin>(), 0);
}

TEST_F(CoreDataActivityUseCaseTest, ThrowsWhenThereIsNoStoreToEraseFrom) {
  const auto container = support::containerWithoutStore();
  const auto& loose = container->viewContext();
  CoreDataActivityUseCase activities(CDActivity::create(*loose, "red"), loose);

  EXPECT_THROW(activities.eraseAllData(), foundation::Error);
}

}  // namespace
}  // namespace coredatastack
