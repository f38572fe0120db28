#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "Tests/Support/MigrationPlace.h"
#include "Tests/Tools/storecheck/CheckedStore.h"

namespace {

namespace fs = std::filesystem;

using nlohmann::json;
using storecheck::CheckedStore;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Outcome {
  int status = -1;
  /// Both streams together.
  std::string output;
};

Outcome runWith(const std::string& arguments) {
  Outcome outcome;
  FILE* pipe = popen((STOREINSPECT " " + arguments + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return outcome;
  std::array<char, 4096> buffer{};
  for (std::size_t size = 0; (size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
    outcome.output.append(buffer.data(), size);
  const int status = pclose(pipe);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

Outcome run(const CheckedStore& store, const std::string& options = "") {
  return runWith("'" + store.path() + "' " + options);
}

json answer(const CheckedStore& store, const std::string& options = "") {
  const Outcome outcome = run(store, options + " --json");
  return json::parse(outcome.output);
}

const std::string kDanglingSQL = "UPDATE Checkin SET activity=999 WHERE _id=3";

}  // namespace

TEST(Storeinspect, ShowsEverythingOfASoundStore) {
  const CheckedStore store;

  const Outcome outcome = run(store);

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output,
              AllOf(StartsWith("version     Tessaline 7\nidentifier  "), HasSubstr("\nMetadata\n"),
                    HasSubstr("  NSStoreType "), HasSubstr("\nRows\n  Activity "),
                    HasSubstr("\nHistory\n  15 transactions, "), HasSubstr("  by storegen  15\n"),
                    HasSubstr("\nSizes\n  file "), HasSubstr(store.contentHash()),
                    HasSubstr("\nCheck\n  sound: 0 errors, 0 warnings\n")));
  EXPECT_THAT(outcome.output, Not(HasSubstr("the last")));
}

TEST(Storeinspect, ShowsTheSameAsJson) {
  const CheckedStore store;

  const json data = answer(store);

  const storecheck::Report report = store.check();
  EXPECT_EQ(data["version"], "Tessaline 7");
  EXPECT_EQ(data["identifier"], report.identifier);
  EXPECT_EQ(data["metadata"]["NSStoreType"], "SQLite");
  EXPECT_EQ(data["rows"], json(report.rows));
  EXPECT_EQ(data["history"]["transactions"], 15);
  EXPECT_EQ(data["history"]["byAuthor"]["storegen"], 15);
  EXPECT_EQ(data["history"]["newest"]["number"], 15);
  EXPECT_EQ(data["sizes"]["fileBytes"], fs::file_size(store.path()));
  EXPECT_EQ(data["contentHash"], *report.contentHash);
  EXPECT_EQ(data["check"]["isSound"], true);
  EXPECT_EQ(data["check"]["findings"], json::array());
}

TEST(Storeinspect, NamesWhatIsWrongAndEndsWithOne) {
  const CheckedStore store;
  store.execute(kDanglingSQL);

  const Outcome outcome = run(store, "--check");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output,
              HasSubstr("  not sound: 1 errors, 0 warnings\n"
                        "  error  dangling  Checkin 3  Its \"activity\" leads to Activity 999, "
                        "which is not there.\n"));
  const json data = answer(store, "--check");
  EXPECT_EQ(data["check"]["counts"], (json{{"dangling", 1}}));
  const json& found = data["check"]["findings"][0];
  EXPECT_EQ(found["severity"], "error");
  EXPECT_EQ(found["kind"], "dangling");
  EXPECT_EQ(found["entity"], "Checkin");
  EXPECT_EQ(found["key"], 3);
}

TEST(Storeinspect, TakesWarningsForSound) {
  const CheckedStore store;
  store.execute("UPDATE Checkin SET activity=NULL WHERE _id=3");

  const Outcome outcome = run(store, "--check");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("sound: 0 errors, 1 warnings\n  warning  orphan  "));
}

TEST(Storeinspect, SaysThatAPartIsOfAnUnsoundStore) {
  const CheckedStore store;
  store.execute(kDanglingSQL);

  const Outcome outcome = run(store, "--hash");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output, AllOf(HasSubstr("\nContent\n  "), Not(HasSubstr("dangling")),
                                    HasSubstr("storeinspect: The store is not sound")));
}

TEST(Storeinspect, ShowsThePartsThatAreAskedFor) {
  const CheckedStore store;

  EXPECT_EQ(answer(store, "--sizes").size(), 3U);
  EXPECT_EQ(answer(store, "--sizes --hash --check").size(), 5U);
  EXPECT_FALSE(answer(store, "--hash").contains("rows"));
}

TEST(Storeinspect, ShowsTheLastTransactions) {
  const CheckedStore store;

  EXPECT_EQ(answer(store, "--history")["history"]["last"].size(), 10U);
  EXPECT_EQ(answer(store)["history"]["last"].size(), 0U);
  const json last = answer(store, "--history 2")["history"]["last"];
  ASSERT_EQ(last.size(), 2U);
  EXPECT_EQ(last[1]["number"], 15);
  EXPECT_GT(last[1]["removed"], 0);
  EXPECT_THAT(run(store, "--history 2").output, HasSubstr("the last 2:\n    14  "));
}

TEST(Storeinspect, LetsNoTextSteerTheTerminal) {
  const CheckedStore store;
  store.execute("UPDATE _name SET text='a' || char(27) || '[31m' WHERE text='storegen'");

  const Outcome outcome = run(store);

  EXPECT_THAT(outcome.output, AllOf(HasSubstr("by a?[31m"), Not(HasSubstr("\x1b"))));
}

TEST(Storeinspect, LeavesAStoreThatIsOpenElsewhereAsItIs) {
  const CheckedStore store;
  const auto newest = coredatastack::CoreDataMigrationVersion::newest();
  const auto context = support::contextOver(store.url(), newest);
  const auto save = [&](const char* title) {
    context->performBlockAndWait([&] {
      support::allObjects(*context, "Activity").front()->setValue(title, "title");
      context->save();
    });
  };
  save("before");
  const auto directory = fs::path(store.path()).parent_path();
  const auto before = storecheck::filesIn(directory);

  const json data = answer(store);

  EXPECT_EQ(data["history"]["transactions"], 16) << "what is in the log counts";
  EXPECT_EQ(data["check"]["isSound"], true);
  EXPECT_EQ(storecheck::filesIn(directory), before);
  EXPECT_NO_THROW(save("after"));
  EXPECT_EQ(answer(store)["history"]["transactions"], 17);
}

TEST(Storeinspect, SalvagesADamagedStoreIntoANewOne) {
  const CheckedStore store;
  const std::string hash = store.contentHash();
  std::string bytes = store.bytes();
  bytes.replace(0, 100, 100, '\xff');
  store.setBytes(bytes);
  ASSERT_EQ(run(store).status, 3);

  const Outcome outcome = runWith("salvage '" + store.path() + "' '" + store.path() + "-new'");

  EXPECT_EQ(outcome.status, 1) << "of a damaged header nobody knows what else it said";
  EXPECT_THAT(outcome.output, AllOf(StartsWith("version     Tessaline 7\n"),
                                    HasSubstr(" found, 100 %\nheader      damaged\n"),
                                    HasSubstr("\nActivity             6      6\n")));
  EXPECT_EQ(storecheck::check(foundation::URL::fileURL(store.path() + "-new")).contentHash, hash);
}

TEST(Storeinspect, SaysAsJsonWhatWasSalvaged) {
  const CheckedStore store;
  store.execute(kDanglingSQL);

  const Outcome outcome =
      runWith("salvage --json '" + store.path() + "' '" + store.path() + "-new'");

  EXPECT_EQ(outcome.status, 1);
  const json data = json::parse(outcome.output);
  EXPECT_EQ(data["version"], "Tessaline 7");
  EXPECT_EQ(data["versionSource"], "metadata");
  EXPECT_EQ(data["percentage"], 100);
  EXPECT_EQ(data["isWhole"], false);
  const json& losses = data["entities"]["Checkin"]["losses"];
  ASSERT_EQ(losses.size(), 1U);
  EXPECT_EQ(losses[0]["property"], "activity");
  EXPECT_EQ(losses[0]["count"], 1);
  EXPECT_EQ(losses[0]["why"], "leads to a row that is not there");
}

TEST(Storeinspect, EndsASalvageAsItEndsALook) {
  const CheckedStore store;
  const std::string damaged = "'" + store.path() + "'";

  EXPECT_EQ(runWith("salvage " + damaged + " " + damaged + "-new").status, 0);
  EXPECT_EQ(runWith("salvage " + damaged).status, 2);
  const Outcome again = runWith("salvage " + damaged + " " + damaged + "-new");
  EXPECT_EQ(again.status, 3);
  EXPECT_THAT(again.output, AllOf(StartsWith("storeinspect: There is something at "),
                                  HasSubstr("-new already.")));
  EXPECT_EQ(runWith("salvage " + damaged + "-missing " + damaged + "-newer").status, 3);
  EXPECT_EQ(runWith("salvage " + damaged + " /nowhere/at/all").status, 3);
  EXPECT_THAT(runWith("salvage --help").output, HasSubstr("Exit status:"));
}

TEST(Storeinspect, EndsWithTwoForAWrongCommandLine) {
  const CheckedStore store;

  EXPECT_EQ(runWith("").status, 2);
  EXPECT_EQ(run(store, "--repair").status, 2);
  EXPECT_EQ(run(store, "--history many").status, 2);
  EXPECT_EQ(run(store, "--history -1").status, 2);
}

TEST(Storeinspect, EndsWithThreeAndSaysWhyWhereNothingCanBeRead) {
  const CheckedStore store;
  const auto expect = [](const std::string& path, const std::string& why) {
    const Outcome outcome = runWith("'" + path + "'");
    EXPECT_EQ(outcome.status, 3) << outcome.output;
    EXPECT_THAT(outcome.output, AllOf(StartsWith("storeinspect: "), HasSubstr(why)));
  };
  const fs::path directory = fs::path(store.path()).parent_path();

  expect(store.path() + "-missing", "There is no store ");
  expect((directory / "missing" / "store").string(), "does not exist");
  expect(directory.string(), "is not a file");
  store.execute("PRAGMA user_version=99");
  expect(store.path(), "was written by a newer version of this program");
  store.execute("PRAGMA user_version=1; DELETE FROM _metadata");
  expect(store.path(), "is damaged");
  store.setBytes(std::string(10000, 'x'));
  expect(store.path(), "is not a store");
}

TEST(Storeinspect, HelpsWithTheMeaningOfItsStatus) {
  const Outcome outcome = runWith("--help");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, AllOf(HasSubstr("--history [N]"), HasSubstr("Exit status:")));
}
