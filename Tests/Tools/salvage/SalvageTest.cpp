#include "Tools/salvage/Salvage.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Foundation/Values/Error.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/DiskSpace.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreFiles.h"
#include "Tests/Tools/storecheck/CheckedStore.h"
#include "Tools/salvage/TablePage.h"

namespace salvage {

namespace {

namespace fs = std::filesystem;

using coredata::StoreErrorCode;
using coredatastack::CoreDataMigrationVersion;
using foundation::URL;
using storecheck::CheckedStore;
using testing::ElementsAre;

constexpr std::size_t kPage = 4096;

class SalvageTest : public testing::Test {
 protected:
  [[nodiscard]] fs::path out() const { return directory_.path() / "out.sqlite"; }
  [[nodiscard]] URL outURL() const { return URL::fileURL(out().string()); }
  [[nodiscard]] SalvageReport salvage() const { return salvageStore(store.url(), outURL()); }
  [[nodiscard]] storecheck::Report check() const { return storecheck::check(outURL()); }

  /// The code of the error with which it ends, having made nothing.
  [[nodiscard]] std::int64_t refusal() const { return refusal(out()); }
  [[nodiscard]] std::int64_t refusal(const fs::path& to) const {
    return support::errorCode(
        [&] { static_cast<void>(salvageStore(store.url(), URL::fileURL(to.string()))); });
  }
  void changeBytes(const std::function<void(std::string&)>& change) const {
    std::string bytes = store.bytes();
    change(bytes);
    store.setBytes(bytes);
  }
  void clearPages(const std::function<bool(const std::string&)>& which) const {
    changeBytes([&](std::string& bytes) {
      for (std::size_t at = 0; at + kPage <= bytes.size(); at += kPage) {
        if (which(bytes.substr(at, kPage))) bytes.replace(at, kPage, kPage, '\0');
      }
    });
  }
  static const EntityReport& entity(const SalvageReport& report, std::string_view name) {
    return *std::ranges::find(report.entities, name, &EntityReport::name);
  }
  static void expect(StoreErrorCode code, std::int64_t found) {
    EXPECT_EQ(found, static_cast<std::int64_t>(code));
  }
  [[nodiscard]] std::vector<std::string> filesBesideOut() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory_.path()))
      names.push_back(entry.path().filename().string());
    return names;
  }

  CheckedStore store;

 private:
  support::TemporaryDirectory directory_;
};

using Salvage = SalvageTest;

bool isInner(const std::string& page) { return page[0] == TablePage::kInner; }
bool isOfTheList(const std::string& page) { return page.contains("CREATE TABLE "); }

}  // namespace

TEST_F(Salvage, BringsBackAllOfASoundStore) {
  const SalvageReport report = salvage();

  EXPECT_TRUE(report.isWhole());
  EXPECT_EQ(report.percentage(), 100);
  EXPECT_EQ(report.version, "Tessaline 7");
  const storecheck::Report found = check();
  EXPECT_EQ(found.contentHash, store.contentHash());
  EXPECT_EQ(found.identifier, store.check().identifier);
  EXPECT_EQ(storecheck::described(found.findings), "");
}

TEST_F(Salvage, KeepsTheVersion) {
  for (const CoreDataMigrationVersion& version : CoreDataMigrationVersion::allCases()) {
    SCOPED_TRACE(version.rawValue());
    const CheckedStore old(version.rawValue());
    const URL to = URL::fileURL(out().string() + std::string(version.rawValue()));

    const SalvageReport report = salvageStore(old.url(), to);

    EXPECT_TRUE(report.isWhole());
    EXPECT_EQ(report.version, version.rawValue());
    EXPECT_EQ(storecheck::check(to).contentHash, old.contentHash());
  }
}

TEST_F(Salvage, LeavesTheDamagedStoreAsItIsAndNothingElse) {
  changeBytes([](std::string& bytes) { bytes.replace(0, 10, "damaged!!!"); });
  const auto directory = fs::path(store.path()).parent_path();
  const auto before = storecheck::filesIn(directory);
  const std::string bytes = store.bytes();

  static_cast<void>(salvage());

  EXPECT_EQ(storecheck::filesIn(directory), before);
  EXPECT_EQ(store.bytes(), bytes);
  EXPECT_THAT(filesBesideOut(), ElementsAre("out.sqlite"));
}

TEST_F(Salvage, ReadsAStoreWithoutItsFirstPage) {
  const std::string hash = store.contentHash();
  changeBytes([](std::string& bytes) { bytes.replace(0, kPage, kPage, '\0'); });

  const SalvageReport report = salvage();

  EXPECT_EQ(report.versionSource, VersionSource::tables);
  EXPECT_FALSE(report.hadSoundHeader);
  EXPECT_EQ(report.found(), report.broughtBack());
  EXPECT_EQ(check().contentHash, hash);
}

