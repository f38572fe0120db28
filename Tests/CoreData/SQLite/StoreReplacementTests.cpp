#include "CoreData/SQLite/StoreReplacement.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreData/SQLite/StoreDestruction.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/CrashRunner.h"

namespace {
using coredata::HistoryPosition;
using coredata::ReadSession;
using coredata::StoreClaim;
using coredata::StoreErrorCode;
using coredata::StoreOptions;
using shelf::kImpatient;
using shelf::StoreFile;
using support::number;
using Lines = std::vector<std::string>;

class StoreReplacement : public testing::Test {
 protected:
  void SetUp() override {
    fill(old, {"Emma"});
    fill(young, {"Persuasion", "Sanditon"});
  }
  static void fill(const StoreFile& file, const std::vector<const char*>& titles) {
    ReadSession session(file.open());
    for (const char* title : titles) shelf::insertBook(session, title);
  }
  static Lines titles(const StoreFile& file) {
    return shelf::query(file.path(), "SELECT title FROM Book ORDER BY _id");
  }
  void replace() const { coredata::replaceStore(old.url(), young.url(), kImpatient); }
  [[nodiscard]] std::int64_t error() const {
    return shelf::errorCode([&] { replace(); });
  }
  static HistoryPosition newest(const StoreFile& file) { return file.open()->newestTransaction(); }

  const Lines kOldTitles{"Emma"};
  const Lines kNewTitles{"Persuasion", "Sanditon"};
  StoreFile old;
  StoreFile young;
};
}  // namespace

TEST_F(StoreReplacement, GivesAStoreTheContentOfAnother) {
  const foundation::UUID identifier = young.open()->identifier();

  replace();

  EXPECT_EQ(titles(old), kNewTitles);
  EXPECT_EQ(old.open()->identifier(), identifier);
  EXPECT_EQ(shelf::query(old.path(), "PRAGMA integrity_check"), Lines{"ok"});
}

TEST_F(StoreReplacement, DoesNotChangeTheOther) {
  const std::string before = shelf::readFile(young.path());
  const Lines names = young.names();

  replace();

  EXPECT_EQ(shelf::readFile(young.path()), before);
  EXPECT_EQ(young.names(), names);
}

TEST_F(StoreReplacement, LeavesTheFileCompleteAndNothingElseOfItsOwn) {
  const Lines names = old.names();

  replace();

  EXPECT_EQ(old.names(), names);
  const std::string copy = old.path() + ".copy";
  shelf::writeFile(copy, shelf::readFile(old.path()));
  EXPECT_EQ(shelf::query(copy, "SELECT title FROM Book ORDER BY _id"), kNewTitles);
}

TEST_F(StoreReplacement, SeesWhatIsStillInTheLogOfTheOther) {
  ReadSession session(young.open());
  shelf::insertBook(session, "Lady Susan");

  replace();

  EXPECT_EQ(titles(old), (Lines{"Persuasion", "Sanditon", "Lady Susan"}));
}

