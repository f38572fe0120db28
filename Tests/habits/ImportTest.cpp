#include <cstdio>
#include <fstream>

#include "Tests/habits/ProgramTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsImportTest : public ProgramTest {
 protected:
  [[nodiscard]] std::string file(std::string_view content) const {
    const auto path = program_.directory() / "export.csv";
    std::ofstream(path, std::ios::binary) << content;
    return path.string();
  }
  /// What the import of a file with that content answers.
  [[nodiscard]] json imported(std::string_view content) const {
    return data({"import", file(content)});
  }
  json days(const std::string& habit) const { return data({"year", habit, "2024"})["days"]; }
  /// The import must be refused with what stands behind the file's name, and change nothing.
  void refusedFile(std::string_view content, const std::string& why) const {
    SCOPED_TRACE(content);
    const std::string path = file(content);
    refused({"import", path}, path + why);
    EXPECT_EQ(data({"list"}), json::array());
  }
  void refusedRow(std::string_view content, const std::string& why) const {
    refusedFile(content, " has 1 bad row; nothing was imported.\n  " + why +
                             "\nMend them, or leave them out with --skip-bad.");
  }
  void refusedHeader(std::string_view content, const std::string& why) const {
    refusedFile(content, " cannot be imported. " + why);
  }
};

TEST_F(HabitsImportTest, TakesInAListOfCheckins) {
  const std::string path = file(
      "date,activity,count,memo,group\n"
      "2024-02-10,Run,2.5,\"Far, \"\"very\"\" far\",Sport\n"
      "2024-02-11,Run,,,\n"
      "2024-02-11,운동,1,,Sport\n");

  EXPECT_EQ(text({"import", path}), "Imported 3 check-ins from " + path + ", 2 new habits.\n");

  EXPECT_EQ(days("Run")["2024-02-10"]["count"], 2.5);
  EXPECT_EQ(days("Run")["2024-02-10"]["memo"], "Far, \"very\" far");
  EXPECT_EQ(days("Run")["2024-02-11"]["count"], 1);
  EXPECT_TRUE(days("Run")["2024-02-11"]["memo"].is_null());
  EXPECT_EQ(days("운동").size(), 1U);
}

TEST_F(HabitsImportTest, UnderstandsTheOtherNamesOfColumnsInAnyOrder) {
  EXPECT_EQ(imported("HabitCategory,Streak,CommentText,Value,CalendarDate,HabitName\r\n"
                     "Sport,9,Wet,3,2024-02-10,Run\r\n"),
            json({{"imported", 1}, {"present", 0}, {"newHabits", 1}, {"badRows", 0}}));

  EXPECT_EQ(days("Run")["2024-02-10"],
            json({{"count", 3}, {"type", 0}, {"intensity", "high"}, {"memo", "Wet"}}));
}

TEST_F(HabitsImportTest, TakesInAMatrixOfDays) {
  EXPECT_EQ(imported("\xEF\xBB\xBF"
                     "Date,Run,Read,Rest,\n"
                     "2024-02-10,3,YES_MANUAL,,\n"
                     "2024-02-11,-1,0,NO,\n"
                     "2024-02-12,YES_AUTO,SKIP,UNKNOWN,\n"
                     "2024-02-13,,0.5,,\n"),
            json({{"imported", 3}, {"present", 0}, {"newHabits", 2}, {"badRows", 0}}));

  EXPECT_EQ(days("Run").size(), 1U);
  EXPECT_EQ(days("Run")["2024-02-10"]["count"], 3);
  EXPECT_EQ(days("Read")["2024-02-10"]["count"], 1);
  EXPECT_EQ(days("Read")["2024-02-13"]["count"], 0.5);
}

TEST_F(HabitsImportTest, ReadsDaysWithTheMonthFirstWhenAllAreWrittenSo) {
  static_cast<void>(imported("Date,Run\n02/10/24,1\n12/31/24,1\n"));

  EXPECT_TRUE(days("Run").contains("2024-02-10"));
  EXPECT_TRUE(days("Run").contains("2024-12-31"));
}

