#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Tests/habits/OldStoreTest.h"
#include "Tools/storegen/SeededStore.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsRehearsal : public OldStoreTest {
 protected:
  [[nodiscard]] static json balanceOf(const json& rehearsal, const std::string& entity) {
    for (const json& balance : rehearsal["entities"]) {
      if (balance["entity"] == entity) return balance;
    }
    return nullptr;
  }
  using Rows = std::map<std::string, std::int64_t>;
  [[nodiscard]] static Rows rowsAfter(const json& rehearsal) {
    Rows rows;
    for (const json& balance : rehearsal["entities"]) {
      if (!balance["rowsAfter"].is_null()) rows[balance["entity"]] = balance["rowsAfter"];
    }
    return rows;
  }
  [[nodiscard]] Rows rowsNow() const {
    Rows rows;
    const auto context = support::contextOver(url(), Version::newest());
    context->performBlockAndWait([&] {
      const auto& model = context->persistentStoreCoordinator()->managedObjectModel();
      for (const auto* entity : model.entities()) {
        rows[entity->name()] =
            context->count(coredata::NSFetchRequest<coredata::NSManagedObject>(entity->name()));
      }
    });
    return rows;
  }
  /// Leaves of the store what says that it is one, and of which version.
  void damageRows() const {
    constexpr std::streamoff kSound = 8 * 4096;
    std::fstream file(program_.store(), std::ios::in | std::ios::out | std::ios::binary);
    const auto size = static_cast<std::streamoff>(std::filesystem::file_size(program_.store()));
    file.seekp(kSound);
    file << std::string(static_cast<std::size_t>(size - kSound), '\xff');
  }
};

TEST_F(HabitsRehearsal, GivesTheBalanceOfEachEntity) {
  writeVersion3();
  writePhotoFile("lake.jpg");

  const json rehearsal = data({"migrate", "--rehearse"});

  EXPECT_EQ(
      balanceOf(rehearsal, "Checkin"),
      json({{"entity", "Checkin"}, {"rowsBefore", 2}, {"rowsAfter", 2}, {"valuesFilledIn", 0}}));
  // The colour, which became mandatory, and two dates.
  EXPECT_EQ(
      balanceOf(rehearsal, "Activity"),
      json({{"entity", "Activity"}, {"rowsBefore", 1}, {"rowsAfter", 1}, {"valuesFilledIn", 3}}));
  EXPECT_EQ(
      balanceOf(rehearsal, "Badge"),
      json(
          {{"entity", "Badge"}, {"rowsBefore", 1}, {"rowsAfter", nullptr}, {"valuesFilledIn", 0}}));
  EXPECT_EQ(balanceOf(rehearsal, "ActivityWidgetGroup"), json({{"entity", "ActivityWidgetGroup"},
                                                               {"rowsBefore", nullptr},
                                                               {"rowsAfter", 1},
                                                               {"valuesFilledIn", 0}}));
  EXPECT_EQ(rehearsal["photosFolded"], 1);
  EXPECT_EQ(rehearsal["filesMissing"], json::array());
}

TEST_F(HabitsRehearsal, GivesTheBalanceAsATable) {
  writeVersion3();
  writePhotoFile("lake.jpg");

  const std::string balance = text({"migrate", "--rehearse"});

  EXPECT_TRUE(balance.starts_with("Rehearsed on a copy of " + path() +
                                  "; the store and its photos were left as they are.\n\n"))
      << balance;
  for (const char* line : {"Entity               Rows before  Rows after  Values filled in\n",
                           "Activity             1            1           3\n",
                           "Badge                1            -           0\n",
                           "\nPhotos folded into the store: 1\nPhoto files missing: 0\n"}) {
    EXPECT_NE(balance.find(line), std::string::npos) << balance << " lacks " << line;
  }
}

