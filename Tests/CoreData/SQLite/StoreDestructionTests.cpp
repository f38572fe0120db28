#include "CoreData/SQLite/StoreDestruction.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "CoreData/SQLite/ReadSession.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/CrashRunner.h"

namespace {
using coredata::ReadSession;
using coredata::StoreClaim;
using coredata::StoreErrorCode;
using shelf::kImpatient;
using shelf::StoreFile;
using support::number;
using Names = std::vector<std::string>;

std::int64_t destructionError(const StoreFile& file) {
  return shelf::errorCode([&] { coredata::destroyStore(file.url(), kImpatient); });
}

void fillShelf(const StoreFile& file) {
  ReadSession session(file.open());
  shelf::insertBook(session, "Emma");
}
}  // namespace

TEST(StoreDestruction, LeavesNothingBehind) {
  const StoreFile file;
  fillShelf(file);
  shelf::writeFile(file.path() + "-journal", "");
  shelf::writeFile(file.path() + "-lock", "");
  ASSERT_TRUE(std::filesystem::exists(file.path() + "-wal"));

  coredata::destroyStore(file.url(), kImpatient);

  EXPECT_EQ(file.names(), Names{});
}

TEST(StoreDestruction, TakesAMissingStoreForDestroyed) {
  const StoreFile file;

  EXPECT_EQ(destructionError(file), 0);
  EXPECT_EQ(file.names(), Names{});
}

TEST(StoreDestruction, TakesAMissingDirectoryForAMissingStore) {
  const StoreFile file;

  EXPECT_NO_THROW(coredata::destroyStore(
      foundation::URL::fileURL(file.path() + "/missing/shelf.sqlite"), kImpatient));
}

TEST(StoreDestruction, RemovesTheEmptyFileThatADeathLeaves) {
  const StoreFile file;
  shelf::writeFile(file.path(), "");

  EXPECT_EQ(destructionError(file), 0);
  EXPECT_EQ(file.names(), Names{});
}

TEST(StoreDestruction, RemovesAScratchStore) {
  const StoreFile file;
  coredata::StoreOptions options = file.options();
  options.isScratch = true;
  file.open(options)->close();

  EXPECT_EQ(destructionError(file), 0);
  EXPECT_EQ(file.names(), Names{});
}

TEST(StoreDestruction, RemovesALinkWithWhatItLeadsTo) {
  const StoreFile file;
  fillShelf(file);
  const std::string link = file.path() + ".link";
  std::filesystem::create_symlink(file.path(), link);

  coredata::destroyStore(foundation::URL::fileURL(link), kImpatient);

  EXPECT_EQ(file.names(), Names{});
}

TEST(StoreDestruction, KeepsAStoreThatIsOpen) {
  const StoreFile file;
  ReadSession session(file.open());
  shelf::insertBook(session, "Emma");

  EXPECT_EQ(destructionError(file), number(StoreErrorCode::busy));

  EXPECT_EQ(shelf::titleOf(session, shelf::insertBook(session, "Persuasion")), "Persuasion");
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"), Names{"2"});
}

TEST(StoreDestruction, KeepsAStoreThatAnotherProcessHasOpen) {
  const StoreFile file;
  fillShelf(file);

  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    ReadSession session(file.open());
    shelf::insertBook(session, "Persuasion");
    const support::ChildOutcome other = support::runInChild(
        [&](const auto& inner) { inner.send(std::to_string(destructionError(file))); });
    for (const std::string& line : other.acknowledged) done.send(line);
  });

  EXPECT_EQ(outcome.acknowledged, Names{std::to_string(number(StoreErrorCode::busy))});
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"), Names{"2"});
}

TEST(StoreDestruction, KeepsAStoreThatSomebodyElseHasClaimed) {
  const StoreFile file;
  fillShelf(file);
  const StoreClaim claim(file.url(), kImpatient);

  std::thread([&] { EXPECT_EQ(destructionError(file), number(StoreErrorCode::busy)); }).join();

  EXPECT_TRUE(std::filesystem::exists(file.path()));
}

TEST(StoreDestruction, RemovesAStoreThatItsOwnThreadHasClaimed) {
  const StoreFile file;
  fillShelf(file);
  StoreClaim claim(file.url(), kImpatient);
  claim.markRead();

  EXPECT_EQ(destructionError(file), 0);

  EXPECT_FALSE(std::filesystem::exists(file.path()));
}

TEST(StoreDestruction, KeepsADirectory) {
  const StoreFile file;
  std::filesystem::create_directory(file.path());

  EXPECT_EQ(destructionError(file), number(StoreErrorCode::notAStore));
  EXPECT_EQ(file.names(), Names{"shelf.sqlite"});
}

TEST(StoreDestruction, KeepsAFileThatIsNoDatabase) {
  for (const std::size_t size : {1U, 99U, 9000U}) {
    const StoreFile file;
    const std::string letter(size, 'x');
    shelf::writeFile(file.path(), letter);

    EXPECT_EQ(destructionError(file), number(StoreErrorCode::notAStore)) << size;
    EXPECT_EQ(shelf::readFile(file.path()), letter);
    EXPECT_EQ(file.names(), Names{"shelf.sqlite"});
  }
}

TEST(StoreDestruction, KeepsAnotherProgramsDatabase) {
  const StoreFile file;
  shelf::writeFile(file.path(), "");
  shelf::query(file.path(), "CREATE TABLE t(x)");

  EXPECT_EQ(destructionError(file), number(StoreErrorCode::notAStore));
  EXPECT_EQ(shelf::query(file.path(), "SELECT name FROM sqlite_master"), Names{"t"});
}

TEST(StoreDestruction, KeepsAStoreThatItCannotRemove) {
  const StoreFile file;
  fillShelf(file);
  std::filesystem::permissions(file.directory(), std::filesystem::perms(0555));

  // The superuser may remove everything, so somebody else has to try.
  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && seteuid(kNobody) != 0) return done.send("cannot be somebody else");
    done.send(std::to_string(destructionError(file)));
  });
  std::filesystem::permissions(file.directory(), std::filesystem::perms(0755));

  EXPECT_EQ(outcome.acknowledged, Names{std::to_string(number(StoreErrorCode::notWritable))});
  EXPECT_EQ(shelf::query(file.path(), "SELECT title FROM Book"), Names{"Emma"});
}
