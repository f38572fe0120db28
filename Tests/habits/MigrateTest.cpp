#include "CoreData/Model/ModelBuilder.h"
#include "Tests/habits/OldStoreTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsMigrate : public OldStoreTest {};

TEST_F(HabitsMigrate, PlansEachStep) {
  writeVersion3();
  writePhotoFile("lake.jpg");

  const std::string plan = text({"migrate", "--plan"});

  EXPECT_TRUE(plan.starts_with(path() + " is of version Tessaline 3. 4 steps to Tessaline 7:\n"
                                        "\n"
                                        "Tessaline 3 to Tessaline 4, inferred, 5 rows\n"))
      << plan;
  for (const char* line :
       {"\n  adds DisplayOn\n", "\n  drops Badge\n", "\n  drops Activity.badges\n",
        "\n  adds Activity.displayOn\n",
        "\n  renames Activity.maxCount to Activity.checkinMaxCount\n",
        "\n  converts Activity.checkinMaxCount from integer16 to double\n",
        "\n  converts Activity.color from optional text to mandatory text\n",
        "\nTessaline 4 to Tessaline 5, inferred, 4 rows\n",
        "\n  renames Checkin.photo to Checkin.photos\n",
        "\n  converts Checkin.photos from to-one to to-many\n",
        "\nTessaline 6 to Tessaline 7, explicit, 4 rows\n", "\n  adds ActivityWidgetGroup\n",
        "\n  converts Photo.data from text in filename to binary\n", "\nFree space needed:\n"}) {
    EXPECT_NE(plan.find(line), std::string::npos) << plan << " lacks " << line;
  }
}

TEST_F(HabitsMigrate, PlansForScripts) {
  writePhotos({"lake.jpg"});
  writePhotoFile("lake.jpg");

  const json plan = data({"migrate", "--plan"});

  EXPECT_EQ(plan["store"], path());
  EXPECT_EQ(plan["from"], "Tessaline 6");
  EXPECT_EQ(plan["to"], "Tessaline 7");
  ASSERT_EQ(plan["steps"].size(), 1U);
  const json& step = plan["steps"][0];
  EXPECT_EQ(step["mapping"], "explicit");
  EXPECT_EQ(step["rows"]["Photo"], 1);
  EXPECT_EQ(step["rows"]["Activity"], 0);
  const json converted = {{"change", "converted"},
                          {"what", "Photo.data"},
                          {"from", "text in filename"},
                          {"to", "binary"}};
  EXPECT_NE(std::ranges::find(step["changes"], converted), step["changes"].end()) << step;
  ASSERT_EQ(plan["space"].size(), 2U);
  const auto photo = std::string("picture lake.jpg").size();
  const auto store = std::filesystem::file_size(program_.store());
  EXPECT_EQ(plan["space"][0]["directory"], temporary().string());
  EXPECT_GE(plan["space"][0]["needed"], 2 * store + photo);
  EXPECT_GT(plan["space"][0]["available"], 0);
  EXPECT_GE(plan["space"][1]["needed"], store + photo);
}

TEST_F(HabitsMigrate, PlansWithoutTouchingAnything) {
  writeVersion3();
  writePhotoFile("lake.jpg");
  const Files before = files();

  text({"migrate", "--plan"});

  EXPECT_EQ(files(), before);
}

TEST_F(HabitsMigrate, BringsAStoreOfEachVersionToTheNewest) {
  for (const Version& old : Version::allCases()) {
    if (old == Version::newest()) continue;
    SCOPED_TRACE(old.rawValue());
    std::filesystem::remove(program_.store());
    support::edit(url(), old, [](coredata::NSManagedObjectContext& context) {
      context.insertNewObject("Activity")->setValue("Run", "title");
    });

    EXPECT_EQ(text({"migrate"}),
              "Brought " + path() + " from " + std::string(old.rawValue()) + " to Tessaline 7.\n");

    EXPECT_EQ(version(), "Tessaline 7");
    EXPECT_EQ(data({"list"})[0]["title"], "Run");
  }
}

TEST_F(HabitsMigrate, CarriesEverythingOver) {
  writeVersion3();
  writePhotoFile("lake.jpg");

  EXPECT_EQ(data({"migrate"}),
            json({{"store", path()},
                  {"from", "Tessaline 3"},
                  {"to", "Tessaline 7"},
                  {"versions", {"Tessaline 4", "Tessaline 5", "Tessaline 6", "Tessaline 7"}}}));

  EXPECT_EQ(data({"last"}), json({{"Run", "2024-02-11"}}));
  EXPECT_EQ(data({"photo", "list", "Run"}).size(), 1U);
  EXPECT_TRUE(std::filesystem::is_empty(container()));
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(HabitsMigrate, ShowsHowFarItIs) {
  writeVersion3();
  writePhotoFile("lake.jpg");

  const std::string shown = program_.complaintInTerminal({"migrate"});

  EXPECT_NE(shown.find("Migrating ..."), std::string::npos) << shown;
  EXPECT_NE(shown.find("100 %"), std::string::npos) << shown;
}

TEST_F(HabitsMigrate, HasNothingToDoWithANewStore) {
  text({"add", "Run"});
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"migrate"}, {"migrate", "--plan"}, {"migrate", "--rehearse"}}) {
    EXPECT_EQ(text(command), path() + " is of version Tessaline 7 already; nothing to do.\n");
  }
  EXPECT_EQ(data({"migrate"})["versions"], json::array());
}