TEST_F(Salvage, ReadsAStoreWithoutItsListOfTables) {
  const std::string hash = store.contentHash();
  clearPages(isOfTheList);

  const SalvageReport report = salvage();

  EXPECT_EQ(report.versionSource, VersionSource::rows);
  EXPECT_EQ(report.version, "Tessaline 7");
  EXPECT_LT(report.percentage(), 100) << "nobody can know that it is all";
  EXPECT_EQ(report.unknownPages, 0) << "links tell goals and orders apart";
  EXPECT_EQ(check().contentHash, hash);
}

TEST_F(Salvage, FindsTheLeavesOfATreeThatHasLostItsRoot) {
  store.execute(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<500) "
      "INSERT INTO MonthlyReview(_version, date, feedback) SELECT 1, '2024-02', 'good ' || i "
      "FROM n");
  const std::string hash = store.contentHash();
  clearPages(isInner);

  const SalvageReport report = salvage();

  const EntityReport& reviews = entity(report, "MonthlyReview");
  EXPECT_EQ(reviews.strays, reviews.broughtBack);
  EXPECT_GT(reviews.lostPages, 0);
  EXPECT_FALSE(report.isWhole());
  EXPECT_EQ(check().contentHash, hash);
}

TEST_F(Salvage, ReadsWhatTheLogHolds) {
  const auto outcome = support::runInChild([&](const support::Acknowledgements&) {
    const auto context = support::contextOver(store.url(), CoreDataMigrationVersion::newest());
    context->performBlockAndWait([&] {
      context->insertNewObject("Group")->setValue("from the log", "title");
      context->save();
    });
    _exit(0);
  });
  ASSERT_EQ(outcome.exitStatus, 0);
  changeBytes([](std::string& bytes) { bytes.replace(0, 16, 16, 'x'); });

  const SalvageReport report = salvage();

  EXPECT_EQ(report.problem, "");
  const support::StoreLook look(out());
  EXPECT_THAT(look.column("SELECT title FROM \"Group\" WHERE title='from the log'"),
              ElementsAre("from the log"));
}

TEST_F(Salvage, DropsWhatAPropertyCannotHaveAndKeepsTheRow) {
  store.execute(
      "UPDATE Checkin SET date='Tuesday', memo=CAST(x'6869ff' AS TEXT) WHERE _id=1;"
      "UPDATE Activity SET checkinMaxCount='many', status=70000, createdDate='x' WHERE _id=1");

  const SalvageReport report = salvage();

  using Losses = std::map<Loss, std::int64_t>;
  EXPECT_EQ(entity(report, "Checkin").losses,
            (Losses{{{"date", LossReason::noDay}, 1}, {{"memo", LossReason::mendedText}, 1}}));
  EXPECT_EQ(entity(report, "Activity").losses,
            (Losses{{{"checkinMaxCount", LossReason::wrongKind}, 1},
                    {{"createdDate", LossReason::wrongKind}, 1},
                    {{"status", LossReason::wrongKind}, 1}}));
  EXPECT_EQ(report.found(), report.broughtBack());
  EXPECT_TRUE(check().isSound());
  const support::StoreLook look(out());
  EXPECT_THAT(look.column("SELECT memo FROM Checkin WHERE _id=1"), ElementsAre("hi\xef\xbf\xbd"));
  EXPECT_THAT(look.column("SELECT checkinMaxCount || ' ' || status FROM Activity WHERE _id=1"),
              ElementsAre("1.0 0"))
      << "what the model begins with";
}

TEST_F(Salvage, ClearsRelationshipsThatLeadNowhere) {
  store.execute("UPDATE Checkin SET activity=999 WHERE _id=3");

  const SalvageReport report = salvage();

  EXPECT_EQ(entity(report, "Checkin").losses.at({"activity", LossReason::dangling}), 1);
  EXPECT_TRUE(check().isSound());
}

TEST_F(Salvage, LearnsALostEndFromTheOtherOne) {
  const std::string hash = store.contentHash();
  store.execute("UPDATE Goal SET activity=NULL WHERE _id=1; UPDATE Activity SET \"order\"=NULL");

  const SalvageReport report = salvage();

  EXPECT_TRUE(report.isWhole());
  EXPECT_EQ(check().contentHash, hash);
}