TEST_F(HabitsImportTest, ChangesNothingTheSecondTime) {
  static_cast<void>(
      imported("date,activity,count,memo\n2024-02-10,Run,2,Wet\n2024-02-11,Run,1,\n"));

  const std::string path =
      file("date,activity,count,memo\n2024-02-10,Run,5,Dry\n2024-02-11,Run,7,\n");
  EXPECT_EQ(text({"import", path}),
            "Imported 0 check-ins from " + path + "; left alone 2 days checked in already.\n");

  EXPECT_EQ(days("Run")["2024-02-10"]["count"], 2);
  EXPECT_EQ(days("Run")["2024-02-10"]["memo"], "Wet");
  EXPECT_EQ(data({"list"}).size(), 1U);
}

TEST_F(HabitsImportTest, LeavesCheckinsOfHabitsAloneThatWereThereBefore) {
  text({"add", "Run", "--color", "red"});
  text({"check", "Run", "--on", "2024-02-10", "--alternate"});

  EXPECT_EQ(imported("Date,Run\n2024-02-10,4\n2024-02-11,4\n"),
            json({{"imported", 1}, {"present", 1}, {"newHabits", 0}, {"badRows", 0}}));

  EXPECT_EQ(days("Run")["2024-02-10"]["type"], 10);
  EXPECT_EQ(data({"list"})[0]["color"], "red");
}

TEST_F(HabitsImportTest, TakesTheFirstOfTwoRowsOfADay) {
  EXPECT_EQ(imported("date,activity,count\n2024-02-10,Run,2\n2024-02-10,Run,3\n")["present"], 1);

  EXPECT_EQ(days("Run")["2024-02-10"]["count"], 2);
}

TEST_F(HabitsImportTest, SaysWhereARowIsBad) {
  refusedRow("date,activity\n2024-02-30,Run\n",
             "line 2, column 1: \"2024-02-30\" is no day; write it as YYYY-MM-DD, or all days as "
             "MM/DD/YY");
  refusedRow("date,activity\n2024-02-10, \n", "line 2, column 2: the habit has no title");
  refusedRow("date,activity\n\n\"2024-02-10\",R\"un\n",
             "line 3, column 2: a quotation mark stands inside a cell that is not in quotes");
  refusedRow("date,activity\n2024-02-10,caf\xE9\n", "line 2, column 2: this is no UTF-8 text");
  refusedRow("date,activity\n2024-02-10\n", "line 2, column 2: the row ends before this column");
  refusedRow("date,activity\n2024-02-10,Run,2\n",
             "line 2, column 3: the first row names no such column");
  for (const char* count : {"-2", "many", "1x", "inf", "nan", "yes_manual", " 1"}) {
    const std::string cell = std::string("2024-02-10,") + count + "\n";
    refusedRow("Date,Run\n2024-02-09,1\n" + cell,
               std::string("line 3, column 2: \"") + count +
                   "\" is no count; write a number above 0, or nothing");
  }
}

TEST_F(HabitsImportTest, DoesNotGuessHowDaysAreWrittenThatAreWrittenInTwoWays) {
  refusedRow("Date,Run\n02/10/24,1\n2024-02-11,1\n",
             "line 2, column 1: \"02/10/24\" is no day; write it as YYYY-MM-DD, or all days as "
             "MM/DD/YY");
}

TEST_F(HabitsImportTest, NamesTheFirstOfManyBadRows) {
  std::string content = "Date,Run\n";
  for (int i = 0; i < 25; ++i) content += "2024-02-10,much\n";

  const Outcome outcome = program_.run({"import", file(content)});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.complaint.find("has 25 bad rows"), std::string::npos);
  EXPECT_NE(outcome.complaint.find("line 21, column 2"), std::string::npos);
  EXPECT_EQ(outcome.complaint.find("line 22, column 2"), std::string::npos);
  EXPECT_NE(outcome.complaint.find("\n  and 5 more\n"), std::string::npos);
}

TEST_F(HabitsImportTest, LeavesBadRowsOutWhenAsked) {
  const std::string path = file("Date,Run,Read\n2024-02-10,1,much\n2024-02-11,1,2\nsoon,1,1\n");

  EXPECT_EQ(text({"import", path, "--skip-bad"}),
            "Imported 2 check-ins from " + path + ", 2 new habits; left out 2 bad rows.\n");

  EXPECT_EQ(days("Run").size(), 1U);
  EXPECT_TRUE(days("Run").contains("2024-02-11"));
}

