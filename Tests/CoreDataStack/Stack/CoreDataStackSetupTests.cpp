#include <atomic>
#include <cerrno>
#include <fstream>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/Stack/CoreDataError.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Files/TemporaryDirectory.h"
#include "Foundation/Progress/Progress.h"
#include "Tests/CoreDataStack/Stack/StackPlace.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/ScopedVariable.h"

namespace {

using coredatastack::CoreDataError;
using foundation::Directories;
using foundation::Error;
using foundation::make;
using foundation::Ref;
using foundation::TemporaryDirectory;
using foundation::TemporaryDirectoryErrorCode;
using foundation::URL;

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class CoreDataStackSetup : public support::StackPlace {};

TEST_F(CoreDataStackSetup, MakesAStoreAtTheFirstLaunch) {
  const auto made = setUp();

  EXPECT_EQ(whatHappened(), Texts{"success(false)"});
  EXPECT_EQ(happenings().front().thread, std::this_thread::get_id());
  EXPECT_EQ(made->persistentStoreCoordinator()->persistentStores().size(), 1U);
  EXPECT_TRUE(fs::exists(*place_.storeURL().filePath()));
}

TEST_F(CoreDataStackSetup, OpensAStoreOfTheNewestVersionAsItIs) {
  addStore(Version::version7);

  const auto made = setUp();

  EXPECT_EQ(whatHappened(), Texts{"success(false)"});
  EXPECT_EQ(titles(*made->managedObjectContext()), Texts{"Run"});
}

TEST_F(CoreDataStackSetup, BringsAnOlderStoreForwardInTheBackground) {
  addStore(Version::version1);

  const auto made = setUp();

  EXPECT_EQ(whatHappened(), (Texts{"started", "success(true)", "finished"}));
  const auto all = happenings();
  EXPECT_EQ(all[0].thread, std::this_thread::get_id());
  EXPECT_NE(all[1].thread, std::this_thread::get_id());
  EXPECT_EQ(all[1].thread, all[2].thread);
  EXPECT_EQ(titles(*made->managedObjectContext()), Texts{"Run"});
}

TEST_F(CoreDataStackSetup, ReturnsBeforeTheMigrationHasEnded) {
  addStore(Version::version6);
  // The migration waits for the temporary directory, which the first setup's moment holds.
  auto guard = std::optional(TemporaryDirectory::ofProcess().lock());
  const auto made = stack();
  std::atomic<bool> isDone = false;

  made->setup([&](const auto&) { isDone = true; });

  EXPECT_EQ(whatHappened(), Texts{"started"});
  EXPECT_FALSE(isDone);
  guard.reset();
  EXPECT_TRUE(support::runMainQueueUntil([&] { return whatHappened().back() == "finished"; }));
  EXPECT_TRUE(isDone);
}

TEST_F(CoreDataStackSetup, CountsItsMigrationTowardsTheCallersProgress) {
  addStore(Version::version1);
  const auto progress = make<foundation::Progress>(1);
  std::atomic<bool> wasUnderWay = false;
  const auto token = progress->observe([&](const foundation::Progress& seen) {
    const double fraction = seen.fractionCompleted();
    if (fraction > 0 && fraction < 1) wasUnderWay = true;
  });

  progress->performAsCurrent(1, [&] { setUp(); });

  EXPECT_EQ(whatHappened(), (Texts{"started", "success(true)", "finished"}));
  EXPECT_TRUE(wasUnderWay);
  EXPECT_TRUE(progress->isFinished());
}

TEST_F(CoreDataStackSetup, StopsAMigrationWhoseProgressIsCancelled) {
  addStore(Version::version1);
  const auto progress = make<foundation::Progress>(1);
  progress->cancel();

  progress->performAsCurrent(1, [&] { setUp(); });

  EXPECT_TRUE(whatHappened()[1].starts_with("failure(")) << whatHappened()[1];
  EXPECT_EQ(coredatastack::CoreDataMigrationVersion::storeVersion(
                *coredatastack::storeMetadata(place_.storeURL())),
            Version::version1);
}

TEST_F(CoreDataStackSetup, LivesUntilItsMigrationHasEnded) {
  addStore(Version::version1);

  stack()->setup({});

  EXPECT_TRUE(support::runMainQueueUntil([&] { return whatHappened().back() == "finished"; }));
  EXPECT_EQ(coredatastack::CoreDataMigrationVersion::storeVersion(
                *coredatastack::storeMetadata(place_.storeURL())),
            Version::version7);
}

TEST_F(CoreDataStackSetup, LetsItsCompletionUseTheStack) {
  const auto made = stack();
  Texts found;

  made->setup([&](const auto&) {
    made->managedObjectContext()->insertNewObject("Activity")->setValue("Row", "title");
    made->managedObjectContext()->save();
    found = titles(*made->managedObjectContext());
  });

  EXPECT_EQ(found, Texts{"Row"});
}

TEST_F(CoreDataStackSetup, LetsTheCompletionOfAMigrationUseTheStack) {
  addStore(Version::version6);
  const auto made = stack();
  Texts found;

  made->setup([&](const auto&) {
    const auto context = made->privateManagedObjectContext();
    context->performBlockAndWait([&] {
      context->insertNewObject("Activity")->setValue("Row", "title");
      context->save();
      found = titles(*context);
    });
  });

  EXPECT_TRUE(support::runMainQueueUntil([&] { return whatHappened().back() == "finished"; }));
  EXPECT_EQ(found, (Texts{"Run", "Row"}));
}

TEST_F(CoreDataStackSetup, LetsItsCompletionOpenAnotherStore) {
  addStore(Version::version7);
  const auto made = stack();
  int openings = 0;

  made->setup([&](const auto&) {
    made->reload(configuration(Stage::extensions, "Another.sqlite"),
                 [&](const auto& opened) { openings += opened ? 1 : 0; });
  });

  EXPECT_EQ(openings, 1);
  ASSERT_EQ(made->persistentStoreCoordinator()->persistentStores().size(), 1U);
  EXPECT_EQ(*made->persistentStoreCoordinator()->store()->url(), place_.at("Another.sqlite"));
  EXPECT_EQ(titles(*made->managedObjectContext()), Texts());
}

TEST_F(CoreDataStackSetup, HandsAStoreOfNoKnownVersionToTheMigrator) {
  const auto container =
      make<coredata::NSPersistentContainer>("Unknown", coredata::NSManagedObjectModel::empty());
  container->setPersistentStoreDescriptions(
      {coredata::NSPersistentStoreDescription(place_.storeURL())});
  container->loadPersistentStores([](const auto&, const auto& error) { ASSERT_FALSE(error); });

  const auto made = setUp();

  EXPECT_EQ(
      whatHappened(),
      (Texts{"started",
             "failure(CoreDataMigratorError.unknownStoreVersion(unknown store version at URL " +
                 place_.storeURL().description() + "))",
             "finished"}));
  EXPECT_TRUE(made->persistentStoreCoordinator()->persistentStores().empty());
}

TEST_F(CoreDataStackSetup, ReportsAFileThatIsNoStore) {
  std::ofstream(*place_.storeURL().filePath()) << "Dear diary, today I ran.\n";

  const auto made = setUp();

  ASSERT_EQ(whatHappened().size(), 1U);
  EXPECT_TRUE(whatHappened()[0].starts_with("failure(Error Domain=NSCocoaErrorDomain"));
  EXPECT_TRUE(made->persistentStoreCoordinator()->persistentStores().empty());
}

TEST_F(CoreDataStackSetup, NeedsAStoreToOpen) {
  const auto none = stack();
  none->persistentContainer()->setPersistentStoreDescriptions({});
  setUp(none);
  EXPECT_EQ(whatHappened(), Texts{"failure(CoreDataError.unableToLoadPersistentStore)"});

  const auto nowhere = stack();
  nowhere->persistentContainer()->setPersistentStoreDescriptions(
      {coredata::NSPersistentStoreDescription()});
  bool failed = false;
  nowhere->setup([&](const auto& outcome) {
    failed = !outcome && dynamic_cast<const CoreDataError*>(outcome.error().get()) != nullptr;
  });
  EXPECT_TRUE(failed);
}

TEST_F(CoreDataStackSetup, EmptiesTheTemporaryDirectoryForAMigrationOnly) {
  const fs::path directory = foundation::NSTemporaryDirectory();
  const auto fill = [&] {
    fs::create_directories(directory / "a" / "b");
    std::ofstream(directory / ".hidden") << "x";
  };
  fill();
  setUp();
  EXPECT_TRUE(fs::exists(directory / "a" / "b"));

  coredatastack::destroyStore(place_.storeURL());
  addStore(Version::version5);
  setUp();

  EXPECT_EQ(whatHappened().back(), "finished");
  EXPECT_TRUE(fs::is_empty(directory));
}

TEST_F(CoreDataStackSetup, MayRunTwice) {
  const auto made = setUp();
  setUp(made);

  EXPECT_EQ(whatHappened(), (Texts{"success(false)", "success(false)"}));
  EXPECT_EQ(made->persistentStoreCoordinator()->persistentStores().size(), 1U);
}

TEST_F(CoreDataStackSetup, SaysWhetherAMigrationIsNeeded) {
  addStore(Version::version7);
  EXPECT_FALSE(stack()->needMigration());

  coredatastack::destroyStore(place_.storeURL());
  addStore(Version::version3);
  EXPECT_TRUE(stack()->needMigration());
  EXPECT_TRUE(logger_->descriptions().empty());
}

TEST_F(CoreDataStackSetup, LogsThatItCannotTellWhetherAMigrationIsNeeded) {
  EXPECT_FALSE(stack()->needMigration());

  EXPECT_EQ(logger_->descriptions().size(), 1U);
}

TEST_F(CoreDataStackSetup, OpensAStoreOfEachStage) {
  for (const Stage stage : {Stage::temp, Stage::inMemory, Stage::production, Stage::extensions}) {
    const auto made = setUp(stage);
    EXPECT_EQ(whatHappened().back(), "success(false)");
    EXPECT_EQ(made->persistentStoreCoordinator()->persistentStores().size(), 1U);
  }
}

TEST_F(CoreDataStackSetup, SaysThatASecondStoreCannotBeOpened) {
  const auto made = stack();
  made->persistentContainer()->setPersistentStoreDescriptions(
      {coredata::NSPersistentStoreDescription(place_.storeURL()),
       coredata::NSPersistentStoreDescription(place_.at("Second.sqlite"))});

  setUp(made);

  EXPECT_TRUE(whatHappened().back().starts_with("failure(")) << whatHappened().back();
  EXPECT_EQ(made->persistentStoreCoordinator()->persistentStores().size(), 1U);
}

/// A bundle of the test's own, with the newest version as one model's and a damaged one beside it.
class CoreDataStackSetupWithAnotherBundle : public CoreDataStackSetup {
 protected:
  CoreDataStackSetupWithAnotherBundle() {
    const fs::path bundle = place_.directory() / "bundles" / "Other.bundle";
    const auto models = foundation::Bundle::withIdentifier(coredatastack::modelBundleIdentifier())
                            ->url("Model", "momd");
    for (const char* name : {"Model.momd", "Diary.momd"}) {
      fs::create_directories(bundle);
      fs::copy(*models->filePath(), bundle / name, fs::copy_options::recursive);
    }
    fs::create_directories(bundle / "Damaged.momd");
    std::ofstream(bundle / "Damaged.momd" / "Info.json") << "no list";
    std::ofstream(bundle / "Info.json")
        << R"({"identifier": "com.tessaline.other", "name": "Other"})";
    foundation::Bundle::registerDirectory(URL::fileURL(bundle.parent_path().string() + "/"));
  }
  [[nodiscard]] Ref<Stack> stackOf(const char* model) const {
    return make<Stack>(Configuration(Stage::extensions, model, "com.tessaline.other", "", "", "app",
                                     place_.storeURL(), false),
                       logger_);
  }
};

TEST_F(CoreDataStackSetupWithAnotherBundle, MigratesAndOpensAStoreOfItsModel) {
  addStore(Version::version6);
  setUp(stackOf("Model"));
  EXPECT_EQ(whatHappened(), (Texts{"started", "success(true)", "finished"}));

  const auto made = setUp(stackOf("Model"));

  EXPECT_EQ(whatHappened().back(), "success(false)");
  EXPECT_EQ(titles(*made->managedObjectContext()), Texts{"Run"});
}

TEST_F(CoreDataStackSetupWithAnotherBundle, OpensAStoreOfAModelWithANameOfItsOwn) {
  addStore(Version::version7);

  const auto made = setUp(stackOf("Diary"));

  EXPECT_EQ(whatHappened(), Texts{"success(false)"});
  EXPECT_EQ(titles(*made->managedObjectContext()), Texts{"Run"});
}

TEST_F(CoreDataStackSetupWithAnotherBundle, StopsTheProcessOverAModelThatCannotBeRead) {
  EXPECT_DEATH(static_cast<void>(stackOf("Damaged")), "Fatal error: no model can be read from ");
}

TEST_F(CoreDataStackSetup, LeavesAStoreOfTheNewestVersionToAStageThatMigratesByItself) {
  addStore(Version::version7, "kept");

  const auto made = setUp(Stage::temp);

  EXPECT_EQ(whatHappened(), std::vector<std::string>{"success(false)"});
  EXPECT_EQ(titles(*made->managedObjectContext()), std::vector<std::string>{"kept"});
}

/// Every place that must not be emptied, as setup meets it: an old store that a migration would
/// begin with.
class CoreDataStackSetupGuards : public support::StackPlace {
 protected:
  void SetUp() override { addStore(Version::version2); }

