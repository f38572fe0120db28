#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>
#include <memory>
#include <sstream>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreData/Model/ModelBuilder.h"
#include "Tests/habits/Program.h"

namespace habits {
namespace {

using foundation::URL;

std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

/// A store that something else wrote, with one entity of that something's own.
void writeStore(const std::filesystem::path& path, const char* identifier) {
  const auto container = foundation::make<coredata::NSPersistentContainer>(
      "Other", coredata::modelFromSource(std::string(R"({"identifiers": [")") + identifier +
                                         R"("], "entities": {"Planet": {"attributes": {}}}})"));
  container->setPersistentStoreDescriptions(
      {coredata::NSPersistentStoreDescription(URL::fileURL(path.string()))});
  container->loadPersistentStores([](const auto&, const auto& error) { ASSERT_FALSE(error); });
}

void writeDatabase(const std::filesystem::path& path) {
  // What SQLite writes for one table without rows is not needed: a header that says so will do.
  std::string header("SQLite format 3\0\x10\0\1\1\0\x40\x20\x20\0\0\0\1\0\0\0\2", 32);
  header.resize(4096);
  std::ofstream(path, std::ios::binary) << header;
}

class HabitsTroubleTest : public testing::Test {
 protected:
  void misused(const std::vector<std::string>& arguments) const {
    const Outcome outcome = program_.run(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(outcome.complaint, "");
  }
  /// Every command ends with trouble that names the file and says what to do, and leaves the file
  /// as it was.
  void troubledBy(const std::filesystem::path& path, const std::string& remedy) const {
    const bool isFile = std::filesystem::is_regular_file(path);
    const std::string before = isFile ? contentOf(path) : "";
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"list"}, {"add", "Run"}, {"check", "Run"}}) {
      std::vector<std::string> arguments = command;
      arguments.insert(arguments.end(), {"--store", path.string()});
      const Outcome outcome = program_.runPlainly(arguments);
      EXPECT_EQ(outcome.status, 3) << command.front();
      EXPECT_EQ(outcome.output, "");
      EXPECT_NE(outcome.complaint.find(path.string()), std::string::npos) << outcome.complaint;
      EXPECT_NE(outcome.complaint.find(remedy), std::string::npos) << outcome.complaint;
    }
    EXPECT_EQ(isFile ? contentOf(path) : "", before);
  }

  Program program_;
};

TEST_F(HabitsTroubleTest, IsHelpedWithoutACommand) {
  const Outcome outcome = program_.runPlainly({});

  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.complaint.find("Usage: habits"), std::string::npos);
}

