#include "Tests/habits/ProgramTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsErasingTest : public ProgramTest {
 protected:
  void SetUp() override {
    for (const char* habit : {"Run", "Read"}) {
      text({"add", habit});
      text({"check", habit, "--on", "2024-02-10"});
    }
    text({"check", "Run", "--on", "2024-02-11", "--alternate"});
  }
  [[nodiscard]] json lastDays() const { return data({"last"}); }
};

const json kAllThere = {{"Run", "2024-02-11"}, {"Read", "2024-02-10"}};

TEST_F(HabitsErasingTest, ErasesTheCheckinsOfAHabit) {
  EXPECT_EQ(text({"erase", "Run", "--yes"}), "Erased 2 check-ins of \"Run\".\n");

  EXPECT_EQ(lastDays(), json({{"Read", "2024-02-10"}}));
  EXPECT_EQ(data({"list"}).size(), 2U);
}

TEST_F(HabitsErasingTest, RemovesAHabitWithItsCheckins) {
  EXPECT_EQ(text({"remove", "Run", "--yes"}), "Removed \"Run\".\n");

  EXPECT_EQ(data({"list"}).size(), 1U);
  EXPECT_EQ(lastDays(), json({{"Read", "2024-02-10"}}));
}

TEST_F(HabitsErasingTest, DoesNothingUnaskedAndUntold) {
  refused({"erase", "Run"},
          "Erase 2 check-ins of \"Run\"? This cannot be undone: say --yes if it shall be done.");
  refused({"remove", "Run"},
          "Remove \"Run\" and its 2 check-ins? This cannot be undone: say --yes if it shall be "
          "done.");

  EXPECT_EQ(lastDays(), kAllThere);
}

TEST_F(HabitsErasingTest, AsksInATerminal) {
  const Outcome refusal = program_.runAnswering({"remove", "Run"}, "n\n");

  EXPECT_EQ(refusal.status, 1);
  EXPECT_EQ(refusal.complaint,
            "Remove \"Run\" and its 2 check-ins? This cannot be undone. [y/N] "
            "habits: Nothing was changed.\n");
  EXPECT_EQ(program_.runAnswering({"remove", "Run"}, "\n").status, 1);
  EXPECT_EQ(lastDays(), kAllThere);

  const Outcome consent = program_.runAnswering({"remove", "Run"}, "y\n");

  EXPECT_EQ(consent.status, 0);
  EXPECT_EQ(consent.output, "Removed \"Run\".\n");
  EXPECT_EQ(data({"list"}).size(), 1U);
}

TEST_F(HabitsErasingTest, RefusesAHabitThatIsNotThere) {
  const std::string why = "There is no habit \"Rum\". \"habits list\" shows those that there are.";
  refused({"erase", "Rum", "--yes"}, why);
  refused({"remove", "Rum", "--yes"}, why);
}

}  // namespace
}  // namespace habits
