#include <algorithm>

#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/DayKey.h"
#include "Tests/Reliability/Time/StoredDays.h"

namespace coredatastack {
namespace {

using foundation::Date;
using foundation::DateFormatter;
using foundation::DayKey;
using support::ScopedSettings;

constexpr const char* kGregorian = "en_US";
constexpr const char* kArabicDigits = "ar_EG";
constexpr const char* kBuddhist = "th_TH";
constexpr const char* kJapanese = "ja_JP@calendar=japanese";
constexpr const char* kPersian = "fa_IR";
constexpr const char* kIslamic = "ar_SA";

/// A day of the Gregorian calendar at noon UTC.
Date day(int year, int month, int dayOfMonth) {
  tm fields{};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = dayOfMonth;
  fields.tm_hour = 12;
  return Date::from1970(static_cast<double>(::timegm(&fields)));
}

struct Written {
  const char* locale;
  Date date;
  const char* key;
};

class Calendars : public testing::TestWithParam<Written> {
 protected:
  const ScopedSettings settings_{GetParam().locale, "UTC"};
};

TEST_P(Calendars, WriteTheirOwnDay) { EXPECT_EQ(DayKey(GetParam().date).text(), GetParam().key); }

TEST_P(Calendars, WriteTheMonthAsTheDaysBeginning) {
  EXPECT_EQ(DayKey(GetParam().date).month(), DateFormatter("yyyy-MM").string(GetParam().date));
  EXPECT_TRUE(std::string_view(GetParam().key).starts_with(DayKey(GetParam().date).month()));
}

TEST_P(Calendars, ReadBackWhatTheyWrote) {
  const auto read = DateFormatter("yyyy-MM-dd").date(GetParam().key);

  ASSERT_TRUE(read);
  EXPECT_EQ(*read, GetParam().date.addingTimeInterval(-43200));
}

// Leap days, the ends of months and years, and the new years of other calendars.
INSTANTIATE_TEST_SUITE_P(Days, Calendars,
                         testing::Values(Written{kGregorian, day(2000, 2, 29), "2000-02-29"},
                                         Written{kGregorian, day(2024, 2, 29), "2024-02-29"},
                                         Written{kGregorian, day(2100, 2, 28), "2100-02-28"},
                                         Written{kGregorian, day(2100, 3, 1), "2100-03-01"},
                                         Written{kGregorian, day(2024, 12, 30), "2024-12-30"},
                                         Written{kGregorian, day(2027, 1, 1), "2027-01-01"},
                                         Written{kArabicDigits, day(2024, 2, 29), "٢٠٢٤-٠٢-٢٩"},
                                         Written{kArabicDigits, day(2024, 12, 31), "٢٠٢٤-١٢-٣١"},
                                         Written{kBuddhist, day(2000, 2, 29), "2543-02-29"},
                                         Written{kBuddhist, day(2024, 2, 29), "2567-02-29"},
                                         Written{kBuddhist, day(2100, 3, 1), "2643-03-01"},
                                         Written{kBuddhist, day(2024, 12, 31), "2567-12-31"},
                                         Written{kJapanese, day(2019, 5, 1), "0001-05-01"},
                                         Written{kJapanese, day(2024, 2, 29), "0006-02-29"},
                                         Written{kPersian, day(2024, 3, 19), "۱۴۰۲-۱۲-۲۹"},
                                         Written{kPersian, day(2024, 3, 20), "۱۴۰۳-۰۱-۰۱"},
                                         Written{kPersian, day(2025, 3, 20), "۱۴۰۳-۱۲-۳۰"},
                                         Written{kPersian, day(2025, 3, 21), "۱۴۰۴-۰۱-۰۱"},
                                         Written{kIslamic, day(2024, 3, 11), "١٤٤٥-٠٩-٠١"},
                                         Written{kIslamic, day(2024, 7, 7), "١٤٤٦-٠١-٠١"}));

TEST(CalendarsWithoutADay, ReadNoneFromItsKey) {
  const Written missing[] = {{kGregorian, {}, "2100-02-29"},    {kGregorian, {}, "2023-02-29"},
                             {kArabicDigits, {}, "٢١٠٠-٠٢-٢٩"}, {kBuddhist, {}, "2643-02-29"},
                             {kJapanese, {}, "0005-02-29"},     {kPersian, {}, "۱۴۰۴-۱۲-۳۰"},
                             {kIslamic, {}, "١٤٤٥-٠٩-٣١"}};
  for (const Written& one : missing) {
    const ScopedSettings settings(one.locale, "UTC");
    EXPECT_EQ(DateFormatter("yyyy-MM-dd").date(one.key), std::nullopt) << one.key;
  }
}

TEST(CalendarsWithEras, BeginTheirYearsAnew) {
  const ScopedSettings settings(kJapanese, "UTC");

  EXPECT_EQ(DayKey(day(1989, 1, 7)).text(), "0064-01-07");
  EXPECT_EQ(DayKey(day(1989, 1, 8)).text(), "0001-01-08");
  EXPECT_EQ(DayKey(day(2019, 4, 30)).text(), "0031-04-30");
  EXPECT_EQ(DayKey(day(2019, 5, 1)).text(), "0001-05-01");
  // A text without its era is of the present one.
  EXPECT_EQ(DateFormatter("yyyy-MM-dd").date("0031-04-30"),
            day(2049, 4, 30).addingTimeInterval(-43200));
}

TEST(CalendarsWithoutEras, PutKeysInTheOrderOfTheirDays) {
  for (const char* locale : {kGregorian, kArabicDigits, kBuddhist, kPersian, kIslamic}) {
    const ScopedSettings settings(locale, "UTC");
    std::string last;
    for (Date date = day(1999, 12, 1); date < day(2101, 1, 1);
         date = date.addingTimeInterval(86400)) {
      std::string key = DayKey(date).string();
      ASSERT_LT(last, key) << locale;
      last = std::move(key);
    }
  }
}

/// What was written under the first setting, while a person uses the second.
class StoredCalendars : public StoredDays,
                        public testing::WithParamInterface<std::tuple<const char*, const char*>> {};

TEST_P(StoredCalendars, AreLeftAsTheyWereWritten) {
  const auto [before, after] = GetParam();
  const Date days[] = {day(2024, 2, 29), day(2024, 12, 31), day(2025, 1, 1), day(2025, 3, 20)};
  std::vector<std::string> written;
  {
    const ScopedSettings settings(before, "UTC");
    for (const Date& date : days) ASSERT_TRUE(checkIn(date));
    for (const Date& date : days) written.push_back(DayKey(date).string());
  }
  const auto rowsBefore = rows();
  ASSERT_EQ(keys(), written);

  {
    const ScopedSettings settings(after, "UTC");
    beginAnew();
    for (const Date& date : days) {
      // Only a key that says the same is the same day.
      const bool isKnown = std::ranges::find(written, DayKey(date).string()) != written.end();
      EXPECT_EQ(activity_->didCheckin(date), isKnown);
      EXPECT_EQ(checkIn(date), !isKnown);
      if (!isKnown) checkOut(date);
    }
    static_cast<void>(
        CoreDataCheckinUseCase(activity_, contextHandle()).lastCheckins(std::nullopt));
    EXPECT_EQ(rows(), rowsBefore);
  }

  const ScopedSettings settings(before, "UTC");
  beginAnew();
  for (const Date& date : days) EXPECT_TRUE(activity_->didCheckin(date));
}

const auto kLocales =
    testing::Values(kGregorian, kArabicDigits, kBuddhist, kJapanese, kPersian, kIslamic);

INSTANTIATE_TEST_SUITE_P(Pairs, StoredCalendars, testing::Combine(kLocales, kLocales));

}  // namespace
}  // namespace coredatastack
