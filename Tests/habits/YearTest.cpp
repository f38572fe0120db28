#include "Tests/habits/ProgramTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsYearTest : public ProgramTest {
 protected:
  /// A habit with a target of 4 and days of every shade.
  void addDays() const {
    text({"add", "Run", "--target", "4"});
    const std::pair<const char*, int> days[] = {
        {"2024-01-01", 1}, {"2024-02-10", 2}, {"2024-12-31", 4}, {"2023-12-31", 1}};
    for (const auto& [day, count] : days) {
      for (int i = 0; i < count; ++i) text({"more", "Run", "--on", day});
    }
    text({"check", "Run", "--on", "2024-07-01", "--alternate"});
  }
};

TEST_F(HabitsYearTest, IsDrawnAsWeeksAndWeekdays) {
  addDays();

  EXPECT_EQ(text({"year", "Run", "2024"}),
            "Run 2024: 4 days, 8 times\n"
            "    Jan Feb Mar  Apr May Jun  Jul Aug  Sep Oct Nov  Dec\n"
            "Sun  ····················································\n"
            "Mon ░·························○··························\n"
            "Tue ····················································█\n"
            "Wed ····················································\n"
            "Thu ····················································\n"
            "Fri ····················································\n"
            "Sat ·····▒··············································\n"
            "    none ·░▒█ complete   alternate ○\n");
}

TEST_F(HabitsYearTest, IsDrawnWithoutCheckins) {
  text({"add", "Run"});

  const std::string calendar = text({"year", "Run", "2023"});

  EXPECT_EQ(calendar.substr(0, calendar.find('\n')), "Run 2023: 0 days, 0 times");
}

TEST_F(HabitsYearTest, IsAnsweredDayByDay) {
  addDays();

  const json answer = json::parse(text({"year", "Run", "2024", "--json"}));

  EXPECT_EQ(answer["year"], 2024);
  EXPECT_EQ(answer["total"], 8);
  EXPECT_EQ(answer["days"].size(), 4U);
  EXPECT_EQ(answer["days"]["2024-01-01"]["intensity"], "low");
  EXPECT_EQ(answer["days"]["2024-02-10"]["intensity"], "medium");
  EXPECT_EQ(answer["days"]["2024-12-31"]["intensity"], "high");
  EXPECT_EQ(answer["days"]["2024-07-01"],
            json({{"count", 1}, {"type", 10}, {"intensity", "none"}, {"memo", nullptr}}));
}

TEST_F(HabitsYearTest, IsTheCurrentOneWithoutANumber) {
  text({"add", "Run"});
  const json today = json::parse(text({"check", "Run", "--json"}));

  const json answer = json::parse(text({"year", "Run", "--json"}));

  EXPECT_TRUE(answer["days"].contains(today["date"].get<std::string>()));
}

TEST_F(HabitsYearTest, IsPlainOutsideATerminal) {
  addDays();

  EXPECT_EQ(text({"year", "Run", "2024"}).find('\033'), std::string::npos);
}

TEST_F(HabitsYearTest, IsColoredInATerminal) {
  addDays();

  EXPECT_NE(program_.outputInTerminal({"year", "Run", "2024"}).find("\033[38;5;"),
            std::string::npos);
}

TEST_F(HabitsYearTest, IsPlainInATerminalWhenNoColorIsWanted) {
  addDays();
  program_.setEnvironment("NO_COLOR", "1");

  EXPECT_EQ(program_.outputInTerminal({"year", "Run", "2024"}).find('\033'), std::string::npos);
}

TEST_F(HabitsYearTest, FindsDaysInOtherDigitsAndCalendars) {
  for (const char* locale : {"ar_EG", "th_TH", "fa_IR"}) {
    Program program;
    program.setEnvironment("LC_ALL", locale);
    ASSERT_EQ(program.run({"add", "Run"}).status, 0);
    ASSERT_EQ(program.run({"check", "Run", "--on", "2024-02-10"}).status, 0);

    const std::string calendar = program.run({"year", "Run", "2024"}).output;
    EXPECT_NE(calendar.find("Sat ·····█···"), std::string::npos) << locale << "\n" << calendar;
  }
}

}  // namespace
}  // namespace habits