TEST_F(StoreReplacement, MakesAMissingStoreForItsOwnerOnly) {
  const StoreFile missing;

  coredata::replaceStore(missing.url(), young.url(), kImpatient);

  EXPECT_EQ(titles(missing), kNewTitles);
  struct stat status {};
  ASSERT_EQ(stat(missing.path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_NO_THROW(missing.open()->close());
}

TEST_F(StoreReplacement, FillsAnEmptyFile) {
  const StoreFile empty;
  shelf::writeFile(empty.path(), "");

  coredata::replaceStore(empty.url(), young.url(), kImpatient);

  EXPECT_EQ(titles(empty), kNewTitles);
}

TEST_F(StoreReplacement, MakesNoDirectory) {
  EXPECT_EQ(shelf::errorCode([&] {
              coredata::replaceStore(foundation::URL::fileURL(old.path() + ".missing/shelf.sqlite"),
                                     young.url(), kImpatient);
            }),
            number(StoreErrorCode::missingDirectory));
}

TEST_F(StoreReplacement, TakesAScratchStore) {
  const StoreFile scratch;
  StoreOptions options = scratch.options();
  options.isScratch = true;
  {
    ReadSession session(scratch.open(options));
    shelf::insertBook(session, "Lady Susan");
  }

  coredata::replaceStore(old.url(), scratch.url(), kImpatient);

  EXPECT_EQ(titles(old), Lines{"Lady Susan"});
  EXPECT_EQ(shelf::query(old.path(), "PRAGMA journal_mode"), Lines{"wal"});
}

TEST_F(StoreReplacement, WorksWithARollbackJournal) {
  StoreOptions options = old.options();
  options.pragmas = {{"journal_mode", "DELETE"}};
  old.open(options)->close();

  replace();

  EXPECT_EQ(titles(old), kNewTitles);
}

TEST_F(StoreReplacement, DoesNothingForAStoreAndItself) {
  const std::string before = shelf::readFile(old.path());
  const std::string link = old.path() + ".link";
  std::filesystem::create_symlink(old.path(), link);
  const Lines names = old.names();

  coredata::replaceStore(old.url(), old.url(), kImpatient);
  coredata::replaceStore(old.url(), foundation::URL::fileURL(link), kImpatient);

  EXPECT_EQ(shelf::readFile(old.path()), before);
  EXPECT_EQ(old.names(), names);
}

// The other is looked at first.

TEST_F(StoreReplacement, KeepsTheStoreWhenTheOtherIsNone) {
  struct Case {
    const char* name;
    std::string content;
    StoreErrorCode code;
  };
  const std::string whole = shelf::readFile(young.path());
  const std::string before = shelf::readFile(old.path());
  for (const Case& one :
       {Case{"empty", "", StoreErrorCode::missing}, Case{"byte", "x", StoreErrorCode::notAStore},
        Case{"letter", std::string(9000, 'x'), StoreErrorCode::notAStore},
        Case{"torn", whole.substr(0, 6000), StoreErrorCode::damaged}}) {
    const StoreFile other;
    shelf::writeFile(other.path(), one.content);
    EXPECT_EQ(shelf::errorCode([&] { coredata::replaceStore(old.url(), other.url(), kImpatient); }),
              number(one.code))
        << one.name;
    EXPECT_EQ(shelf::readFile(old.path()), before) << one.name;
  }
}

TEST_F(StoreReplacement, KeepsTheStoreWhenTheOtherIsMissing) {
  const StoreFile missing;
  const std::string before = shelf::readFile(old.path());

  EXPECT_EQ(shelf::errorCode([&] { coredata::replaceStore(old.url(), missing.url(), kImpatient); }),
            number(StoreErrorCode::missing));
  EXPECT_EQ(shelf::readFile(old.path()), before);
}

TEST_F(StoreReplacement, KeepsTheStoreWhenTheOthersMetadataIsDamaged) {
  shelf::query(young.path(), "UPDATE _metadata SET value='\"SQLITE\"' WHERE key='NSStoreType'");

  EXPECT_EQ(error(), number(StoreErrorCode::damaged));
  EXPECT_EQ(titles(old), kOldTitles);
}

TEST_F(StoreReplacement, KeepsAnotherProgramsDatabase) {
  const StoreFile foreign;
  shelf::writeFile(foreign.path(), "");
  shelf::query(foreign.path(), "CREATE TABLE t(x)");

  EXPECT_EQ(
      shelf::errorCode([&] { coredata::replaceStore(foreign.url(), young.url(), kImpatient); }),
      number(StoreErrorCode::notAStore));
  EXPECT_EQ(shelf::query(foreign.path(), "SELECT name FROM sqlite_master"), Lines{"t"});
}

TEST_F(StoreReplacement, KeepsADirectory) {
  const StoreFile directory;
  std::filesystem::create_directory(directory.path());

  EXPECT_EQ(
      shelf::errorCode([&] { coredata::replaceStore(directory.url(), young.url(), kImpatient); }),
      number(StoreErrorCode::notAStore));
}

// History goes on behind both.

TEST_F(StoreReplacement, GoesOnBehindTheNewerHistoryOfTheOld) {
  fill(old, {"Lady Susan", "The Watsons"});
  const HistoryPosition before = newest(old);
  ASSERT_GT(before.number, newest(young).number);
  ASSERT_GT(before.timestamp, newest(young).timestamp);

  replace();

  EXPECT_EQ(newest(old), before);
  ReadSession session(old.open());
  shelf::insertBook(session, "Emma");
  EXPECT_GT(session.newestTransaction().number, before.number);
  EXPECT_GT(session.newestTransaction().timestamp, before.timestamp);
}

TEST_F(StoreReplacement, GoesOnBehindTheNewerHistoryOfTheOther) {
  const HistoryPosition before = newest(young);
  ASSERT_GT(before.timestamp, newest(old).timestamp);

  replace();

  EXPECT_EQ(newest(old), before);
}

TEST_F(StoreReplacement, TakesTheNumberOfOneAndTheStampOfTheOther) {
  ASSERT_GT(newest(young).number, newest(old).number);
  shelf::query(old.path(), "UPDATE _transaction SET timestamp=9e8");

  const auto stamp = newest(old).timestamp;
  replace();

  EXPECT_EQ(newest(old), (HistoryPosition{2, stamp}));
}

// Others have the store open.

TEST_F(StoreReplacement, IsNoticedByWhoHasTheStoreOpen) {
  ReadSession session(old.open());

  replace();

  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(shelf::titleOf(session, 1)); }),
            number(StoreErrorCode::replaced));
  session.store()->close();
  ReadSession again(old.open());
  EXPECT_EQ(shelf::titleOf(again, 1), "Persuasion");
}

