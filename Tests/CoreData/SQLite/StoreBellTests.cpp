#include "CoreData/SQLite/StoreBell.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "CoreData/SQLite/ReadSession.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/ForwardingFileSystem.h"

namespace {

using coredata::ReadSession;
using coredata::SQLiteStore;
using coredata::StoreOptions;
using foundation::Ref;
using testing::Contains;
using testing::Not;

/// Tells when a file is touched.
class TouchedFiles final : public support::ForwardingFileSystem {
 public:
  std::function<void()> onTouch;
  int error = 0;
  int count = 0;

  foundation::FileResult<void> touch(int directory, const char* path) override {
    ++count;
    // What it does touches the bell itself.
    if (const auto call = std::exchange(onTouch, nullptr)) call();
    if (error != 0) return std::unexpected(error);
    return ForwardingFileSystem::touch(directory, path);
  }
};

class StoreBellTest : public testing::Test {
 protected:
  shelf::StoreFile file;
  TouchedFiles files;

  [[nodiscard]] StoreOptions options(bool tracksHistory, bool announcesChanges) const {
    StoreOptions result = file.options();
    result.historyTracking = tracksHistory;
    result.announcesChanges = announcesChanges;
    return result;
  }
};

TEST_F(StoreBellTest, RingsOnceForEachRecordedTransaction) {
  const Ref<SQLiteStore> store = file.open();
  ReadSession session(store);
  const auto key = shelf::insertBook(session, "Emma");
  files.count = 0;

  ASSERT_TRUE(shelf::setTitle(session, key, "Persuasion"));
  ASSERT_TRUE(shelf::removeBook(session, key));

  EXPECT_EQ(files.count, 2);
}

TEST_F(StoreBellTest, RingsWhenTheCommitIsThereAndNothingIsLocked) {
  const Ref<SQLiteStore> store = file.open();
  const Ref<SQLiteStore> elsewhere = file.open();
  ReadSession session(store);
  std::int64_t seen = 0;
  coredata::ObjectKey other = 0;
  files.onTouch = [&] {
    seen = elsewhere->newestTransaction().number;
    ReadSession inside(store);
    other = shelf::insertBook(inside, "Persuasion");
  };

  shelf::insertBook(session, "Emma");

  EXPECT_EQ(seen, 1);
  EXPECT_EQ(other, 2);
}

TEST_F(StoreBellTest, RingsNotForWhatIsNotRecorded) {
  const Ref<SQLiteStore> store = file.open();
  ReadSession session(store);
  const auto key = shelf::insertBook(session, "Emma");
  files.count = 0;

  EXPECT_EQ(shelf::titleOf(session, key), "Emma");
  EXPECT_FALSE(coredata::WriteTransaction(session).commit({}).wroteChanges);
  store->setMetadata({{"edition", 2}});
  store->close();

  EXPECT_EQ(files.count, 0);
}

TEST_F(StoreBellTest, RingsWithoutAHistoryIfTheStoreAnnouncesItsChanges) {
  const Ref<SQLiteStore> silent = file.open(options(false, false));
  ReadSession session(silent);
  shelf::insertBook(session, "Emma");
  EXPECT_EQ(files.count, 0);
  EXPECT_THAT(file.names(), Not(Contains("shelf.sqlite-bell")));

  const Ref<SQLiteStore> announcing = file.open(options(false, true));
  ReadSession other(announcing);
  shelf::insertBook(other, "Persuasion");

  EXPECT_GT(files.count, 0);
  EXPECT_THAT(file.names(), Contains("shelf.sqlite-bell"));
}

TEST_F(StoreBellTest, IsMadeAgainAfterItWasRemoved) {
  const Ref<SQLiteStore> store = file.open();
  ReadSession session(store);
  shelf::insertBook(session, "Emma");
  ASSERT_TRUE(std::filesystem::remove(file.path() + "-bell"));

  shelf::insertBook(session, "Persuasion");

  EXPECT_EQ(std::filesystem::status(file.path() + "-bell").permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(StoreBellTest, FailsNoSave) {
  const Ref<SQLiteStore> store = file.open();
  ReadSession session(store);
  files.error = EACCES;

  const auto key = shelf::insertBook(session, "Emma");

  EXPECT_EQ(shelf::titleOf(session, key), "Emma");
  EXPECT_EQ(files.count, 1);
}

TEST_F(StoreBellTest, HasNoPlaceBesideAScratchStore) {
  StoreOptions scratch = options(true, true);
  scratch.isScratch = true;
  const Ref<SQLiteStore> store = file.open(scratch);
  ReadSession session(store);

  shelf::insertBook(session, "Emma");

  EXPECT_EQ(files.count, 0);
}

TEST_F(StoreBellTest, GoesWithTheStore) {
  {
    const Ref<SQLiteStore> store = file.open();
    ReadSession session(store);
    shelf::insertBook(session, "Emma");
  }

  SQLiteStore::destroy(file.url());

  EXPECT_TRUE(file.names().empty());
}

TEST_F(StoreBellTest, RingsForAReplacementIfItIsThere) {
  const shelf::StoreFile other;
  other.open()->close();
  SQLiteStore::replace(file.url(), other.url());
  EXPECT_THAT(file.names(), Not(Contains("shelf.sqlite-bell")));

  coredata::StoreBell(file.path()).make();
  files.count = 0;
  SQLiteStore::replace(file.url(), other.url());

  EXPECT_EQ(files.count, 1);
}

}  // namespace
