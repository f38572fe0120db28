#include "Tools/storecheck/DayCheck.h"

#include <gtest/gtest.h>

namespace storecheck {

TEST(FormOfDay, IsGregorianForDaysThatThereAre) {
  for (const char* day : {"2024-02-29", "0001-01-01", "9999-12-31", "2000-02-29"})
    EXPECT_EQ(formOfDay(day), KeyForm::gregorian) << day;
}

TEST(FormOfDay, IsOtherForDaysThatAnotherCalendarMayHave) {
  for (const char* day : {"2023-02-29", "1900-02-29", "1403-02-31", "0000-01-01", "2024-13-01",
                          "12024-01-01", "2024-1-01", "٢٠٢٤-٠٢-١٠", "2024-闰02-10"}) {
    EXPECT_EQ(formOfDay(day), KeyForm::other) << day;
  }
}

TEST(FormOfDay, IsNoneForWhatNoDeviceWrites) {
  for (const char* day : {"", "-", "--", "2024-02", "2024-02-10-1", "2024-02-1o", "2024/02/10",
                          " 2024-02-10", "2024-02-10T00", "2024-02-\xff"}) {
    EXPECT_EQ(formOfDay(day), KeyForm::none) << day;
  }
  EXPECT_EQ(formOfDay(std::string(1000, '1') + "-01-01"), KeyForm::none);
}

TEST(FormOfMonth, HasAYearAndAMonth) {
  EXPECT_EQ(formOfMonth("2024-12"), KeyForm::gregorian);
  EXPECT_EQ(formOfMonth("2024-13"), KeyForm::other);
  EXPECT_EQ(formOfMonth("2024-00"), KeyForm::other);
  EXPECT_EQ(formOfMonth("2024-12-01"), KeyForm::none);
  EXPECT_EQ(formOfMonth("2024"), KeyForm::none);
}

}  // namespace storecheck