TEST_F(Salvage, LetsOneRowHaveWhatOnlyOneMay) {
  store.execute("UPDATE Activity SET goal=(SELECT goal FROM Activity WHERE _id=1) WHERE _id=2");

  const SalvageReport report = salvage();

  EXPECT_TRUE(check().isSound());
  EXPECT_EQ(entity(report, "Activity").losses.at({"goal", LossReason::contradicted}), 1);
}

TEST_F(Salvage, GivesOutNoKeyThatWasGivenOutBefore) {
  const std::int64_t mark = store.number("SELECT value FROM _mark WHERE name='Checkin'");
  ASSERT_GT(mark, store.number("SELECT max(_id) FROM Checkin"));

  static_cast<void>(salvage());

  const support::StoreLook look(out());
  EXPECT_THAT(look.column("SELECT value FROM _mark WHERE name='Checkin'"),
              ElementsAre(std::to_string(mark)));
}

TEST_F(Salvage, BeginsTheHistoryAnewBehindTheOldOne) {
  const std::int64_t newest = store.number("SELECT max(number) FROM _transaction");

  static_cast<void>(salvage());
  support::edit(
      outURL(), CoreDataMigrationVersion::newest(),
      [](coredata::NSManagedObjectContext& context) { context.insertNewObject("Group"); });

  const support::StoreLook look(out());
  EXPECT_THAT(look.column("SELECT number FROM _transaction"),
              ElementsAre(std::to_string(newest + 1)));
}

TEST_F(Salvage, TakesNoMarkThatNothingCouldComeBehind) {
  store.execute(
      "UPDATE _mark SET value=9223372036854775807;"
      "INSERT OR REPLACE INTO _mark VALUES('_transaction', 9223372036854775807);"
      "INSERT OR REPLACE INTO _mark VALUES('_timestamp', 1e300)");

  static_cast<void>(salvage());

  EXPECT_NO_THROW(support::edit(
      outURL(), CoreDataMigrationVersion::newest(),
      [](coredata::NSManagedObjectContext& context) { context.insertNewObject("Checkin"); }));
}

TEST_F(Salvage, ReadsNoPageOfARecordTwice) {
  // A record of many pages whose chain leads back to its first one.
  store.execute("UPDATE Photo SET data=zeroblob(300000) WHERE _id=1");
  const std::int64_t end = store.number("PRAGMA page_count");
  changeBytes([&](std::string& bytes) {
    for (std::size_t page = static_cast<std::size_t>(end) - 60;
         page + 10 < static_cast<std::size_t>(end); ++page)
      bytes[page * kPage + 3] = static_cast<char>(end - 60);
  });

  const SalvageReport report = salvage();

  EXPECT_EQ(entity(report, "Photo").losses.at({"data", LossReason::lostValue}), 1);
  EXPECT_EQ(entity(report, "Photo").broughtBack, entity(report, "Photo").found);
  EXPECT_TRUE(check().isSound());
}

TEST_F(Salvage, BelievesNoListOfFreePagesOverATable) {
  const std::string hash = store.contentHash();
  const std::int64_t root =
      store.number("SELECT rootpage FROM sqlite_schema WHERE name='Activity'");
  changeBytes([&](std::string& bytes) {
    bytes.replace(32, 8, std::string("\0\0\0\0\0\0\0\1", 8));
    bytes[35] = static_cast<char>(root);
  });

  static_cast<void>(salvage());

  EXPECT_EQ(check().contentHash, hash);
}

TEST_F(Salvage, LosesNoMoreThanTheRowsOfAPage) {
  const std::string whole = store.bytes();
  const std::int64_t rows = salvage().found();
  for (std::size_t at = 0; at < whole.size(); at += kPage) {
    SCOPED_TRACE(at / kPage + 1);
    fs::remove(out());
    std::string bytes = whole;
    bytes.replace(at, kPage, kPage, '\xff');
    store.setBytes(bytes);

    const SalvageReport report = salvage();

    constexpr std::int64_t kMostOnAPage = 48;
    EXPECT_GE(report.broughtBack(), rows - kMostOnAPage);
    EXPECT_TRUE(check().isSound()) << storecheck::described(check().findings);
  }
}

TEST_F(Salvage, RefusesWhatIsNoStore) {
  expect(StoreErrorCode::missing, [&] {
    fs::rename(store.path(), store.path() + "-away");
    const std::int64_t code = refusal();
    fs::rename(store.path() + "-away", store.path());
    return code;
  }());
  store.setBytes(std::string(100000, 'x'));
  expect(StoreErrorCode::notAStore, refusal());
  EXPECT_THAT(filesBesideOut(), ElementsAre());
}

