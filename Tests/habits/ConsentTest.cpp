#include "Tests/habits/OldStoreTest.h"

namespace habits {
namespace {

class HabitsConsent : public OldStoreTest {
 protected:
  void SetUp() override {
    writeVersion3();
    writePhotoFile("lake.jpg");
  }
};

TEST_F(HabitsConsent, IsNeededByEveryCommand) {
  const Files before = files();
  for (const std::vector<std::string>& command : {std::vector<std::string>{"add", "Read"},
                                                  {"achieve", "Run"},
                                                  {"check", "Run"},
                                                  {"more", "Run"},
                                                  {"uncheck", "Run"},
                                                  {"note", "Run", "far"},
                                                  {"list"},
                                                  {"last"},
                                                  {"year", "Run"},
                                                  {"stats", "Run"},
                                                  {"import", "nothing.csv"},
                                                  {"erase", "Run", "--yes"},
                                                  {"remove", "Run", "--yes"},
                                                  {"group", "add", "Sport"},
                                                  {"group", "list"},
                                                  {"review"},
                                                  {"remind", "Run"},
                                                  {"widget", "list"},
                                                  {"photo", "list", "Run"},
                                                  {"list", "--json"}}) {
    SCOPED_TRACE(command.front());
    fails(command, 3,
          {path(), "Tessaline 3", "Tessaline 7", "It was left as it is", "--migrate",
           "habits migrate"});
  }
  EXPECT_EQ(files(), before);
}

TEST_F(HabitsConsent, IsGivenByAnOption) {
  EXPECT_NE(text({"list", "--migrate"}).find("Run"), std::string::npos);

  EXPECT_EQ(version(), "Tessaline 7");
  EXPECT_NE(text({"list"}).find("Run"), std::string::npos);
}

TEST_F(HabitsConsent, IsGivenInATerminal) {
  const Outcome outcome = program_.runAnswering({"last"}, "y\n");

  EXPECT_EQ(outcome.status, 0) << outcome.complaint;
  EXPECT_NE(outcome.complaint.find(path()), std::string::npos);
  EXPECT_NE(outcome.complaint.find("Bring it to the new version?"), std::string::npos);
  EXPECT_NE(outcome.output.find("2024-02-11"), std::string::npos);
  EXPECT_EQ(version(), "Tessaline 7");
}

TEST_F(HabitsConsent, IsRefusedInATerminal) {
  const Files before = files();
  for (const char* answer : {"n\n", "\n", "x\n", "\4"}) {
    const Outcome outcome = program_.runAnswering({"add", "Read"}, answer);

    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.complaint.ends_with("habits: Nothing was changed.\n")) << outcome.complaint;
  }
  EXPECT_EQ(files(), before);
}

TEST_F(HabitsConsent, IsNotAskedForTwice) {
  text({"list", "--migrate"});

  EXPECT_EQ(program_.run({"add", "Read"}).status, 0);
  EXPECT_EQ(program_.run({"add", "Write", "--migrate"}).status, 0);
}

TEST_F(HabitsConsent, LeavesAnOldStoreAloneWhoseMigrationFails) {
  std::filesystem::remove(container() / "photo" / "lake.jpg");

  fails({"list", "--migrate"}, 3, {path(), "lake.jpg", "habits migrate --rehearse"});

  EXPECT_EQ(version(), "Tessaline 3");
  EXPECT_TRUE(leftNothingBehind());
}

class LeftoverPhotosOfHabits : public OldStoreTest {
 protected:
  [[nodiscard]] std::filesystem::path leftover() const {
    return container() / ("photos-of-" + identifier());
  }
};

TEST_F(LeftoverPhotosOfHabits, AreDiscardedWhenANewStoreIsOpened) {
  text({"add", "Run"});
  writeFile(leftover() / "photo" / "lake.jpg", "picture");

  text({"list"});

  EXPECT_TRUE(std::filesystem::is_empty(container()));
}

TEST_F(LeftoverPhotosOfHabits, StayWhileTheStoreIsOld) {
  writeVersion3();
  writeFile(leftover() / "photo" / "lake.jpg", "picture");

  fails({"list"}, 3, {});

  EXPECT_TRUE(std::filesystem::exists(leftover() / "photo" / "lake.jpg"));
}

TEST_F(LeftoverPhotosOfHabits, AreTakenInByAMigration) {
  writeVersion3();
  writeFile(leftover() / "photo" / "lake.jpg", "picture");

  text({"list", "--migrate"});

  EXPECT_EQ(data({"photo", "list", "Run"}).size(), 1U);
  EXPECT_TRUE(std::filesystem::is_empty(container()));
}

}  // namespace
}  // namespace habits