TEST_F(HabitsMigrate, RefusesWhereThereIsNoStore) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"migrate"}, {"migrate", "--plan"}, {"migrate", "--rehearse"}}) {
    refused(command, "There is no store at " + path() + ".");
  }
  EXPECT_FALSE(std::filesystem::exists(program_.store()));
}

TEST_F(HabitsMigrate, DoesNotTakeAStoreThatCannotBeLookedAtForMissing) {
  // A link to itself stands for a disk that cannot be read.
  std::filesystem::create_symlink(path(), path());

  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"migrate"}, {"migrate", "--plan"}, {"migrate", "--rehearse"}}) {
    fails(command, 3, {path()});
  }
  EXPECT_TRUE(std::filesystem::is_symlink(path()));
}

TEST_F(HabitsMigrate, TakesThePhotosOfAStoreFromElsewhere) {
  writePhotos({"lake.jpg"});
  const auto elsewhere = program_.directory() / "backup";
  writeFile(elsewhere / "photo" / "lake.jpg", "picture");

  fails({"migrate"}, 3, {"lake.jpg"});
  EXPECT_EQ(data({"migrate", "--rehearse", "--photos", elsewhere.string()})["photosFolded"], 1);
  text({"migrate", "--photos", elsewhere.string()});

  EXPECT_EQ(version(), "Tessaline 7");
  EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
}

TEST_F(HabitsMigrate, IsMisusedWithWishesThatMakeNoSense) {
  writeVersion3();
  const Files before = files();

  EXPECT_EQ(program_.run({"migrate", "--plan", "--rehearse"}).status, 2);
  fails({"migrate", "--photos", "/nowhere/at/all"}, 2, {"/nowhere/at/all"});
  fails({"migrate", "--photos", ""}, 2, {"--photos needs a directory"});

  EXPECT_EQ(files(), before);
}

TEST_F(HabitsMigrate, LeavesAStoreAndPhotosInTheTemporaryDirectoryAlone) {
  writePhotos({"lake.jpg"});
  const auto photo = temporary() / "backup/photo/lake.jpg";
  text({"migrate", "--plan"});
  writeFile(photo, "picture");

  for (const char* way : {"--rehearse", "--json"}) {
    fails({"migrate", way, "--photos", (temporary() / "backup").string()}, 3, {"lies in it"});
  }

  EXPECT_TRUE(std::filesystem::exists(photo));
  EXPECT_EQ(version(), "Tessaline 6");
}

class NoStoreToMigrate : public OldStoreTest {
 protected:
  void isLeftAlone(const std::string& saying) const {
    const Files before = files();
    for (const std::vector<std::string>& command : {std::vector<std::string>{"migrate"},
                                                    {"migrate", "--plan"},
                                                    {"migrate", "--rehearse"},
                                                    {"list", "--migrate"}}) {
      fails(command, 3, {path(), saying});
    }
    EXPECT_EQ(files(), before);
  }
  void writeStoreOf(const std::string& identifier) const {
    const auto coordinator = foundation::make<coredata::NSPersistentStoreCoordinator>(
        coredata::modelFromSource(R"({"identifiers": [")" + identifier +
                                  R"("], "entities": {"Planet": {"attributes": {}}}})"));
    coordinator->removePersistentStore(
        coordinator->addPersistentStore(coredata::NSPersistentStoreDescription(url())));
  }
};

TEST_F(NoStoreToMigrate, IsALetter) {
  writeFile(program_.store(), "Dear reader, this is no database at all, however long it goes on.");

  isLeftAlone("It was left as it is.");
}

TEST_F(NoStoreToMigrate, IsAStoreOfALaterVersion) {
  writeStoreOf("Tessaline 99");

  isLeftAlone("Update the program");
}

TEST_F(NoStoreToMigrate, IsAStoreOfAnotherProgram) {
  writeStoreOf("Planets 1");

  isLeftAlone("Name another file with --store.");
}

TEST_F(NoStoreToMigrate, IsADamagedStore) {
  writeVersion3();
  std::filesystem::resize_file(program_.store(), 5000);

  isLeftAlone("It was left as it is");
}

}  // namespace
}  // namespace habits