TEST_F(HabitsImportTest, RefusesAFirstRowThatItDoesNotUnderstand) {
  refusedHeader("", "There are no rows in it.");
  const std::string unknown =
      "Line 1 names no columns that are understood: either \"activity\" and \"date\", and if there "
      "are any \"count\", \"memo\" and \"group\"; or first \"Date\", and then each habit.";
  refusedHeader("Date\n2024-02-10\n", unknown);
  refusedHeader("Run,Date\n1,2024-02-10\n", unknown);
  refusedHeader("Dear reader\n", unknown);
  refusedHeader("date,activity,CalendarDate\n",
                "Line 1, column 3: \"CalendarDate\" says again what column 1 says.");
  refusedHeader("Date,Run,Run\n", "Line 1, column 3: \"Run\" has column 2 already.");
  refusedHeader("Date,,Run\n", "Line 1, column 2: the habit has no title.");
  refusedHeader("Date,\"Run\n", "Line 1, column 2: the quotation mark here is never closed.");
}

TEST_F(HabitsImportTest, RefusesAFileThatItCannotRead) {
  const std::string missing = (program_.directory() / "missing.csv").string();

  const Outcome outcome = program_.run({"import", missing});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.complaint,
            "habits: " + missing + " cannot be read: No such file or directory.\n");
  EXPECT_EQ(program_.run({"import", program_.directory().string()}).status, 1);
}

TEST_F(HabitsImportTest, RefusesATitleThatTwoHabitsBear) {
  text({"add", "Run"});
  text({"add", "Run"});

  const Outcome outcome = program_.run({"import", file("Date,Run\n2024-02-10,1\n")});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.complaint.find("2 habits are called \"Run\". Say which one:\n  \"Run#1\""),
            std::string::npos);
  EXPECT_EQ(imported("Date,Run#2\n2024-02-10,1\n")["imported"], 1);
  EXPECT_EQ(data({"last"}), json({{"Run#2", "2024-02-10"}}));
}

TEST_F(HabitsImportTest, TakesNoNumberForOneWhereATitleStandsAlone) {
  text({"add", "Run"});

  EXPECT_EQ(imported("Date,Run#1\n2024-02-10,1\n")["newHabits"], 1);
}

TEST_F(HabitsImportTest, IsOneChangeOfTheStore) {
  static_cast<void>(imported("Date,Run\n2024-02-10,1\n"));
  const json before = data({"last"});

  const Outcome outcome =
      program_.run({"import", file("Date,Run,Read\n2024-02-11,1,1\n2024-02-12,1,much\n")});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(data({"last"}), before);
}

TEST_F(HabitsImportTest, ShowsHowFarItIsInATerminalAlone) {
  const std::string path = file("Date,Run\n2024-02-10,1\n2024-02-11,1\n");

  const std::string shown = program_.complaintInTerminal({"import", path});

  EXPECT_NE(shown.find("Importing ... 50 %"), std::string::npos) << shown;
  EXPECT_NE(shown.find("Saving ..."), std::string::npos) << shown;
  EXPECT_TRUE(shown.ends_with("\r\033[K")) << shown;
}

TEST_F(HabitsImportTest, TakesInAHundredThousandRows) {
  std::string content = "activity,date,count,memo\n";
  for (int habit = 0; habit < 40; ++habit) {
    for (int day = 0; day < 2500; ++day) {
      const int month = day / 28;
      char cells[64];
      std::snprintf(cells, sizeof cells, "Habit %d,%04d-%02d-%02d,%d,\n", habit, 2010 + month / 12,
                    month % 12 + 1, day % 28 + 1, day % 5 + 1);
      content += cells;
    }
  }

  EXPECT_EQ(imported(content),
            json({{"imported", 100'000}, {"present", 0}, {"newHabits", 40}, {"badRows", 0}}));
  EXPECT_EQ(imported(content),
            json({{"imported", 0}, {"present", 100'000}, {"newHabits", 0}, {"badRows", 0}}));
}

}  // namespace
}  // namespace habits
