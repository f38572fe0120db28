#include <thread>

#include "Tests/habits/OldStoreTest.h"

namespace habits {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class HabitsBackup : public OldStoreTest {
 protected:
  [[nodiscard]] std::string backup() const {
    return (program_.directory() / "kept.sqlite").string();
  }
  [[nodiscard]] std::string manifest() const { return backup() + ".json"; }
  void writeTwoDays() const {
    text({"add", "Run"});
    text({"check", "Run", "--on", "2024-02-10"});
    text({"check", "Run", "--on", "2024-02-11"});
  }
  [[nodiscard]] json manifestData() const { return json::parse(std::ifstream(manifest())); }
  /// The names of everything beside the store that is not the store's.
  [[nodiscard]] std::vector<std::string> others() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(program_.directory())) {
      const std::string name = entry.path().filename().string();
      const bool isStores =
          name.starts_with("habits.sqlite") && name.find("-before-restore-") == std::string::npos;
      if (!isStores && name != "home" && name != "output" && name != "complaint") {
        names.push_back(name);
      }
    }
    std::ranges::sort(names);
    return names;
  }
  [[nodiscard]] std::string days() const { return data({"stats", "Run"}).dump(); }
};

using Names = std::vector<std::string>;

TEST_F(HabitsBackup, HoldsEverythingAndSaysSo) {
  writeTwoDays();

  EXPECT_EQ(text({"backup", backup()}), "Backed up 2 check-ins to " + backup() + ".\n");

  EXPECT_EQ(others(), (Names{"kept.sqlite", "kept.sqlite.json"}));
  const json said = manifestData();
  EXPECT_EQ(said["format"], "habits-backup/1");
  EXPECT_EQ(said["version"], "Tessaline 7");
  EXPECT_EQ(said["identifier"], identifier());
  EXPECT_EQ(said["rows"]["Checkin"], 2);
  EXPECT_EQ(said["newestCheckin"], "2024-02-11");
  EXPECT_EQ(said["digest"].get<std::string>().size(), 64U);
  const Outcome listed = program_.runPlainly({"last", "--json", "--store", backup()});
  EXPECT_EQ(json::parse(listed.output), json({{"Run", "2024-02-11"}}));
}

TEST_F(HabitsBackup, DoesNotTakeAStoreThatCannotBeLookedAtForMissing) {
  // A link to itself stands for a disk that cannot be read.
  fs::create_symlink(path(), path());

  fails({"backup", backup()}, 3, {path()});

  EXPECT_EQ(others(), Names{});
}

TEST_F(HabitsBackup, OverwritesNothing) {
  writeTwoDays();
  for (const std::string& taken : {backup(), manifest()}) {
    writeFile(taken, "precious");
    const auto before = files();
    fails({"backup", backup()}, 1, {taken});
    EXPECT_EQ(files(), before);
    fs::remove(taken);
  }
}

TEST_F(HabitsBackup, LeavesNothingWhenItFails) {
  writeTwoDays();
  fails({"backup", (program_.directory() / "missing" / "kept.sqlite").string()}, 3, {"missing"});
  EXPECT_EQ(others(), Names());

  writeFile(program_.store(), "Dear reader, this is no database at all, however long one looks.");
  fails({"backup", backup()}, 3, {path()});
  EXPECT_EQ(others(), Names());
}

TEST_F(HabitsBackup, NeedsAStore) {
  fails({"backup", backup()}, 1, {"There is no store at " + path()});
  EXPECT_FALSE(fs::exists(program_.store()));
}

TEST_F(HabitsBackup, TakesAnOldStoreAsItIs) {
  writeVersion3();

  text({"backup", backup()});

  EXPECT_EQ(version(), "Tessaline 3");
  EXPECT_EQ(manifestData()["version"], "Tessaline 3");
  EXPECT_EQ(manifestData()["newestCheckin"], "2024-02-11");
}

