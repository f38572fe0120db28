#include "Tests/habits/ProgramTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsStatsTest : public ProgramTest {
 protected:
  void SetUp() override {
    text({"add", "Run"});
    text({"more", "Run", "--on", "2024-01-31"});
    text({"more", "Run", "--on", "2024-02-10"});
    text({"more", "Run", "--on", "2024-02-10"});
    text({"check", "Run", "--on", "2024-03-01", "--alternate"});
    text({"add", "Read"});
    text({"check", "Read", "--on", "2024-02-11"});
  }
};

TEST_F(HabitsStatsTest, CountOrdinaryCheckins) {
  EXPECT_EQ(text({"stats", "Run"}),
            "Days   2\n"
            "Times  3\n"
            "First  2024-01-31\n"
            "Last   2024-02-10\n");
  EXPECT_EQ(data({"stats", "Run"}), json({{"title", "Run"},
                                          {"name", "Run"},
                                          {"days", 2},
                                          {"times", 3},
                                          {"first", "2024-01-31"},
                                          {"last", "2024-02-10"}}));
}

TEST_F(HabitsStatsTest, CountOtherTypesWhenAsked) {
  EXPECT_EQ(data({"stats", "Run", "--types", "standard,alternate"})["days"], 3);
  EXPECT_EQ(data({"stats", "Run", "--types", "alternate"})["first"], "2024-03-01");
}

TEST_F(HabitsStatsTest, KeepToAPeriodWithBothItsEnds) {
  EXPECT_EQ(data({"stats", "Run", "--from", "2024-01-31", "--to", "2024-02-10"})["days"], 2);
  EXPECT_EQ(data({"stats", "Run", "--from", "2024-02-01", "--to", "2024-02-09"})["days"], 0);
  EXPECT_EQ(data({"stats", "Run", "--from", "2024-02-01"})["times"], 2);
  EXPECT_EQ(data({"stats", "Run", "--to", "2024-02-09"})["times"], 1);
}

TEST_F(HabitsStatsTest, CountNothingWhereNothingIs) {
  EXPECT_EQ(text({"stats", "Run", "--from", "2025-01-01"}),
            "Days   0\nTimes  0\nFirst  never\nLast   never\n");
}

TEST_F(HabitsStatsTest, AreMisusedWithAPeriodOrTypeThatMakesNoSense) {
  misused({"stats", "Run", "--from", "2024-02-02", "--to", "2024-02-01"},
          "--to lies before --from.");
  EXPECT_EQ(program_.run({"stats", "Run", "--from", "soon"}).status, 2);
  EXPECT_EQ(program_.run({"stats", "Run", "--types", "other"}).status, 2);
}

TEST_F(HabitsStatsTest, AreRefusedOfAHabitThatIsNotThere) {
  refused({"stats", "Rum"},
          "There is no habit \"Rum\". \"habits list\" shows those that there are.");
}

}  // namespace
}  // namespace habits