  /// Sets up with the temporary directory in a home, and says the code of the refusal.
  void expectRefusal(TemporaryDirectoryErrorCode code) {
    const std::size_t before = whatHappened().size();
    std::int64_t refusal = 0;
    stack()->setup([&](const auto& outcome) {
      if (!outcome) refusal = outcome.error()->code();
    });
    EXPECT_TRUE(support::runMainQueueUntil([&] { return whatHappened().size() >= before + 2; }));
    EXPECT_EQ(refusal, static_cast<std::int64_t>(code));
    EXPECT_TRUE(fs::exists(precious_));
    EXPECT_EQ(coredatastack::CoreDataMigrationVersion::storeVersion(
                  *coredatastack::storeMetadata(place_.storeURL())),
              Version::version2);
  }
  /// The temporary directory with something in it.
  void fill() {
    tmp_ = foundation::NSTemporaryDirectory();
    tmp_ = tmp_.parent_path();
    precious_ = tmp_ / "precious";
    std::ofstream(precious_) << "text";
  }

  fs::path tmp_;
  fs::path precious_;
};

TEST_F(CoreDataStackSetupGuards, RefuseTheHomeDirectory) {
  fill();
  const support::ScopedVariable home("HOME", tmp_.c_str());

  expectRefusal(TemporaryDirectoryErrorCode::protectedPlace);
}

TEST_F(CoreDataStackSetupGuards, RefuseTheSystemsTemporaryDirectory) {
  fill();
  const support::ScopedVariable temporary("TMPDIR", tmp_.c_str());

  expectRefusal(TemporaryDirectoryErrorCode::protectedPlace);
}

TEST_F(CoreDataStackSetupGuards, RefuseALinkToAnything) {
  fill();
  const fs::path aside = tmp_.parent_path() / "aside";
  fs::rename(tmp_, aside);
  precious_ = aside / "precious";
  for (const fs::path& target : {fs::path("/"), fs::path("/tmp"), place_.directory(), aside}) {
    fs::create_directory_symlink(target, tmp_);
    {
      // Should the guard not hold, nothing is lost all the same.
      const support::FaultyFileSystem files(support::FileFault::failFromThenOn, 1, EPERM);
      expectRefusal(TemporaryDirectoryErrorCode::symbolicLink);
    }
    fs::remove(tmp_);
  }
}

TEST_F(CoreDataStackSetupGuards, RefuseADirectoryWithoutTheirMarker) {
  fill();
  fs::remove(tmp_.native() + ".may-be-emptied");

  expectRefusal(TemporaryDirectoryErrorCode::unmarked);
}

TEST_F(CoreDataStackSetupGuards, RefuseADirectoryThatOthersCanEnter) {
  fill();
  fs::permissions(tmp_, fs::perms::others_exec, fs::perm_options::add);

  expectRefusal(TemporaryDirectoryErrorCode::notOurs);
}

class CoreDataStackSetupBesideStores : public CoreDataStackSetupGuards {
 protected:
  void SetUp() override {}