TEST_F(HabitsBackup, IsOfOneMomentWhileOthersWrite) {
  text({"add", "Run"});
  std::thread others([&] {
    support::edit(url(), Version::version7, [](auto& context) {
      for (int number = 0; number < 200; ++number) {
        context.insertNewObject("Group")->setValue("Sport", "title");
        context.insertNewObject("Group")->setValue("Rest", "title");
        context.save();
      }
    });
  });
  for (int number = 0; number < 5; ++number) {
    const std::string file = backup() + std::to_string(number);
    const json made = data({"backup", file});
    EXPECT_EQ(made["rows"]["Group"].get<int>() % 2, 0);
  }
  others.join();
}

class HabitsRestore : public HabitsBackup {
 protected:
  void SetUp() override {
    writeTwoDays();
    text({"backup", backup()});
    text({"check", "Run", "--on", "2024-02-12"});
    text({"check", "Run", "--on", "2024-02-13"});
  }
};

TEST_F(HabitsRestore, PutsTheBackupInTheStoresPlace) {
  const std::string kept = path() + "-before-restore-1.sqlite";

  EXPECT_EQ(text({"restore", backup(), "--yes"}), "Restored 2 check-ins from " + backup() +
                                                      ".\nWhat the store held before lies in " +
                                                      kept + ".\n");

  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-11"}}));
  const Outcome before = program_.runPlainly({"last", "--json", "--store", kept});
  EXPECT_EQ(json::parse(before.output), json({{"Run", "2024-02-13"}}));
}

TEST_F(HabitsRestore, KeepsWhatItReplacesUnderANameOfItsOwnEachTime) {
  text({"restore", backup(), "--yes"});
  text({"restore", backup(), "--yes"});

  EXPECT_TRUE(fs::exists(path() + "-before-restore-1.sqlite"));
  EXPECT_TRUE(fs::exists(path() + "-before-restore-2.sqlite"));
}

TEST_F(HabitsRestore, ShowsWhatWouldBeLost) {
  const auto before = files();

  const json preview = data({"restore", backup(), "--preview"});

  EXPECT_EQ(preview["lost"]["checkins"], 2);
  EXPECT_EQ(preview["lost"]["newest"][0], json({{"activity", "Run"}, {"date", "2024-02-13"}}));
  EXPECT_EQ(preview["store"]["rows"]["Checkin"], 4);
  EXPECT_EQ(preview["backup"]["rows"]["Checkin"], 2);
  EXPECT_EQ(preview["store"]["newestCheckin"], "2024-02-13");
  EXPECT_EQ(preview["backup"]["newestCheckin"], "2024-02-11");
  const std::string shown = text({"restore", backup(), "--preview"});
  EXPECT_NE(shown.find("2 check-ins are not in the backup and would be lost:\n"
                       "  2024-02-13  Run\n"
                       "  2024-02-12  Run\n"),
            std::string::npos)
      << shown;
  EXPECT_EQ(files(), before);
}

TEST_F(HabitsRestore, DoesNothingUnaskedAndUntold) {
  const auto before = files();

  fails({"restore", backup()}, 1, {"2 check-ins of it would be lost", "say --yes"});
  EXPECT_EQ(program_.runAnswering({"restore", backup()}, "n\n").status, 1);
  EXPECT_EQ(files(), before);

  EXPECT_EQ(program_.runAnswering({"restore", backup()}, "y\n").status, 0);
  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-11"}}));
}

TEST_F(HabitsRestore, RefusesWhatIsNoBackup) {
  const std::string letter = (program_.directory() / "letter").string();
  writeFile(letter, "Dear reader, this is no database at all, however long one looks at it.");
  const auto before = files();

  fails({"restore", letter, "--yes"}, 3, {letter, "was left as it was"});
  fails({"restore", letter + "-missing", "--yes"}, 1, {"There is no backup at"});
  EXPECT_EQ(files(), before);
}

TEST_F(HabitsRestore, RefusesABackupThatIsNotWhatItsManifestSays) {
  const Outcome changed =
      program_.runPlainly({"check", "Run", "--on", "2024-03-01", "--store", backup()});
  ASSERT_EQ(changed.status, 0);

  fails({"restore", backup(), "--yes"}, 3, {"one of them was changed"});
  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-13"}}));

  writeFile(manifest(), "{}");
  fails({"restore", backup(), "--yes"}, 3, {manifest()});
  fs::remove(manifest());
  text({"restore", backup(), "--yes"});
  EXPECT_EQ(data({"last"}), json({{"Run", "2024-03-01"}}));
}