TEST_F(HabitsRehearsal, LeavesTheStoreAndThePhotosByteForByteAsTheyWere) {
  writeVersion3();
  writePhotoFile("lake.jpg");
  writeFile(container() / "photo/of another store.jpg", "picture");
  writeFile(container() / ("photos-of-" + identifier()) / "photo/more.jpg", "picture");
  const Files before = files();

  text({"migrate", "--rehearse"});

  EXPECT_EQ(files(), before);
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(HabitsRehearsal, FindsPhotosThatAKilledMigrationSetAside) {
  writeVersion3();
  writeFile(container() / ("photos-of-" + identifier()) / "photo/lake.jpg", "picture");

  EXPECT_EQ(data({"migrate", "--rehearse"})["photosFolded"], 1);
}

TEST_F(HabitsRehearsal, NamesEveryFileThatIsMissing) {
  writePhotos({"lake.jpg", "hill.jpg", "../photo/lake.jpg", std::nullopt, "sea.jpg"});
  writePhotoFile("lake.jpg");
  const Files before = files();

  const Outcome outcome = program_.run({"migrate", "--rehearse"});

  EXPECT_EQ(outcome.status, 3);
  EXPECT_NE(outcome.output.find("Photos folded into the store: 1\n"
                                "Photo files missing: 4\n"
                                "  hill.jpg\n"
                                "  ../photo/lake.jpg\n"
                                "  (a photo without a name)\n"
                                "  sea.jpg\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_TRUE(outcome.complaint.starts_with(
      "habits: 4 photos of " + path() + " cannot be read in " + (container() / "photo").string()))
      << outcome.complaint;
  EXPECT_EQ(files(), before);
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(HabitsRehearsal, NamesThemForScripts) {
  writePhotos({"hill.jpg", "sea.jpg"});

  const Outcome outcome = program_.run({"migrate", "--rehearse", "--json"});

  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(json::parse(outcome.output)["filesMissing"], json({"hill.jpg", "sea.jpg"}));
}

TEST_F(HabitsRehearsal, PromisesWhatTheMigrationKeeps) {
  for (const Version& old : {Version::version1, Version::version4, Version::version6}) {
    SCOPED_TRACE(old.rawValue());
    std::filesystem::remove_all(container());
    for (const char* companion : {"", "-wal", "-shm"}) {
      std::filesystem::remove(path() + companion);
    }
    storegen::SeededContent content;
    content.container = container().string();
    storegen::makeSeededStore(path(), coredatastack::model(old.rawValue()), content);
    const json rehearsal = data({"migrate", "--rehearse"});

    text({"migrate"});

    EXPECT_EQ(rowsAfter(rehearsal), rowsNow());
    EXPECT_EQ(rehearsal["photosFolded"], rowsNow()["Photo"]);
  }
}

TEST_F(HabitsRehearsal, RemovesItsCopiesWhenItFails) {
  writeVersion3();
  writePhotoFile("lake.jpg");
  damageRows();
  const Files before = files();

  fails({"migrate", "--rehearse"}, 3, {"malformed"});

  EXPECT_EQ(files(), before);
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(HabitsRehearsal, NeverEmptiesADirectoryThatSomethingElseMade) {
  writeVersion3();
  writeFile(temporary() / "letter", "Dear reader");
  std::filesystem::permissions(temporary(), std::filesystem::perms::owner_all);

  fails({"migrate", "--rehearse"}, 3, {temporary().string()});
  fails({"migrate"}, 3, {temporary().string()});

  EXPECT_TRUE(std::filesystem::exists(temporary() / "letter"));
  EXPECT_EQ(version(), "Tessaline 3");
}

TEST_F(HabitsRehearsal, ShowsHowFarItIs) {
  writeVersion3();
  writePhotoFile("lake.jpg");

  const std::string shown = program_.complaintInTerminal({"migrate", "--rehearse"});

  EXPECT_NE(shown.find("Copying ..."), std::string::npos) << shown;
  EXPECT_NE(shown.find("Rehearsing ..."), std::string::npos) << shown;
  EXPECT_NE(shown.find("Rehearsing the last step ..."), std::string::npos) << shown;
}

}  // namespace
}  // namespace habits
