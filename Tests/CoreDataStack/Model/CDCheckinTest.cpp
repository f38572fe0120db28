#include "CoreDataStack/Model/CDCheckin.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Tests/Support/LocalDate.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::CheckInIntensity;
using domain::CheckinProgressValue;
using domain::CheckinType;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using support::localDate;

class CDCheckinTest : public testing::Test {
 protected:
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  [[nodiscard]] Ref<CDCheckin> checkin(CheckinType type = CheckinType::standard) const {
    return make<CDCheckin>(context(), localDate(2024, 3, 7, 22), type);
  }
  /// One that was counted so often towards so much.
  [[nodiscard]] Ref<CDCheckin> counted(double count, double target) const {
    auto result = checkin();
    result->setCount(count);
    auto activity = CDActivity::create(context(), "red");
    activity->setCheckinMaxCount(target);
    result->setActivity(activity);
    return result;
  }
  [[nodiscard]] Ref<CDCheckin> withMemo(const char* memo) const {
    auto result = checkin();
    result->setMemo(memo);
    return result;
  }
  [[nodiscard]] Ref<CDCheckin> onDay(std::optional<std::string> day) const {
    auto result = checkin();
    result->setDate(std::move(day));
    return result;
  }

  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  support::TemporaryStore store_;
};

TEST_F(CDCheckinTest, IsMadeForTheLocalDay) {
  const auto made = checkin();

  EXPECT_EQ(made->date(), "2024-03-07");
  EXPECT_EQ(made->activity(), nullptr);
}

TEST_F(CDCheckinTest, IsMadeInThePersonsOwnDigits) {
  const support::ScopedSettings settings("ar_EG", "Asia/Seoul");

  EXPECT_EQ(checkin()->date(), "٢٠٢٤-٠٣-٠٧");
}

TEST_F(CDCheckinTest, IsMadeWithItsTypeAndCountedOnce) {
  EXPECT_EQ(checkin(CheckinType::standard)->type(), 0);
  EXPECT_EQ(checkin(CheckinType::alternate)->type(), 10);
  EXPECT_EQ(checkin()->count(), 1.0);
}

TEST_F(CDCheckinTest, IsMadeAtThePresentMoment) {
  const foundation::ManualClock clock(700000000);

  const auto made = checkin();

  EXPECT_EQ(made->createdDate(), Date::fromReference(700000000));
  EXPECT_EQ(made->modifiedDate(), Date::fromReference(700000000));
}

TEST_F(CDCheckinTest, CountsOneMoreAtATime) {
  const auto made = checkin();
  const foundation::ManualClock clock(800000000);

  made->increaseCount();
  made->increaseCount();

  EXPECT_EQ(made->count(), 3.0);
  EXPECT_EQ(made->modifiedDate(), Date::fromReference(800000000));
}

TEST_F(CDCheckinTest, HasMadeNoProgressWithoutAnActivity) {
  EXPECT_EQ(checkin()->progressValue(), CheckinProgressValue::progress(0.0));
  EXPECT_EQ(checkin(CheckinType::alternate)->progressValue(), CheckinProgressValue::progress(0.0));
}

TEST_F(CDCheckinTest, HasMadeAPartOfTheTarget) {
  EXPECT_EQ(counted(2, 4)->progressValue(), CheckinProgressValue::progress(0.5));
  EXPECT_EQ(counted(0, 4)->progressValue(), CheckinProgressValue::progress(0.0));
  EXPECT_EQ(counted(-1, 4)->progressValue(), CheckinProgressValue::progress(-0.25));
}

TEST_F(CDCheckinTest, IsCompleteAtTheTargetAndBeyond) {
  EXPECT_EQ(counted(4, 4)->progressValue(), CheckinProgressValue::complete());
  EXPECT_EQ(counted(5, 4)->progressValue(), CheckinProgressValue::complete());
}

TEST_F(CDCheckinTest, IsCompleteWithoutATarget) {
  EXPECT_EQ(counted(1, 0)->progressValue(), CheckinProgressValue::complete());
  EXPECT_EQ(counted(0, 0)->progressValue(), CheckinProgressValue::complete());
}

TEST_F(CDCheckinTest, HasMadeInfinitelyLittleOfNoTargetWithANegativeCount) {
  EXPECT_EQ(counted(-1, 0)->progressValue(),
            CheckinProgressValue::progress(-std::numeric_limits<double>::infinity()));
}

