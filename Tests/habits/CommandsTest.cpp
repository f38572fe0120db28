#include "Tests/habits/ProgramTest.h"

namespace habits {
namespace {

using nlohmann::json;

using HabitsTest = ProgramTest;

TEST_F(HabitsTest, AddsAHabit) {
  EXPECT_EQ(text({"add", "Run"}), "Added \"Run\".\n");

  const json list = data({"list"});
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0]["title"], "Run");
  EXPECT_EQ(list[0]["status"], 0);
  EXPECT_EQ(list[0]["target"], 1);
  EXPECT_TRUE(list[0]["goal"].is_null());
  EXPECT_TRUE(list[0]["last"].is_null());
}

TEST_F(HabitsTest, AddsAHabitWithColorAndTarget) {
  text({"add", "Run", "--color", "orange", "--target", "2.5"});

  EXPECT_EQ(data({"list"})[0]["color"], "orange");
  EXPECT_EQ(data({"list"})[0]["target"], 2.5);
}

TEST_F(HabitsTest, AddsAHabitWithAGoal) {
  text({"add", "a", "--every", "day", "--times", "2"});
  text({"add", "b", "--every", "week", "--times", "3"});
  text({"add", "c", "--every", "month", "--times", "4"});
  text({"add", "d", "--every", "year"});
  text({"add", "e", "--each-days", "7"});

  const json list = data({"list"});
  EXPECT_EQ(list[0]["goal"], "Daily goal: 2");
  EXPECT_EQ(list[1]["goal"], "Weekly goal: 3");
  EXPECT_EQ(list[2]["goal"], "Monthly goal: 4");
  EXPECT_EQ(list[3]["goal"], "Yearly goal: 1");
  EXPECT_EQ(list[4]["goal"], "체크인 후 7일 마다");
}

TEST_F(HabitsTest, DescribesGoalsInTheUsersLanguage) {
  program_.setEnvironment("LC_ALL", "ko_KR.UTF-8");
  text({"add", "운동", "--every", "day", "--times", "1000"});

  EXPECT_EQ(data({"list"})[0]["goal"], "매일 1,000회");
}

TEST_F(HabitsTest, AnswersWhatItAdded) {
  EXPECT_EQ(data({"add", "Run", "--target", "3"}),
            json({{"title", "Run"}, {"name", "Run"}, {"color", "blue"}, {"target", 3}}));
}

TEST_F(HabitsTest, ChecksAHabitIn) {
  text({"add", "Run"});

  EXPECT_EQ(text({"check", "Run", "--on", "2024-02-10"}), "Checked in \"Run\" on 2024-02-10.\n");
  EXPECT_EQ(data({"list"})[0]["last"], "2024-02-10");
}

TEST_F(HabitsTest, AnswersTheCheckin) {
  text({"add", "Run"});

  EXPECT_EQ(data({"check", "Run", "--on", "2024-02-10"}), json({{"activity", "Run"},
                                                                {"name", "Run"},
                                                                {"date", "2024-02-10"},
                                                                {"count", 1},
                                                                {"type", 0},
                                                                {"memo", nullptr}}));
}

TEST_F(HabitsTest, ChecksAHabitInAlternately) {
  text({"add", "Run"});

  EXPECT_EQ(data({"check", "Run", "--on", "2024-02-10", "--alternate"})["type"], 10);
}

TEST_F(HabitsTest, RefusesASecondCheckinOfADay) {
  text({"add", "Run"});
  text({"check", "Run", "--on", "2024-02-10"});

  refused({"check", "Run", "--on", "2024-02-10", "--alternate"},
          "There is a check-in of \"Run\" on 2024-02-10 already. \"habits more\" counts it once "
          "more.");
}

TEST_F(HabitsTest, CountsADayOnceMore) {
  text({"add", "Run"});

  EXPECT_EQ(data({"more", "Run", "--on", "2024-02-10"})["count"], 1);
  EXPECT_EQ(data({"more", "Run", "--on", "2024-02-10"})["count"], 2);
  EXPECT_EQ(text({"more", "Run", "--on", "2024-02-10"}),
            "Counted \"Run\" on 2024-02-10, 3 in all.\n");
}

TEST_F(HabitsTest, TakesACheckinBack) {
  text({"add", "Run"});
  text({"check", "Run", "--on", "2024-02-10"});

  EXPECT_EQ(text({"uncheck", "Run", "--on", "2024-02-10"}),
            "Took back the check-in of \"Run\" on 2024-02-10.\n");
  EXPECT_TRUE(data({"list"})[0]["last"].is_null());
}

TEST_F(HabitsTest, AnswersTheCheckinThatItTookBack) {
  text({"add", "Run"});
  text({"more", "Run", "--on", "2024-02-10"});
  text({"more", "Run", "--on", "2024-02-10"});

  EXPECT_EQ(data({"uncheck", "Run", "--on", "2024-02-10"})["count"], 2);
}

TEST_F(HabitsTest, RefusesToTakeBackWhatIsNotThere) {
  text({"add", "Run"});

  refused({"uncheck", "Run", "--on", "2024-02-10"},
          "There is no check-in of \"Run\" on 2024-02-10.");
}