TEST_F(HabitsRestore, DoesNotTakeWhatCannotBeLookedAtForMissing) {
  // Links in a circle stand for a disk that cannot be read.
  fs::remove(manifest());
  fs::create_symlink(manifest(), manifest());
  fails({"restore", backup(), "--yes"}, 3, {manifest()});
  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-13"}}));

  const std::string circle = (program_.directory() / "circle").string();
  fs::create_symlink(circle, circle);
  fails({"restore", circle, "--yes"}, 3, {circle});
  fs::remove(manifest());
  const Outcome outcome = program_.runPlainly({"restore", backup(), "--yes", "--store", circle});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_TRUE(fs::is_symlink(circle));
}

TEST_F(HabitsRestore, TakesWhatLiesInTheBackupsLog) {
  fs::remove(manifest());
  const auto url = foundation::URL::fileURL(backup());
  const auto open = support::contextOver(url, Version::version7);
  open->performBlockAndWait([&] {
    open->insertNewObject("Group")->setValue("Sport", "title");
    open->save();
  });
  ASSERT_GT(fs::file_size(backup() + "-wal"), 0U);

  text({"restore", backup(), "--yes"});

  EXPECT_EQ(data({"history"}).back()["changes"][0]["entity"], "Group");
}

TEST_F(HabitsRestore, HelpsAgainstADamagedStore) {
  writeFile(program_.store(), "Dear reader, this is no database at all, however long one looks.");

  text({"restore", backup(), "--yes"});

  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-11"}}));
}

TEST_F(HabitsRestore, MakesAStoreWhereThereIsNone) {
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(path() + suffix);

  text({"restore", backup(), "--yes"});

  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-11"}}));
}

TEST_F(HabitsRestore, BringsAnOldBackupForward) {
  const std::string old = (program_.directory() / "old.sqlite").string();
  support::edit(foundation::URL::fileURL(old), Version::version1, [](auto& context) {
    context.insertNewObject("Activity")->setValue("Swim", "title");
  });

  text({"restore", old, "--yes"});

  EXPECT_EQ(version(), "Tessaline 7");
  EXPECT_EQ(data({"list"})[0]["title"], "Swim");
}

TEST_F(HabitsRestore, IsToldToThoseWhoWatch) {
  const auto watch = program_.start({"watch", "--json"}, "watch-complaint");
  EXPECT_EQ(json::parse(watch->line()), json({{"watching", path()}}));

  text({"restore", backup(), "--yes"});
  text({"check", "Run", "--on", "2024-02-20"});

  bool wasTold = false;
  for (json shown = json::object(); shown.value("date", "") != "2024-02-20";) {
    shown = json::parse(watch->line());
    wasTold = wasTold || shown == json({{"replaced", path()}});
  }
  EXPECT_TRUE(wasTold);
  text({"check", "Run", "--on", "2024-02-21"});
  while (json::parse(watch->line()).value("date", "") != "2024-02-21") {
  }
}

class HabitsBackups : public OldStoreTest {
 protected:
  [[nodiscard]] fs::path documents() const {
    return program_.directory() / "home/.local/share/com.tessaline.habits/Documents";
  }
};

TEST_F(HabitsBackups, AreListed) {
  writeFile(documents() / "Backups/2024 February.sqlite", "x");
  writeFile(documents() / "Backups/2023.sqlite", "x");
  writeFile(documents() / "Letters/dear.txt", "x");

  EXPECT_EQ(text({"backups"}), (documents() / "Backups/2023.sqlite").string() + "\n" +
                                   (documents() / "Backups/2024 February.sqlite").string() + "\n");
  const json list = data({"backups"});
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[1]["file"], (documents() / "Backups/2024 February.sqlite").string());
  EXPECT_TRUE(list[1]["url"].get<std::string>().ends_with("Backups/2024%20February.sqlite"));
}

TEST_F(HabitsBackups, AreNoneWithoutDocuments) {
  EXPECT_EQ(text({"backups"}), "There are no backups in " + documents().string() + ".\n");
  EXPECT_EQ(data({"backups"}), json::array());
}

}  // namespace
}  // namespace habits
