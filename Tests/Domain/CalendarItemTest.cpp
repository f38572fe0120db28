#include "Domain/CalendarItem.h"

#include <gtest/gtest.h>

#include <array>

#include "Domain/DateFormat.h"

namespace domain {
namespace {

std::array<std::int64_t, 3> firstDay(const CalendarItem& item) {
  return {item.firstDay().year, item.firstDay().month, item.firstDay().day};
}

TEST(DateFormat, WritesYearMonthAndDay) {
  EXPECT_EQ(DateFormat(DateFormat::year).pattern(), "yyyy");
  EXPECT_EQ(DateFormat(DateFormat::month).pattern(), "yyyy-MM");
  EXPECT_EQ(DateFormat(DateFormat::day).pattern(), "yyyy-MM-dd");
}

TEST(CalendarItem, BeginsOnTheFirstOfWhatItDoesNotSay) {
  EXPECT_EQ(firstDay(CalendarItem::year(2024)), (std::array<std::int64_t, 3>{2024, 1, 1}));
  EXPECT_EQ(firstDay(CalendarItem::month(2024, 2)), (std::array<std::int64_t, 3>{2024, 2, 1}));
  EXPECT_EQ(firstDay(CalendarItem::day(2024, 2, 10)), (std::array<std::int64_t, 3>{2024, 2, 10}));
}

TEST(CalendarItem, KnowsTheFormatThatTellsItApart) {
  EXPECT_EQ(CalendarItem::year(2024).format(), DateFormat::year);
  EXPECT_EQ(CalendarItem::month(2024, 2).format(), DateFormat::month);
  EXPECT_EQ(CalendarItem::day(2024, 2, 10).format(), DateFormat::day);
}

}  // namespace
}  // namespace domain