TEST_F(HabitsTroubleTest, IsHelpedWhenAsked) {
  const Outcome outcome = program_.runPlainly({"--help"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.output.find("Usage: habits"), std::string::npos);
}

TEST_F(HabitsTroubleTest, IsMisusedWithAnUnknownCommandOrOption) {
  misused({"frobnicate"});
  misused({"list", "--frobnicate"});
  misused({"check"});
  misused({"add"});
}

TEST_F(HabitsTroubleTest, IsMisusedWithAMalformedDay) {
  ASSERT_EQ(program_.run({"add", "Run"}).status, 0);
  for (const char* day :
       {"", "today", "2024-2-3", "2024-02-30", "2023-02-29", "2024-13-01", "2024-00-10",
        "2024-01-00", "0000-01-01", "20240203", "2024/02/03", "2024-02-03 ", " 2024-02-03",
        "+024-02-03", "2024--2-03", "24-02-03", "2024-02-03T00:00", "٢٠٢٤-٠٢-٣٠"}) {
    SCOPED_TRACE(day);
    misused({"check", "Run", "--on", day});
  }
  EXPECT_EQ(program_.run({"last"}).output, "No check-ins yet.\n");
}

TEST_F(HabitsTroubleTest, SaysHowToWriteADay) {
  ASSERT_EQ(program_.run({"add", "Run"}).status, 0);

  EXPECT_EQ(program_.run({"check", "Run", "--on", "soon"}).complaint,
            "habits: \"soon\" is no day; write it as YYYY-MM-DD, such as 2024-02-10.\n");
}

TEST_F(HabitsTroubleTest, IsMisusedWithANewHabitThatMakesNoSense) {
  misused({"add", ""});
  misused({"add", " \n"});
  for (const char* target : {"0", "-1", "nan", "inf", "much"}) {
    SCOPED_TRACE(target);
    misused({"add", "Run", "--target", target});
  }
  misused({"add", "Run", "--times", "3"});
  misused({"add", "Run", "--every", "fortnight"});
  misused({"add", "Run", "--every", "day", "--each-days", "3"});
  for (const char* number : {"0", "-1", "32768", "1.5", "many"}) {
    SCOPED_TRACE(number);
    misused({"add", "Run", "--every", "day", "--times", number});
    misused({"add", "Run", "--each-days", number});
  }
  EXPECT_EQ(program_.run({"list", "--json"}).output, "[]\n");
}

TEST_F(HabitsTroubleTest, IsMisusedWithAYearThatIsNone) {
  ASSERT_EQ(program_.run({"add", "Run"}).status, 0);

  misused({"year", "Run", "0"});
  misused({"year", "Run", "10000"});
  misused({"year", "Run", "soon"});
}

TEST_F(HabitsTroubleTest, IsMisusedWithAStoreWithoutName) {
  EXPECT_EQ(program_.runPlainly({"list", "--store", ""}).status, 2);
}

TEST_F(HabitsTroubleTest, MeetsAFileThatIsNoStore) {
  const auto path = program_.directory() / "letter.txt";
  std::ofstream(path) << "Dear reader, this is no database at all, however long one looks at it.";

  troubledBy(path, "It was left as it is. Name another file with --store.");
}

TEST_F(HabitsTroubleTest, MeetsADatabaseOfSomethingElse) {
  const auto path = program_.directory() / "other.sqlite";
  writeDatabase(path);

  troubledBy(path, "Name another file with --store.");
}

TEST_F(HabitsTroubleTest, MeetsAStoreOfALaterVersion) {
  const auto path = program_.directory() / "later.sqlite";
  writeStore(path, "Tessaline 99");

  troubledBy(path, "Update the program");
}

TEST_F(HabitsTroubleTest, MeetsADirectoryInTheStoresPlace) {
  const auto path = program_.directory() / "folder";
  std::filesystem::create_directory(path);

  troubledBy(path, "Name another file with --store.");
}

TEST_F(HabitsTroubleTest, MeetsADirectoryThatIsMissing) {
  troubledBy(program_.directory() / "missing" / "habits.sqlite", "Make the directory first");
  EXPECT_FALSE(std::filesystem::exists(program_.directory() / "missing"));
}

TEST_F(HabitsTroubleTest, MeetsADirectoryThatNobodyMayWriteTo) {
  // Not even the superuser makes files there, whom the tests may be run by.
  troubledBy("/proc/habits.sqlite", "");
}

TEST_F(HabitsTroubleTest, MeetsAHomeThatNobodyMayWriteTo) {
  program_.setEnvironment("HOME", "/proc");

  const Outcome outcome = program_.runPlainly({"list"});

  EXPECT_EQ(outcome.status, 3);
  EXPECT_NE(outcome.complaint.find("/proc/.local/share/com.tessaline.habits cannot be made"),
            std::string::npos);
}

TEST_F(HabitsTroubleTest, StartsAnewOverAnEmptyFile) {
  std::ofstream(program_.store()).close();

  EXPECT_EQ(program_.run({"add", "Run"}).status, 0);
  EXPECT_NE(program_.run({"list"}).output.find("Run"), std::string::npos);
}

TEST_F(HabitsTroubleTest, TellsOfAWriteThatTheLibraryKeepsSilentAbout) {
  ASSERT_EQ(program_.run({"review", "2024-02", "good"}).status, 0);
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(program_.store().c_str(), &database), SQLITE_OK);
  const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> other(database, &sqlite3_close);
  ASSERT_EQ(sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);

  const Outcome outcome = program_.run({"review", "2024-02", "better", "--json"});

  EXPECT_EQ(outcome.status, 3);
  // What the library prints is no part of an answer.
  EXPECT_EQ(outcome.output, "");
  EXPECT_NE(outcome.complaint.find("Another program is writing to it."), std::string::npos)
      << outcome.complaint;
  sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
  EXPECT_EQ(program_.run({"review", "2024-02"}).output, "good\n");
}

}  // namespace
}  // namespace habits
