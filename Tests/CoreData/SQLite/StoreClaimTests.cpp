#include "CoreData/SQLite/StoreClaim.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "CoreData/SQLite/ReadSession.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/CrashRunner.h"

namespace {
using coredata::ReadSession;
using coredata::StoreClaim;
using coredata::StoreErrorCode;
using shelf::kImpatient;
using shelf::StoreFile;
using support::number;
using Lines = std::vector<std::string>;

constexpr std::chrono::seconds kPatient{20};

std::int64_t claimError(const StoreFile& file) {
  return shelf::errorCode([&] { const StoreClaim claim(file.url(), kImpatient); });
}

/// Whether the store counts as changed since the claim was marked as read.
bool isChanged(StoreClaim& claim) {
  return shelf::errorCode([&] {
           claim.requireUnchanged(coredata::stateOf(claim.connection(), claim.path()));
         }) == number(StoreErrorCode::changedMeanwhile);
}

void addBook(const StoreFile& file) {
  ReadSession session(file.open());
  shelf::insertBook(session, "Emma");
}
}  // namespace

TEST(StoreClaim, IsHeldByOneAtATime) {
  const StoreFile file;
  std::optional<StoreClaim> claim(std::in_place, file.url(), kImpatient);

  EXPECT_EQ(claimError(file), number(StoreErrorCode::busy));
  claim.reset();
  EXPECT_EQ(claimError(file), 0);
}

TEST(StoreClaim, IsHeldByOneOfSeveralProcesses) {
  const StoreFile file;
  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    const StoreClaim claim(file.url(), kImpatient);
    const support::ChildOutcome other = support::runInChild([&](const auto& inner) {
      const StoreFile elsewhere;
      inner.send(std::to_string(claimError(elsewhere)));
      inner.send(std::to_string(claimError(file)));
    });
    for (const std::string& line : other.acknowledged) done.send(line);
  });

  EXPECT_EQ(outcome.acknowledged, (Lines{"0", std::to_string(number(StoreErrorCode::busy))}));
  EXPECT_EQ(claimError(file), 0);
}

TEST(StoreClaim, IsFreeAfterTheDeathOfItsHolder) {
  const StoreFile file;
  const support::ChildOutcome outcome = support::runInChild([&](const auto&) {
    const StoreClaim claim(file.url(), kImpatient);
    std::raise(SIGKILL);
  });
  ASSERT_TRUE(outcome.wasKilled());
  ASSERT_TRUE(std::filesystem::exists(file.path() + "-migration"));

  EXPECT_EQ(claimError(file), 0);
}

TEST(StoreClaim, TakesItsFileAway) {
  const StoreFile file;
  { const StoreClaim claim(file.url(), kImpatient); }

  EXPECT_EQ(file.names(), Lines{});
}

TEST(StoreClaim, GoesToOneAfterTheOtherOfThoseWhoWait) {
  constexpr int kRounds = 200;
  const StoreFile file;
  std::atomic<int> holders{0};
  std::atomic<int> meetings{0};
  const auto claimOften = [&] {
    for (int round = 0; round < kRounds; ++round) {
      const StoreClaim claim(file.url(), kPatient);
      if (holders.fetch_add(1) != 0) ++meetings;
      std::this_thread::yield();
      holders.fetch_sub(1);
    }
  };

  {
    const std::jthread other(claimOften);
    claimOften();
  }

  EXPECT_EQ(meetings, 0);
  EXPECT_EQ(file.names(), Lines{});
}

TEST(StoreClaim, NeedsTheDirectory) {
  const StoreFile file;
  const auto url = foundation::URL::fileURL(file.path() + "/missing/shelf.sqlite");

  EXPECT_EQ(shelf::errorCode([&] { const StoreClaim claim(url, kImpatient); }),
            number(StoreErrorCode::missingDirectory));
}

TEST(StoreClaim, CannotReadWhatIsMissingOrNoStore) {
  const StoreFile file;
  StoreClaim claim(file.url(), kImpatient);
  EXPECT_EQ(shelf::errorCode([&] { claim.markRead(); }), number(StoreErrorCode::missing));

  shelf::writeFile(file.path(), std::string(9000, 'x'));
  EXPECT_EQ(shelf::errorCode([&] { claim.markRead(); }), number(StoreErrorCode::notAStore));
}

TEST(StoreClaim, IsFoundOnItsThreadByAnyPathToTheStore) {
  const StoreFile file;
  addBook(file);
  const std::string link = file.path() + ".link";
  std::filesystem::create_directory_symlink(file.directory(), link);
  const StoreClaim claim(file.url(), kImpatient);

  EXPECT_EQ(StoreClaim::find(file.path()), &claim);
  EXPECT_EQ(StoreClaim::find(link + "/shelf.sqlite"), &claim);
  EXPECT_EQ(StoreClaim::find(link + "/other.sqlite"), nullptr);
  EXPECT_EQ(std::async(std::launch::async, [&] { return StoreClaim::find(file.path()); }).get(),
            nullptr);
}

class ReadStore : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    coredata::StoreOptions options = file.options();
    options.pragmas = {{"journal_mode", GetParam()}};
    ReadSession session(file.open(options));
    shelf::insertBook(session, "Emma");
  }
  StoreFile file;
};

TEST_P(ReadStore, IsUnchangedWhileOthersOnlyRead) {
  StoreClaim claim(file.url(), kImpatient);
  claim.markRead();

  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"), Lines{"1"});
  static_cast<void>(coredata::SQLiteStore::metadataAt(file.url()));
  coredata::StoreOptions options = file.options();
  options.readOnly = true;
  file.open(options)->close();

  EXPECT_FALSE(isChanged(claim));
}

TEST_P(ReadStore, IsChangedAfterACommit) {
  StoreClaim claim(file.url(), kImpatient);
  claim.markRead();

  addBook(file);

  EXPECT_TRUE(isChanged(claim));
}

TEST_P(ReadStore, IsChangedAfterACommitThatNoHistoryTellsOf) {
  StoreClaim claim(file.url(), kImpatient);
  claim.markRead();

  shelf::query(file.path(), "UPDATE Book SET title='Persuasion'");

  EXPECT_TRUE(isChanged(claim));
}

TEST_P(ReadStore, IsUnchangedAgainWhenItIsReadAgain) {
  StoreClaim claim(file.url(), kImpatient);
  claim.markRead();
  addBook(file);

  claim.markRead();

  EXPECT_FALSE(isChanged(claim));
}

TEST_P(ReadStore, CountsAsChangedWhenTheConnectionThatSawItIsGone) {
  StoreClaim claim(file.url(), kImpatient);
  claim.markRead();

  claim.disconnect();

  EXPECT_TRUE(isChanged(claim));
}

INSTANTIATE_TEST_SUITE_P(Journals, ReadStore, testing::Values("WAL", "DELETE"),
                         [](const auto& test) { return std::string(test.param); });

// Copying the log, emptying it and rolling back change no content.
TEST(StoreClaim, TakesNoCheckpointForAChange) {
  const StoreFile file;
  addBook(file);
  const auto open = file.open();
  ReadSession session(open);
  shelf::insertBook(session, "Persuasion");
  StoreClaim claim(file.url(), kImpatient);
  claim.markRead();

  const auto other = file.open();
  other->close();
  shelf::query(file.path(), "PRAGMA wal_checkpoint(RESTART)");
  shelf::query(file.path(), "BEGIN; UPDATE Book SET title='x'; ROLLBACK");
  open->close();

  EXPECT_FALSE(isChanged(claim));
}
