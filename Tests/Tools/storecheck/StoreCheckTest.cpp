#include "Tools/storecheck/StoreCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Tools/storecheck/CheckedStore.h"

namespace storecheck {

namespace {

namespace fs = std::filesystem;

using coredata::StoreErrorCode;
using coredatastack::CoreDataMigrationVersion;
using foundation::URL;
using support::number;
using testing::ElementsAre;

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::int64_t errorOf(const URL& store) {
  return support::errorCode([&] { static_cast<void>(check(store)); });
}

class GoldenStoreCheck : public testing::TestWithParam<CoreDataMigrationVersion> {
 protected:
  GoldenStoreCheck() { fs::copy_file(golden, copy); }

  const CoreDataMigrationVersion version = GetParam();
  const support::TemporaryDirectory directory;
  const fs::path golden =
      fs::path(GOLDEN_DIRECTORY) / (std::string(version.rawValue()) + ".sqlite");
  const fs::path copy = directory.path() / "Model.sqlite";
  const URL url = URL::fileURL(copy.string());
};

TEST_P(GoldenStoreCheck, FindsItSoundAndLeavesItAsItIs) {
  const auto before = filesIn(directory.path());

  const Report report = check(url);

  EXPECT_TRUE(report.isSound()) << described(report.findings);
  EXPECT_EQ(report.version, version.rawValue());
  EXPECT_EQ(report.identifier.size(), 36U);
  EXPECT_EQ(filesIn(directory.path()), before);
  EXPECT_EQ(contentOf(copy), contentOf(golden));
}

TEST_P(GoldenStoreCheck, ReadsTheLogOfOneThatIsOpen) {
  const Report closed = check(url);
  const auto context = support::contextOver(url, version);
  context->performBlockAndWait([&] {
    for (const auto& activity : support::allObjects(*context, "Activity"))
      activity->setValue("from the log", "title");
    context->save();
  });
  const auto before = filesIn(directory.path());
  ASSERT_TRUE(before.contains("Model.sqlite-wal"));

  const Report report = check(url);

  EXPECT_TRUE(report.isSound()) << described(report.findings);
  EXPECT_EQ(report.history.transactions, closed.history.transactions + 1);
  EXPECT_NE(report.contentHash, closed.contentHash);
  EXPECT_EQ(filesIn(directory.path()), before);
  EXPECT_NO_THROW(context->performBlockAndWait([&] {
    support::allObjects(*context, "Activity").front()->setValue("and on", "title");
    context->save();
  }));
}

INSTANTIATE_TEST_SUITE_P(AllVersions, GoldenStoreCheck,
                         testing::ValuesIn(CoreDataMigrationVersion::allCases()),
                         [](const auto& version) {
                           return "Version" + std::to_string(version.index + 1);
                         });

TEST(StoreCheck, CountsRowsAndTheHistory) {
  const CheckedStore store;

  const Report report = check(store.url(), 2);

  EXPECT_EQ(report.rows.at("Activity"), store.number("SELECT count(*) FROM Activity"));
  EXPECT_EQ(report.rows.at("Checkin"), store.number("SELECT count(*) FROM Checkin"));
  EXPECT_EQ(report.rows.size(), 13U);
  const History& history = report.history;
  EXPECT_EQ(history.transactions, store.number("SELECT count(*) FROM _transaction"));
  EXPECT_EQ(history.changes, store.number("SELECT count(*) FROM _change"));
  EXPECT_THAT(history.byAuthor, ElementsAre(testing::Pair("storegen", history.transactions)));
  ASSERT_TRUE(history.oldest && history.newest);
  EXPECT_EQ(history.oldest->number, 1);
  EXPECT_EQ(history.newest->number, history.transactions);
  EXPECT_EQ(history.oldest->changes[0],
            store.number("SELECT count(*) FROM _change WHERE \"transaction\"=1 AND kind=0"));
  ASSERT_EQ(history.last.size(), 2U);
  EXPECT_EQ(history.last[1].number, history.newest->number);
  EXPECT_EQ(history.last[1].changes, history.newest->changes);
  EXPECT_GT(history.last[1].changes[2], 0) << "the last one removes the newest objects";
}

TEST(StoreCheck, TellsHowMuchRoomWhatTakes) {
  const CheckedStore store;

  const Report report = check(store.url());

  EXPECT_EQ(report.sizes.fileBytes, static_cast<std::int64_t>(fs::file_size(store.path())));
  if (report.bytesByTable) {
    EXPECT_GT(report.bytesByTable->at("Checkin"), 0);
  }
}

TEST(StoreCheck, TellsWhatCannotBeRead) {
  const support::TemporaryDirectory directory;
  const fs::path path = directory.path() / "Model.sqlite";
  const URL url = URL::fileURL(path.string());
  EXPECT_EQ(errorOf(url), number(StoreErrorCode::missing));

  std::ofstream(path).flush();
  EXPECT_EQ(errorOf(url), number(StoreErrorCode::missing)) << "a file of no bytes is no store";

  std::ofstream(path) << "Dear diary,\n" << std::string(5000, '.');
  EXPECT_EQ(errorOf(url), number(StoreErrorCode::notAStore));
  EXPECT_EQ(errorOf(URL::fileURL(directory.path().string())), number(StoreErrorCode::notAStore));
  EXPECT_EQ(filesIn(directory.path()).size(), 1U);
}

TEST(StoreCheck, TellsAForeignDatabase) {
  const CheckedStore store;
  store.execute("PRAGMA application_id=1");

  EXPECT_EQ(errorOf(store.url()), number(StoreErrorCode::notAStore));
}

TEST(StoreCheck, TellsAStoreThatIsCutOff) {
  const CheckedStore store;
  const std::string bytes = store.bytes();
  store.setBytes(bytes.substr(0, 3 * 4096));

  EXPECT_EQ(errorOf(store.url()), number(StoreErrorCode::damaged));
}

TEST(StoreCheck, TellsAStoreWhoseMetadataAreDamaged) {
  const CheckedStore store;
  store.execute("UPDATE _metadata SET value='1' WHERE key='NSPersistenceFrameworkVersion'");
  ASSERT_TRUE(check(store.url()).isSound()) << "it was 1 already";
  store.execute("UPDATE _metadata SET value='2' WHERE key='NSPersistenceFrameworkVersion'");

  EXPECT_EQ(errorOf(store.url()), number(StoreErrorCode::damaged));
}

TEST(StoreCheck, TellsAStoreThatMayNotBeRead) {
  const CheckedStore store;
  support::FaultVFS vfs;
  vfs.watch(bit(support::FileOperation::open));
  vfs.failAt(1, SQLITE_CANTOPEN);
  const coredata::StoreVFSOverride override(vfs.name());

  EXPECT_EQ(errorOf(store.url()), number(StoreErrorCode::notWritable));
}

/// Saves another title as another process would that opens the store and closes it again.
void saveTitle(const URL& store, const std::string& title) {
  support::edit(store, CoreDataMigrationVersion::newest(), [&](auto& context) {
    support::allObjects(context, "Activity").front()->setValue(title, "title");
  });
}

TEST(StoreCheck, LooksAgainWhenAClosedStoreWasChangedMeanwhile) {
  const CheckedStore store;
  support::FaultVFS vfs;
  vfs.watch(bit(support::FileOperation::read));
  const coredata::StoreVFSOverride override(vfs.name());
  static_cast<void>(check(store.url()));
  const std::size_t reads = vfs.count();
  const std::string before = store.contentHash();
  for (const std::size_t n : {reads / 4, reads / 2, reads - 1}) {
    SCOPED_TRACE(n);
    vfs.reset();
    for (const char* companion : {"-wal", "-shm"}) fs::remove(store.path() + companion);
    bool wasSaved = false;
    vfs.callAt(n, [&] {
      saveTitle(store.url(), "title " + std::to_string(n));
      wasSaved = true;
    });

    const Report report = check(store.url());

    ASSERT_TRUE(wasSaved);
    EXPECT_TRUE(report.isSound()) << described(report.findings);
    EXPECT_NE(report.contentHash, before);
    EXPECT_EQ(report.contentHash, store.contentHash());
  }
}

TEST(StoreCheck, SurvivesADiskThatCannotBeRead) {
  const CheckedStore store;
  support::FaultVFS vfs;
  vfs.watch(bit(support::FileOperation::read));
  const coredata::StoreVFSOverride override(vfs.name());
  static_cast<void>(check(store.url()));
  const std::size_t reads = vfs.count();
  ASSERT_GT(reads, 20U);
  bool wasFound = false;
  for (std::size_t n = 1; n <= reads; ++n) {
    SCOPED_TRACE(n);
    vfs.reset();
    vfs.failAt(n, SQLITE_IOERR_READ);

    std::optional<Report> report;
    const auto code = support::errorCode([&] { report = check(store.url()); });

    ASSERT_TRUE(vfs.faultWasReached());
    if (report) {
      EXPECT_FALSE(report->isSound());
    } else {
      EXPECT_NE(code, 0);
    }
    wasFound = wasFound || report;
  }
  EXPECT_TRUE(wasFound);
}

}  // namespace

}  // namespace storecheck