  /// A store in the temporary directory, or below it.
  void expectRefusalOf(const std::string& name) {
    fill();
    const URL store = URL::fileURL((tmp_ / name).string());
    fs::create_directories(fs::path(*store.filePath()).parent_path());
    support::edit(store, Version::version2, [](coredata::NSManagedObjectContext& context) {
      context.insertNewObject("Activity");
    });
    const auto made =
        make<Stack>(coredatastack::CoreDataConfiguration(Stage::extensions, "Model",
                                                         coredatastack::modelBundleIdentifier(), "",
                                                         "", "app", store, false),
                    logger_);
    setUp(made);

    ASSERT_EQ(whatHappened().size(), 3U);
    EXPECT_NE(whatHappened()[1].find("Code=" + std::to_string(static_cast<int>(
                                                   TemporaryDirectoryErrorCode::holdsStore))),
              std::string::npos)
        << whatHappened()[1];
    EXPECT_TRUE(fs::exists(precious_));
    EXPECT_TRUE(fs::exists(*store.filePath()));
  }
};

TEST_F(CoreDataStackSetupBesideStores, RefusesTheStoresOwnDirectory) {
  expectRefusalOf("Model.sqlite");
}

TEST_F(CoreDataStackSetupBesideStores, RefusesADirectoryAboveTheStore) {
  expectRefusalOf("deep/down/Model.sqlite");
}

}  // namespace