TEST_F(StoreReplacement, IsNoticedByAnotherProcess) {
  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    ReadSession session(old.open());
    done.send(shelf::titleOf(session, 1));
    const support::ChildOutcome other =
        support::runInChild([&](const auto& inner) { inner.send(std::to_string(error())); });
    for (const std::string& line : other.acknowledged) done.send(line);
    done.send(std::to_string(shelf::errorCode([&] { shelf::insertBook(session, "Emma"); })));
    session.store()->close();
    ReadSession again(old.open());
    done.send(shelf::titleOf(again, 1));
    shelf::insertBook(again, "Emma");
  });

  EXPECT_EQ(outcome.acknowledged,
            (Lines{"Emma", "0", std::to_string(number(StoreErrorCode::replaced)), "Persuasion"}));
  EXPECT_EQ(titles(old), (Lines{"Persuasion", "Sanditon", "Emma"}));
}

TEST_F(StoreReplacement, LetsAReaderFinish) {
  ReadSession session(old.open());
  session.begin();
  EXPECT_EQ(shelf::titleOf(session, 1), "Emma");

  replace();

  EXPECT_EQ(shelf::titleOf(session, 1), "Emma");
  session.end();
  EXPECT_EQ(titles(old), kNewTitles);
}

TEST_F(StoreReplacement, IsTurnedAwayByAWriterWhoDoesNotEnd) {
  ReadSession session(old.open());
  const coredata::WriteTransaction transaction(session);

  EXPECT_EQ(error(), number(StoreErrorCode::busy));
  EXPECT_EQ(titles(old), kOldTitles);
  EXPECT_FALSE(std::filesystem::exists(old.path() + "-salvage-1"));
}

TEST_F(StoreReplacement, WorksAcrossFileSystems) {
  std::string elsewhere = "/dev/shm/coredatastack-test-XXXXXX";
  if (mkdtemp(elsewhere.data()) == nullptr) GTEST_SKIP() << "there is no other file system";
  const auto url = foundation::URL::fileURL(elsewhere + "/shelf.sqlite");

  coredata::replaceStore(url, young.url(), kImpatient);
  EXPECT_EQ(shelf::query(*url.filePath(), "SELECT title FROM Book ORDER BY _id"), kNewTitles);
  coredata::replaceStore(old.url(), url, kImpatient);
  EXPECT_EQ(titles(old), kNewTitles);

  std::filesystem::remove_all(elsewhere);
}

TEST_F(StoreReplacement, IsTurnedAwayByAClaimOfAnotherProcess) {
  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    const StoreClaim claim(old.url(), kImpatient);
    const support::ChildOutcome other =
        support::runInChild([&](const auto& inner) { inner.send(std::to_string(error())); });
    for (const std::string& line : other.acknowledged) done.send(line);
  });

  EXPECT_EQ(outcome.acknowledged, Lines{std::to_string(number(StoreErrorCode::busy))});
  EXPECT_EQ(titles(old), kOldTitles);
}

// What was made from the store replaces it only if nobody wrote meanwhile.