TEST_F(HabitsTest, NotesADay) {
  text({"add", "Run"});
  text({"check", "Run", "--on", "2024-02-10"});

  EXPECT_EQ(text({"note", "Run", "The long way", "--on", "2024-02-10"}),
            "Noted that for \"Run\" on 2024-02-10.\n");
  EXPECT_EQ(data({"year", "Run", "2024"})["days"]["2024-02-10"]["memo"], "The long way");
}

TEST_F(HabitsTest, TakesANoteAwayWithAnEmptyOne) {
  text({"add", "Run"});
  text({"check", "Run", "--on", "2024-02-10"});
  text({"note", "Run", "The long way", "--on", "2024-02-10"});

  EXPECT_TRUE(data({"note", "Run", "", "--on", "2024-02-10"})["memo"].is_null());
}

TEST_F(HabitsTest, RefusesToNoteADayWithoutACheckin) {
  text({"add", "Run"});

  refused({"note", "Run", "The long way", "--on", "2024-02-10"},
          "There is no check-in of \"Run\" on 2024-02-10.");
}

TEST_F(HabitsTest, MeansTodayWithoutADay) {
  text({"add", "Run"});
  const json checkin = data({"check", "Run"});

  refused({"check", "Run"}, "There is a check-in of \"Run\" on " +
                                checkin["date"].get<std::string>() +
                                " already. \"habits more\" counts it once more.");
}

TEST_F(HabitsTest, ListsNothingInANewStore) {
  EXPECT_EQ(text({"list"}), "No habits yet. Add one: habits add \"Run\"\n");
  EXPECT_EQ(data({"list"}), json::array());
}

TEST_F(HabitsTest, ListsHabitsInColumns) {
  text({"add", "Run", "--every", "week", "--times", "3"});
  text({"add", "운동"});
  text({"achieve", "운동"});
  text({"check", "Run", "--on", "2024-02-10"});

  EXPECT_EQ(text({"list"}),
            "Run   2024-02-10  Weekly goal: 3\n"
            "운동  never                       achieved\n");
}

TEST_F(HabitsTest, ShowsControlCharactersAsQuestionMarks) {
  text({"add", "Run\033[2J"});

  EXPECT_EQ(text({"list"}), "Run?[2J  never\n");
}

TEST_F(HabitsTest, ShowsTheLastDayOfEachHabit) {
  text({"add", "Run"});
  text({"add", "Read"});
  text({"check", "Run", "--on", "2024-02-10"});
  text({"check", "Run", "--on", "2024-01-03"});

  EXPECT_EQ(text({"last"}), "2024-02-10  Run\n");
  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-10"}}));
}

TEST_F(HabitsTest, ShowsNoLastDayWithoutCheckins) {
  EXPECT_EQ(text({"last"}), "No check-ins yet.\n");
  EXPECT_EQ(data({"last"}), json::object());
}

TEST_F(HabitsTest, MarksAHabitAsAchieved) {
  text({"add", "Run"});

  EXPECT_EQ(text({"achieve", "Run"}), "Achieved \"Run\".\n");
  EXPECT_EQ(data({"list"})[0]["status"], 1);
}

TEST_F(HabitsTest, RefusesAHabitThatIsNotThere) {
  refused({"check", "Rum"},
          "There is no habit \"Rum\". \"habits list\" shows those that there are.");
}

TEST_F(HabitsTest, NamesTheSecondHabitOfATitle) {
  text({"add", "Run"});

  EXPECT_EQ(text({"add", "Run"}),
            "Added \"Run\". It is not the only one: call this one \"Run#2\".\n");
}

TEST_F(HabitsTest, RefusesATitleThatTwoHabitsBear) {
  text({"add", "Run"});
  text({"add", "Run"});

  const Outcome outcome = program_.run({"check", "Run"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.complaint.find("2 habits are called \"Run\". Say which one:\n  \"Run#1\""),
            std::string::npos);
}

TEST_F(HabitsTest, TellsHabitsOfOneTitleApartByTheirNumbers) {
  text({"add", "Run", "--color", "red"});
  text({"add", "Run", "--color", "green"});

  text({"check", "Run#2", "--on", "2024-02-10"});

  const json list = data({"list"});
  EXPECT_EQ(list[0]["name"], "Run#1");
  EXPECT_TRUE(list[0]["last"].is_null());
  EXPECT_EQ(list[1]["name"], "Run#2");
  EXPECT_EQ(list[1]["color"], "green");
  EXPECT_EQ(list[1]["last"], "2024-02-10");
  EXPECT_EQ(data({"last"}), json({{"Run#2", "2024-02-10"}}));
}

TEST_F(HabitsTest, RefusesANumberThatNoHabitHas) {
  text({"add", "Run"});

  refused({"check", "Run#2"},
          "There is no habit \"Run#2\". \"habits list\" shows those that there are.");
  refused({"check", "Run#0"},
          "There is no habit \"Run#0\". \"habits list\" shows those that there are.");
}

TEST_F(HabitsTest, PrefersATitleToANumber) {
  text({"add", "Run"});
  text({"add", "Run#1"});

  EXPECT_EQ(data({"check", "Run#1"})["activity"], "Run#1");
}

}  // namespace
}  // namespace habits
