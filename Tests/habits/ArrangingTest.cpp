#include <fstream>

#include "Tests/habits/ProgramTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsArrangingTest : public ProgramTest {
 protected:
  /// The names of the habits that a list shows.
  std::vector<std::string> listed(std::vector<std::string> filter) const {
    filter.insert(filter.begin(), "list");
    std::vector<std::string> names;
    for (const json& habit : data(filter)) names.push_back(habit["name"]);
    return names;
  }
};

using Names = std::vector<std::string>;

TEST_F(HabitsArrangingTest, ListsGroupsInTheOrderInWhichTheyWereAdded) {
  EXPECT_EQ(text({"group", "list"}), "No groups yet. Add one: habits group add \"Sport\"\n");
  EXPECT_EQ(text({"group", "add", "Sport"}), "Added the group \"Sport\".\n");
  text({"group", "add", "Mind"});
  text({"add", "Run"});
  text({"group", "move", "Run", "Mind"});

  EXPECT_EQ(text({"group", "list"}), "Sport  0 habits\nMind   1 habit\n");
  EXPECT_EQ(data({"group", "list"})[1], json({{"title", "Mind"}, {"priority", 1}, {"habits", 1}}));
}

TEST_F(HabitsArrangingTest, MovesAHabitIntoAGroupAndOutOfIt) {
  text({"group", "add", "Sport"});
  text({"add", "Run"});

  EXPECT_EQ(text({"group", "move", "Run", "Sport"}), "Moved \"Run\" into the group \"Sport\".\n");
  EXPECT_EQ(data({"list"})[0]["group"], "Sport");

  EXPECT_EQ(text({"group", "move", "Run", "--none"}), "Moved \"Run\" out of its group.\n");
  EXPECT_TRUE(data({"list"})[0]["group"].is_null());
}

TEST_F(HabitsArrangingTest, RefusesGroupsThatAreThereOrNot) {
  text({"group", "add", "Sport"});
  text({"add", "Run"});

  refused({"group", "add", "Sport"}, "There is a group \"Sport\" already.");
  refused({"group", "move", "Run", "Mind"}, "There is no group \"Mind\".");
  misused({"group", "add", " "}, "A group needs a title.");
  misused({"group", "move", "Run"}, "Name the group, or say --none.");
  EXPECT_EQ(program_.run({"group", "move", "Run", "Sport", "--none"}).status, 2);
  EXPECT_EQ(program_.run({"group"}).status, 2);
}

TEST_F(HabitsArrangingTest, ListsTheActiveHabitsOfAGroupOrOfNone) {
  text({"group", "add", "Sport"});
  for (const char* habit : {"Run", "Swim", "Read"}) text({"add", habit});
  for (const char* habit : {"Run", "Swim"}) text({"group", "move", habit, "Sport"});
  text({"achieve", "Run"});

  EXPECT_EQ(listed({"--group", "Sport"}), (Names{"Swim"}));
  EXPECT_EQ(listed({"--none"}), (Names{"Read"}));
  refused({"list", "--group", "Mind"}, "There is no group \"Mind\".");
  EXPECT_EQ(program_.run({"list", "--none", "--group", "Sport"}).status, 2);
}

TEST_F(HabitsArrangingTest, ListsTheHabitsOfAStatus) {
  for (const char* habit : {"Run", "Read"}) text({"add", habit});
  text({"achieve", "Run"});

  EXPECT_EQ(listed({"--status", "achieved"}), (Names{"Run"}));
  EXPECT_EQ(listed({"--status", "active"}), (Names{"Read"}));
  EXPECT_EQ(text({"list", "--status", "archived"}), "No such habits.\n");
  EXPECT_EQ(program_.run({"list", "--status", "forgotten"}).status, 2);
}

TEST_F(HabitsArrangingTest, ListsHabitsOfOneTitleByTheirNumbers) {
  for (const char* habit : {"Run", "Run"}) text({"add", habit});
  text({"achieve", "Run#2"});

  EXPECT_EQ(listed({"--status", "active"}), (Names{"Run#1"}));
}

TEST_F(HabitsArrangingTest, GroupsTheHabitsThatAnImportMakes) {
  const auto path = program_.directory() / "export.csv";
  std::ofstream(path) << "activity,date,group\nRun,2024-02-10,Sport\nSwim,2024-02-10,Sport\n";

  text({"import", path.string()});

  EXPECT_EQ(text({"group", "list"}), "Sport  2 habits\n");
}

TEST_F(HabitsArrangingTest, SetsAReminder) {
  text({"add", "Run"});

  EXPECT_EQ(text({"remind", "Run"}), "No reminders of \"Run\".\n");
  EXPECT_EQ(text({"remind", "Run", "--at", "07:30", "--days", "wed,mon"}),
            "Reminds of \"Run\" at 07:30 on mon, wed.\n");
  EXPECT_EQ(text({"remind", "Run", "--days", "all"}), "Reminds of \"Run\" at 07:30 every day.\n");
  EXPECT_EQ(data({"remind", "Run", "--at", "21:05", "--days", "sun"}),
            json({{"title", "Run"}, {"name", "Run"}, {"at", "21:05"}, {"days", {"sun"}}}));
  EXPECT_EQ(text({"remind", "Run", "--days", "none"}), "No reminders of \"Run\".\n");
  EXPECT_EQ(data({"remind", "Run"})["at"], "21:05");
}