TEST_F(Salvage, RefusesAnotherProgramsDatabase) {
  CheckedStore other;
  std::string tables = "PRAGMA writable_schema=OFF;";
  for (const auto& [name, rows] : other.check().rows)
    tables.append("DROP TABLE '")
        .append(name)
        .append("'; CREATE TABLE '")
        .append(name)
        .append("'(a);");
  other.execute(tables + "DELETE FROM _metadata");

  EXPECT_THROW(static_cast<void>(salvageStore(other.url(), outURL())), foundation::Error);
}

TEST_F(Salvage, OverwritesNothing) {
  std::ofstream(out()) << "mine";

  expect(StoreErrorCode::exists, refusal());

  EXPECT_EQ(support::bytesOf(out()), "mine");
}

TEST_F(Salvage, BecomesNoPartOfAnotherStore) {
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    const fs::path part = store.path() + suffix;
    ASSERT_FALSE(fs::exists(part));

    expect(StoreErrorCode::exists, refusal(part));

    EXPECT_FALSE(fs::exists(part));
  }
}

TEST_F(Salvage, FindsNoPartsAtItsPlace) {
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    const fs::path part = out().string() + suffix;
    std::ofstream(part) << "left here";

    expect(StoreErrorCode::exists, refusal());

    EXPECT_FALSE(fs::exists(out()));
    EXPECT_EQ(support::bytesOf(part), "left here");
    fs::remove(part);
  }
}

TEST_F(Salvage, FollowsNoLinkAtItsPlace) {
  const fs::path elsewhere = out().parent_path() / "elsewhere";
  fs::create_symlink(elsewhere, out());

  expect(StoreErrorCode::exists, refusal());

  EXPECT_FALSE(fs::exists(elsewhere));
}

TEST_F(Salvage, LeavesNothingWhereTheDiskIsFull) {
  const std::string damaged = store.bytes();
  support::DiskSpace space;
  support::FaultVFS databases;
  databases.setSpace(&space);
  const coredata::StoreVFSOverride override(databases.name());
  support::FaultyFileSystem files;
  files.setSpace(&space);
  static_cast<void>(salvage());
  const std::int64_t needed = space.most();
  fs::remove(out());

  constexpr int kParts = 16;
  for (int part = 0; part < kParts; ++part) {
    space.limit(needed * part / kParts);
    EXPECT_NE(refusal(), 0) << part;
    EXPECT_TRUE(filesBesideOut().empty()) << part;
  }

  space.lift();
  static_cast<void>(salvage());
  EXPECT_TRUE(check().isSound());
  EXPECT_EQ(store.bytes(), damaged);
}

TEST_F(Salvage, MakesAWholeStoreOrNoneWhereTheDiskFails) {
  const std::string damaged = store.bytes();
  int refusals = 0;
  const auto look = [&](std::int64_t code, std::size_t n) {
    if (code != 0) ++refusals;
    EXPECT_EQ(fs::exists(out()), code == 0) << n;
    if (code == 0) {
      EXPECT_TRUE(check().isSound()) << n;
    }
    EXPECT_EQ(store.bytes(), damaged) << n;
    for (const std::string& left : filesBesideOut()) fs::remove_all(out().parent_path() / left);
  };

  for (std::size_t n = 1;; ++n) {
    std::int64_t code = 0;
    {
      // Changes alone: a program that cannot read its models stops.
      const support::FaultyFileSystem files(support::FileFault::failOnce, n, EIO);
      code = refusal();
      if (!files.wasReached()) break;
    }
    look(code, n);
  }
  support::FaultVFS databases;
  const coredata::StoreVFSOverride override(databases.name());
  for (std::size_t n = 1;; n += 20) {
    databases.reset();
    databases.watch(support::kEverything);
    databases.failAt(n, support::FaultVFS::kCodeOfOperation);
    const std::int64_t code = refusal();
    const bool wasReached = databases.faultWasReached();
    databases.reset();
    if (!wasReached) break;
    look(code, n);
  }
  EXPECT_GT(refusals, 8);
}

TEST_F(Salvage, LeavesNothingAtItsPlaceWhenItIsKilled) {
  support::FaultVFS files;
  std::size_t kills = 0;
  for (std::size_t n = 1;; n += 40) {
    const auto outcome = support::runInChild([&](const support::Acknowledgements&) {
      const coredata::StoreVFSOverride override(files.name());
      files.killAt(n);
      static_cast<void>(salvage());
    });
    if (!outcome.wasKilled()) break;
    ++kills;
    EXPECT_FALSE(fs::exists(out())) << "killed at " << n;
  }
  EXPECT_GT(kills, 3U);
  EXPECT_TRUE(check().isSound());
}

}  // namespace salvage
