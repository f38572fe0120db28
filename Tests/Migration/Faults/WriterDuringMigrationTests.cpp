#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <random>
#include <stdexcept>
#include <string>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Values/Error.h"
#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/ErrorCode.h"

// Another process has the store open in its old version and saves while it is brought forward.

namespace {

using coredata::NSManagedObjectContext;
using coredata::StoreErrorCode;
using migrating::LoneStore;
using migrating::OldStore;
using support::Acknowledgements;
using support::FileFaults;
using support::FileTrouble;
using support::number;
using State = migrating::OldStore::State;
using Version = migrating::CoreDataMigrationVersion;

/// Checks in on a day that no other check-in has; false when the save was refused.
bool checkIn(NSManagedObjectContext& context, const std::string& day) {
  return context.performBlockAndWait([&] {
    try {
      context.insertNewObject("Checkin")->setValue(day, "date");
      context.save();
      return true;
    } catch (const foundation::Error&) {
      context.rollback();
      return false;
    }
  });
}

std::vector<std::string> daysIn(const OldStore& store) {
  return support::StoreLook(store.path()).column("SELECT date FROM Checkin");
}

/// A process that saves one check-in whenever it is told to, and gives up at once where it would
/// have to wait for a lock.
class Writer {
 public:
  /// Before this process opens the store.
  explicit Writer(const OldStore& store) {
    if (::pipe(orders_.data()) != 0 || ::pipe(answers_.data()) != 0) {
      throw std::runtime_error("no pipe");
    }
    child_ = ::fork();
    if (child_ == 0) work(store);
    static_cast<void>(answer());
  }
  ~Writer() {
    ::close(orders_[1]);
    ::close(orders_[0]);
    ::waitpid(child_, nullptr, 0);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  /// Whether the save was acknowledged.
  [[nodiscard]] bool save() const {
    const char order = 's';
    if (::write(orders_[1], &order, 1) != 1) throw std::runtime_error("the writer has gone");
    return answer();
  }

 private:
  [[nodiscard]] bool answer() const {
    char answer = 0;
    if (::read(answers_[0], &answer, 1) != 1) throw std::runtime_error("the writer has gone");
    return answer == 'y';
  }
  [[noreturn]] void work(const OldStore& store) const {
    ::close(orders_[1]);
    support::FaultVFS impatient;
    impatient.skipWaits();
    const coredata::StoreVFSOverride override(impatient.name());
    const auto context = support::contextOver(store.url(), store.version());
    // Its first save is part of the old store.
    bool saved = checkIn(*context, "before");
    for (char order = 0;;) {
      const char text = saved ? 'y' : 'n';
      if (::write(answers_[1], &text, 1) != 1 || ::read(orders_[0], &order, 1) != 1) ::_exit(0);
      saved = checkIn(*context, "meanwhile");
    }
  }

  std::array<int, 2> orders_{};
  std::array<int, 2> answers_{};
  pid_t child_ = -1;
};

class WriterDuringMigration : public testing::TestWithParam<Version> {
 protected:
  LoneStore lone_{{.version = GetParam()}};
};

struct Found {
  bool saved = false;
  bool refused = false;
  std::string error;
};

/// Brings the store forward while the writer saves before one operation.
Found meet(const OldStore& store, std::size_t point) {
  const auto outcome = support::runInChild([&](const Acknowledgements& done) {
    const Writer writer(store);
    FileFaults faults(FileTrouble{.watched = support::kEverything});
    faults.sqlite().callAt(point, [&] { done.send(writer.save() ? "saved" : "not saved"); });
    try {
      store.migrate();
      done.send("migrated");
    } catch (const foundation::Error& error) {
      done.send(error.code() == number(StoreErrorCode::changedMeanwhile) ? "refused"
                                                                         : error.description());
    }
  });
  Found found;
  EXPECT_EQ(outcome.exitStatus, 0) << point;
  EXPECT_EQ(outcome.signal, 0) << point;
  for (const std::string& line : outcome.acknowledged) {
    if (line == "saved") {
      found.saved = true;
    } else if (line == "refused") {
      found.refused = true;
    } else if (line != "migrated" && line != "not saved") {
      found.error = line;
    }
  }
  return found;
}

TEST_P(WriterDuringMigration, LosesNoSaveAtAnyPoint) {
  const OldStore& store = lone_.store;
  const auto count = store.countOperations({.watched = support::kEverything}).sqlite;
  std::size_t refusals = 0;
  std::size_t saves = 0;
  for (const std::size_t point : support::points(count, 20, 1000)) {
    lone_.scene.lay();
    const Found found = meet(store, point);
    EXPECT_EQ(found.error, "") << point;
    refusals += found.refused ? 1 : 0;
    saves += found.saved ? 1 : 0;
    EXPECT_TRUE(found.saved || !found.refused) << point;
    EXPECT_TRUE(store.starts()) << point;
    const auto days = daysIn(store);
    EXPECT_EQ(std::ranges::count(days, "before"), 1) << point;
    EXPECT_EQ(std::ranges::count(days, "meanwhile"), found.saved ? 1 : 0) << point;
    if (HasFailure()) break;
  }
  std::printf("%zu operations: %zu saves, %zu refusals\n", count, saves, refusals);
  EXPECT_GT(saves, 0U);
  EXPECT_GT(refusals, 0U);
}

INSTANTIATE_TEST_SUITE_P(Versions, WriterDuringMigration,
                         testing::Values(Version::version1, Version::version6),
                         [](const auto& tested) { return tested.index == 0 ? "First" : "Sixth"; });

/// Saves at its own pace until the store is another, and says what was saved.
void saveOften(const OldStore& store, std::uint64_t seed, const Acknowledgements& done) {
  constexpr int kSaves = 60;
  constexpr long kLongestPause = 20'000'000;
  std::mt19937_64 random(seed);
  const auto context = support::contextOver(store.url(), store.version());
  done.send("open");
  for (int i = 0; i < kSaves; ++i) {
    const std::string day = "day " + std::to_string(i);
    if (!checkIn(*context, day)) break;
    done.send(day);
    const timespec pause{0, static_cast<long>(random() % kLongestPause)};
    ::nanosleep(&pause, nullptr);
  }
}

/// Starts until one is not refused.
void startUntilDone(const OldStore& store, const Acknowledgements& done) {
  for (;;) {
    try {
      store.start();
      return;
    } catch (const foundation::Error& error) {
      if (error.code() != number(StoreErrorCode::changedMeanwhile)) throw;
      done.send("refused");
    }
  }
}

TEST(WriterAtItsOwnPace, LosesNoSaveThatWasAcknowledged) {
  const LoneStore lone({.version = Version::version6});
  std::size_t saves = 0;
  std::size_t refusals = 0;
  for (std::size_t round = 1; round <= support::tries(3, 60); ++round) {
    lone.scene.lay();
    const auto outcome = support::runInChild([&](const Acknowledgements& done) {
      const pid_t writer = ::fork();
      if (writer == 0) {
        saveOften(lone.store, round, done);
        ::_exit(0);
      }
      startUntilDone(lone.store, done);
      int status = 0;
      ::waitpid(writer, &status, 0);
      done.send(status == 0 ? "good" : "bad");
    });
    ASSERT_EQ(outcome.acknowledged.back(), "good") << "round " << round;
    const auto days = daysIn(lone.store);
    for (const std::string& day : outcome.acknowledged) {
      if (day.starts_with("day ")) {
        EXPECT_EQ(std::ranges::count(days, day), 1) << day << ", round " << round;
        ++saves;
      }
      refusals += day == "refused" ? 1 : 0;
    }
  }
  std::printf("%zu saves, %zu refusals\n", saves, refusals);
}

}  // namespace