TEST_F(StoreReplacement, TakesThePlaceOfAStoreThatIsAsItWasRead) {
  StoreClaim claim(old.url(), kImpatient);
  claim.markRead();

  EXPECT_EQ(error(), 0);
  EXPECT_EQ(titles(old), kNewTitles);
}

TEST_F(StoreReplacement, LeavesAStoreAloneThatWasWrittenToAfterItWasRead) {
  StoreClaim claim(old.url(), kImpatient);
  claim.markRead();
  fill(old, {"Lady Susan"});

  EXPECT_EQ(error(), number(StoreErrorCode::changedMeanwhile));
  EXPECT_EQ(titles(old), (Lines{"Emma", "Lady Susan"}));
  EXPECT_EQ(error(), number(StoreErrorCode::changedMeanwhile));
}

TEST_F(StoreReplacement, LeavesAStoreAloneThatWasMadeUnreadableAfterItWasRead) {
  coredata::StoreOptions options = old.options();
  options.pragmas = {{"journal_mode", "DELETE"}};
  old.open(options)->close();
  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    StoreClaim claim(old.url(), kImpatient);
    claim.markRead();
    std::filesystem::resize_file(old.path(), 0);
    shelf::writeFile(old.path(), std::string(9000, 'x'));
    done.send(std::to_string(error()));
  });

  EXPECT_EQ(outcome.acknowledged, Lines{std::to_string(number(StoreErrorCode::changedMeanwhile))});
  EXPECT_EQ(shelf::readFile(old.path()), std::string(9000, 'x'));
}

// A destination that is no database.

TEST_F(StoreReplacement, MovesAsideWhatIsNoDatabaseWithWhatLiesBesideIt) {
  for (const std::size_t size : {1U, 600U, 9000U}) {
    const StoreFile place;
    const std::string letter(size, 'x');
    shelf::writeFile(place.path(), letter);
    shelf::writeFile(place.path() + "-wal", "log");

    coredata::replaceStore(place.url(), young.url(), kImpatient);

    EXPECT_EQ(titles(place), kNewTitles) << size;
    EXPECT_EQ(shelf::readFile(place.path() + "-salvage-1"), letter);
    EXPECT_EQ(shelf::readFile(place.path() + "-salvage-1-wal"), "log");
    EXPECT_GT(newest(place).timestamp, newest(young).timestamp);
    EXPECT_NO_THROW(place.open()->close());
  }
}

TEST_F(StoreReplacement, KeepsEverythingThatWasEverMovedAside) {
  const StoreFile place;
  for (const char* letter : {"first letter", "second letter"}) {
    coredata::destroyStore(place.url(), kImpatient);
    shelf::writeFile(place.path(), letter);
    coredata::replaceStore(place.url(), young.url(), kImpatient);
  }

  EXPECT_EQ(shelf::readFile(place.path() + "-salvage-1"), "first letter");
  EXPECT_EQ(shelf::readFile(place.path() + "-salvage-2"), "second letter");
}

TEST_F(StoreReplacement, MovesATornStoreAside) {
  const std::string torn = shelf::readFile(old.path()).substr(0, 6000);
  std::filesystem::remove(old.path() + "-wal");
  shelf::writeFile(old.path(), torn);

  replace();

  EXPECT_EQ(titles(old), kNewTitles);
  EXPECT_EQ(shelf::readFile(old.path() + "-salvage-1"), torn);
}

TEST_F(StoreReplacement, NeverTakesAFileThatItMayNotWriteForNoDatabase) {
  std::filesystem::permissions(old.path(), std::filesystem::perms(0444));
  std::filesystem::permissions(old.directory(), std::filesystem::perms(0777));
  std::filesystem::permissions(young.directory(), std::filesystem::perms(0777));
  std::filesystem::permissions(young.path(), std::filesystem::perms(0644));

  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    constexpr uid_t kNobody = 65534;
    std::filesystem::remove(young.path() + "-wal");
    if (geteuid() == 0 && seteuid(kNobody) != 0) return done.send("cannot be somebody else");
    done.send(std::to_string(error()));
  });

  EXPECT_EQ(outcome.acknowledged, Lines{std::to_string(number(StoreErrorCode::notWritable))});
  EXPECT_EQ(titles(old), kOldTitles);
}
