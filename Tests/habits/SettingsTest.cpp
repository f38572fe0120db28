#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Tests/habits/Program.h"

namespace habits {
namespace {

using nlohmann::json;

json checkedIn(const Program& program, const std::string& day) {
  EXPECT_EQ(program.run({"add", "Run"}).status, 0);
  return json::parse(program.run({"check", "Run", "--on", day, "--json"}).output);
}

TEST(HabitsSettings, WriteDaysInTheUsersDigits) {
  Program program;
  program.setEnvironment("LC_ALL", "ar_EG");

  EXPECT_EQ(checkedIn(program, "2024-02-10")["date"], "٢٠٢٤-٠٢-١٠");
}

TEST(HabitsSettings, WriteDaysInTheUsersCalendar) {
  Program program;
  program.setEnvironment("LC_ALL", "th_TH");

  EXPECT_EQ(checkedIn(program, "2024-02-10")["date"], "2567-02-10");
}

TEST(HabitsSettings, ReadDaysInTheUsersDigits) {
  Program program;
  program.setEnvironment("LC_ALL", "ar_EG");

  EXPECT_EQ(checkedIn(program, "٢٠٢٤-٠٢-١٠")["date"], "٢٠٢٤-٠٢-١٠");
}

TEST(HabitsSettings, WriteCountsForScriptsInLatinDigits) {
  Program program;
  program.setEnvironment("LC_ALL", "ar_EG");

  EXPECT_EQ(checkedIn(program, "2024-02-10")["count"], 1);
}

TEST(HabitsSettings, MeanTheDayOfTheUsersZone) {
  // The two zones are 25 hours apart: they never share a day.
  Program program;
  EXPECT_EQ(program.run({"add", "Run"}).status, 0);
  program.setEnvironment("TZ", "Pacific/Pago_Pago");
  const json west = json::parse(program.run({"check", "Run", "--json"}).output);
  program.setEnvironment("TZ", "Pacific/Kiritimati");
  const json east = json::parse(program.run({"check", "Run", "--json"}).output);

  EXPECT_LT(west["date"].get<std::string>(), east["date"].get<std::string>());
}

TEST(HabitsSettings, KeepTheDaysOfBeforeWhenTheZoneChanges) {
  Program program;
  checkedIn(program, "2024-02-10");

  program.setEnvironment("TZ", "Pacific/Kiritimati");

  EXPECT_EQ(json::parse(program.run({"last", "--json"}).output), json({{"Run", "2024-02-10"}}));
}

TEST(HabitsSettings, KnowNoDayThatTheZoneLeftOut) {
  Program program;
  program.setEnvironment("TZ", "Pacific/Apia");
  EXPECT_EQ(program.run({"add", "Run"}).status, 0);

  const Outcome outcome = program.run({"check", "Run", "--on", "2011-12-30"});

  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.complaint, "habits: There was no 2011-12-30 in Pacific/Apia.\n");
}

TEST(HabitsSettings, KnowADayWithoutMidnight) {
  Program program;
  program.setEnvironment("TZ", "America/Sao_Paulo");

  EXPECT_EQ(checkedIn(program, "2018-11-04")["date"], "2018-11-04");
  EXPECT_EQ(json::parse(program.run({"last", "--json"}).output)["Run"], "2018-11-04");
}

TEST(HabitsSettings, PutTheStoreIntoTheUsersDataDirectory) {
  Program program;
  program.setEnvironment("XDG_DATA_HOME", (program.directory() / "data").string());

  EXPECT_EQ(program.runPlainly({"add", "Run"}).status, 0);

  const auto directory = program.directory() / "data" / "com.tessaline.habits";
  EXPECT_TRUE(std::filesystem::exists(directory / "Model.sqlite"));
  EXPECT_EQ(std::filesystem::status(directory).permissions(), std::filesystem::perms::owner_all);
}

TEST(HabitsSettings, PutTheStoreIntoTheHomeDirectoryOtherwise) {
  const Program program;

  EXPECT_EQ(program.runPlainly({"add", "Run"}).status, 0);
  EXPECT_NE(program.runPlainly({"list"}).output.find("Run"), std::string::npos);

  EXPECT_TRUE(std::filesystem::exists(program.directory() /
                                      "home/.local/share/com.tessaline.habits/Model.sqlite"));
}

}  // namespace
}  // namespace habits