TEST_F(HabitsArrangingTest, RemindsAtNineEveryDayUnlessTold) {
  text({"add", "Run"});
  text({"add", "Read"});

  EXPECT_EQ(text({"remind", "Run", "--days", "sat"}), "Reminds of \"Run\" at 09:00 on sat.\n");
  EXPECT_EQ(text({"remind", "Read", "--at", "20:00"}), "Reminds of \"Read\" at 20:00 every day.\n");
}

TEST_F(HabitsArrangingTest, IsMisusedWithTimesAndDaysThatAreNone) {
  text({"add", "Run"});

  for (const char* time : {"24:00", "12:60", "7:30", "07:3", "0730", "07.30", "", "-1:30"}) {
    SCOPED_TRACE(time);
    misused({"remind", "Run", "--at", time},
            "\"" + std::string(time) + "\" is no time; write it as HH:MM, such as 07:30.");
  }
  EXPECT_EQ(program_.run({"remind", "Run", "--days", "someday"}).status, 2);
  misused({"remind", "Run", "--days", "mon,none"},
          "--days takes days of the week, or \"all\" or \"none\" alone.");
}

TEST_F(HabitsArrangingTest, ArrangesHabitsInWidgets) {
  for (const char* habit : {"Run", "Read"}) text({"add", habit});
  EXPECT_EQ(text({"widget", "list"}),
            "No widgets yet. Add one: habits widget add \"Morning\" \"Run\"\n");

  EXPECT_EQ(text({"widget", "add", "Morning", "Read", "Run", "--size", "medium"}),
            "Added the widget \"Morning\".\n");
  text({"widget", "add", "Day", "Run"});

  EXPECT_EQ(text({"widget", "list"}),
            "Day      small   Run\n"
            "Morning  medium  Read, Run\n");
  const json widget = data({"widget", "list"})[1];
  EXPECT_EQ(widget["name"], "Morning");
  EXPECT_EQ(widget["habits"], json({"Read", "Run"}));
  EXPECT_EQ(widget["uuid"].get<std::string>().size(), 36U);
}

TEST_F(HabitsArrangingTest, RemovesAWidgetAndNoHabit) {
  text({"add", "Run"});
  text({"widget", "add", "Morning", "Run"});

  EXPECT_EQ(text({"widget", "remove", "Morning"}), "Removed the widget \"Morning\".\n");

  EXPECT_EQ(data({"widget", "list"}), json::array());
  EXPECT_EQ(listed({}), (Names{"Run"}));
  refused({"widget", "remove", "Morning"}, "There is no widget \"Morning\".");
}

TEST_F(HabitsArrangingTest, TellsWidgetsOfOneNameApartByTheirIdentities) {
  text({"add", "Run"});
  for (int i = 0; i < 2; ++i) text({"widget", "add", "Morning", "Run"});
  const json widgets = data({"widget", "list"});
  const std::string first = widgets[0]["uuid"];
  const std::string second = widgets[1]["uuid"];

  refused({"widget", "remove", "Morning"},
          "2 widgets are called \"Morning\". Say which one:\n  " + first + "\n  " + second);
  text({"widget", "remove", second});

  EXPECT_EQ(data({"widget", "list"})[0]["uuid"], first);
}

TEST_F(HabitsArrangingTest, WritesAReviewOfAMonth) {
  EXPECT_EQ(text({"review", "2024-02"}), "Nothing is written about 2024-02.\n");
  EXPECT_EQ(text({"review", "2024-02", "Went\nwell"}), "Went\nwell\n");
  EXPECT_EQ(text({"review", "2024-02", "Went better"}), "Went better\n");
  EXPECT_EQ(data({"review", "2024-02"}), json({{"month", "2024-02"}, {"text", "Went better"}}));
  EXPECT_EQ(text({"review", "2024-02", ""}), "Nothing is written about 2024-02.\n");
}

TEST_F(HabitsArrangingTest, ReviewsThisMonthUnlessTold) {
  text({"add", "Run"});
  const std::string today = data({"check", "Run"})["date"];

  EXPECT_EQ(data({"review"})["month"], today.substr(0, 7));
}

TEST_F(HabitsArrangingTest, IsMisusedWithAMonthThatIsNone) {
  for (const char* month : {"2024-13", "2024", "2024-2", "2024-02-01", "soon", ""}) {
    misused({"review", month},
            "\"" + std::string(month) + "\" is no month; write it as YYYY-MM, such as 2024-02.");
  }
}

}  // namespace
}  // namespace habits