TEST_F(CDCheckinTest, IsOtherWhenAlternateWhateverItsCount) {
  const auto made = counted(4, 4);
  made->setType(10);

  EXPECT_EQ(made->progressValue(), CheckinProgressValue::other());
}

TEST_F(CDCheckinTest, IsDrawnLowBelowTwoFifths) {
  EXPECT_EQ(counted(0, 1)->intensity(), CheckInIntensity::low);
  EXPECT_EQ(counted(0.39999, 1)->intensity(), CheckInIntensity::low);
}

TEST_F(CDCheckinTest, IsDrawnMediumFromTwoFifthsOn) {
  EXPECT_EQ(counted(0.4, 1)->intensity(), CheckInIntensity::medium);
  EXPECT_EQ(counted(2, 4)->intensity(), CheckInIntensity::medium);
  EXPECT_EQ(counted(0.79999, 1)->intensity(), CheckInIntensity::medium);
}

TEST_F(CDCheckinTest, IsDrawnHighFromFourFifthsOn) {
  EXPECT_EQ(counted(0.8, 1)->intensity(), CheckInIntensity::high);
  EXPECT_EQ(counted(4, 4)->intensity(), CheckInIntensity::high);
  EXPECT_EQ(counted(9, 4)->intensity(), CheckInIntensity::high);
}

TEST_F(CDCheckinTest, IsDrawnHighWhenItsCountIsNegative) {
  EXPECT_EQ(counted(-1, 4)->intensity(), CheckInIntensity::high);
  EXPECT_EQ(counted(-1, 0)->intensity(), CheckInIntensity::high);
}

TEST_F(CDCheckinTest, IsNotDrawnUnlessStandard) {
  const auto made = counted(4, 4);
  for (const std::int16_t type : std::to_array<std::int16_t>({10, 5, -1})) {
    made->setType(type);
    EXPECT_EQ(made->intensity(), CheckInIntensity::none) << type;
  }
}

TEST_F(CDCheckinTest, IsDrawnLowWithoutAnActivity) {
  EXPECT_EQ(checkin()->intensity(), CheckInIntensity::low);
}

TEST_F(CDCheckinTest, BelongsToTheMonthOfItsDay) {
  EXPECT_EQ(onDay("2024-03-07")->section(), "2024-03");
}

TEST_F(CDCheckinTest, BelongsToTheMonthInCharactersNotBytes) {
  EXPECT_EQ(onDay("٢٠٢٤-٠٣-٠٧")->section(), "٢٠٢٤-٠٣");
}

TEST_F(CDCheckinTest, BelongsToItsWholeDayWhenThatIsShort) {
  EXPECT_EQ(onDay("2024")->section(), "2024");
  EXPECT_EQ(onDay("")->section(), "");
}

TEST_F(CDCheckinTest, BelongsToNoMonthWithoutADay) {
  EXPECT_EQ(onDay(std::nullopt)->section(), "");
}

TEST_F(CDCheckinTest, TellsItsSectionByName) {
  EXPECT_EQ(checkin()->valueForKey("section"), foundation::Value("2024-03"));
  EXPECT_EQ(checkin()->valueForKey("date"), foundation::Value("2024-03-07"));
}

TEST_F(CDCheckinTest, HasNoAttributeForItsSection) {
  EXPECT_EQ(checkin()->entity().property("section"), nullptr);
}

TEST_F(CDCheckinTest, CannotBeFetchedByItsSection) {
  auto request = CDCheckin::fetchRequest();
  request.setPredicate(foundation::NSPredicate::format("section = %@", "2024-03"));

  EXPECT_THROW(static_cast<void>(context().fetch(request)), foundation::Error);
}

TEST_F(CDCheckinTest, HasNoMemoWhenThereIsNone) { EXPECT_FALSE(checkin()->hasMemo()); }

TEST_F(CDCheckinTest, HasNoMemoOfBlanksAndLineBreaks) {
  EXPECT_FALSE(withMemo("")->hasMemo());
  EXPECT_FALSE(withMemo(" \t \n\r\n \u00a0\u3000")->hasMemo());
}

TEST_F(CDCheckinTest, HasAMemoOfOneLetterBetweenBlanks) {
  EXPECT_TRUE(withMemo(" \n a \n")->hasMemo());
}

TEST_F(CDCheckinTest, HasAMemoOfAZeroWidthSpace) { EXPECT_TRUE(withMemo("\u200b")->hasMemo()); }

}  // namespace
}  // namespace coredatastack
