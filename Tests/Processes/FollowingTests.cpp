#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Internal/Clock.h"
#include "Tests/Processes/Companion.h"
#include "Tests/Processes/Program.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/ForwardingFileSystem.h"
#include "Tests/Support/MainQueueWait.h"

// An application that follows what its extension writes, each a process of its own.

namespace {

using support::Companion;
using support::Line;
using support::MigrationPlace;
using support::Program;
using Nanoseconds = std::int64_t;

constexpr Nanoseconds kMillisecond = 1'000'000;

/// One clock for all processes.
Nanoseconds monotonic() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return Nanoseconds{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

void pause(Nanoseconds time) {
  const timespec pause{0, static_cast<long>(time)};
  ::nanosleep(&pause, nullptr);
}

/// The system's clock, put forward or back.
class SteppedClock final : public foundation::Clock {
 public:
  SteppedClock() : previous_(install(this)) {}
  ~SteppedClock() override { install(previous_); }
  SteppedClock(const SteppedClock&) = delete;
  SteppedClock& operator=(const SteppedClock&) = delete;

  [[nodiscard]] double secondsSinceReference() const noexcept override {
    constexpr double kReference = 978'307'200;
    const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
    return now.count() - kReference + step_;
  }
  void step(double seconds) noexcept { step_ = step_ + seconds; }

 private:
  std::atomic<double> step_{0};
  const foundation::Clock* previous_;
};

/// Dies where a commit would be told to others.
class DyingFileSystem final : public support::ForwardingFileSystem {
 public:
  foundation::FileResult<void> touch(int /*directory*/, const char* /*path*/) override {
    std::raise(SIGKILL);
    return std::unexpected(EINTR);
  }
};

/// Repeats a save that had to wait for another writer for too long.
void save(coredata::NSManagedObjectContext& context) {
  for (;;) {
    try {
      return context.save();
    } catch (const foundation::Error& error) {
      if (error.code() != support::number(coredata::StoreErrorCode::busy)) throw;
    }
  }
}

void checkIn(coredata::NSManagedObjectContext& context, std::size_t number) {
  const auto checkin = context.insertNewObject("Checkin");
  checkin->setValue(std::to_string(number), "date");
  checkin->setValue(std::to_string(monotonic()), "memo");
  save(context);
}

/// What the application says of each check-in that its view context has come to show.
struct Shown {
  std::int64_t transaction = 0;
  std::size_t number = 0;
  Nanoseconds delay = 0;
  std::string author;

  [[nodiscard]] std::string text() const {
    return std::to_string(transaction) + ' ' + std::to_string(number) + ' ' +
           std::to_string(delay) + ' ' + author;
  }
  static Shown of(const std::string& text) {
    Shown shown;
    std::istringstream(text) >> shown.transaction >> shown.number >> shown.delay >> shown.author;
    return shown;
  }
};

/// Looks in the view context, in its turn.
void showInserted(const Program& program, const Program::Transactions& transactions,
                  const Line& line) {
  for (const auto& transaction : transactions) {
    Shown shown{.transaction = transaction->transactionNumber(),
                .author = transaction->author().value_or("nobody")};
    for (const auto& change : transaction->changes()) {
      const auto object = program.view().objectWithID(*change.changedObjectID());
      shown.number = std::stoul(*object->valueForKey("date").text());
      shown.delay = monotonic() - std::stoll(*object->valueForKey("memo").text());
      line.say(shown.text());
    }
  }
}

/// Follows the others, and writes in between, until it is told to end.
void followAndWrite(const MigrationPlace& place, Line& line) {
  Program program(place, "app");
  program.afterMerging([&](const Program::Transactions& transactions) {
    program.view().performBlock(
        [&program, &line, transactions] { showInserted(program, transactions, line); });
  });
  line.say("ready");
  std::size_t saves = 0;
  while (!line.hasNews()) {
    checkIn(program.view(), ++saves);
    static_cast<void>(
        support::runMainQueueUntil([&] { return line.hasNews(); }, std::chrono::milliseconds(50)));
  }
  line.say(program.viewIsCurrent() && program.errors().empty() ? "current" : "not current");
}

class Following : public testing::Test {
 protected:
  Following() { EXPECT_EQ(application_.answer(), "ready"); }
  /// Waits until the application shows the last of so many check-ins.
  [[nodiscard]] std::vector<Shown> awaitShown(std::size_t count) {
    std::vector<Shown> all;
    while (all.size() < count) all.push_back(Shown::of(application_.answer()));
    return all;
  }
  /// Each once, in their order, and none of its own.
  static void expectAllInOrder(const std::vector<Shown>& all, std::size_t from = 1) {
    for (std::size_t i = 0; i < all.size(); ++i) {
      ASSERT_EQ(all[i].number, i + from);
      ASSERT_EQ(all[i].author, "extension") << all[i].number;
      ASSERT_TRUE(i == 0 || all[i].transaction > all[i - 1].transaction) << all[i].number;
    }
  }
  void expectNothingMore() {
    application_.line().say("end");
    EXPECT_EQ(application_.answer(), "current");
    EXPECT_TRUE(application_.endedWell());
  }

  MigrationPlace place_;
  Companion application_{[&](Line& line) { followAndWrite(place_, line); }};
};

std::size_t numberOfCommits() { return support::numberFrom("FOLLOWED_COMMITS", 300); }

void printDelays(std::vector<Shown> all) {
  std::ranges::sort(all, {}, &Shown::delay);
  const auto at = [&](double part) {
    return static_cast<double>(
               all[static_cast<std::size_t>(part * static_cast<double>(all.size() - 1))].delay) /
           kMillisecond;
  };
  std::printf(
      "%zu commits; from before the save to the other's view context: median %.1f ms, 99th "
      "percentile %.1f ms, longest %.1f ms\n",
      all.size(), at(0.5), at(0.99), at(1));
}

TEST_F(Following, MissesNoCommitOfTheExtension) {
  const std::size_t count = numberOfCommits();
  Companion extension([&](Line&) {
    const Program program(place_, "extension");
    for (std::size_t i = 1; i <= count; ++i) {
      checkIn(program.view(), i);
      pause(3 * kMillisecond);
    }
  });

  const auto all = awaitShown(count);

  expectAllInOrder(all);
  EXPECT_TRUE(extension.endedWell());
  expectNothingMore();
  printDelays(all);
}

TEST_F(Following, MissesNoneThoughTheWritersClockIsPutBackAndForward) {
  const std::size_t count = numberOfCommits();
  Companion extension([&](Line&) {
    SteppedClock clock;
    const Program program(place_, "extension");
    for (std::size_t i = 1; i <= count; ++i) {
      if (i == count / 3) clock.step(-3600);
      if (i == count * 2 / 3) clock.step(86'400);
      checkIn(program.view(), i);
    }
  });

  const auto all = awaitShown(count);

  expectAllInOrder(all);
  EXPECT_TRUE(extension.endedWell());
  expectNothingMore();
}

TEST_F(Following, HearsOfACommitWhoseWriterDiedBeforeItTold) {
  const std::size_t kills = support::numberFrom("FOLLOWED_KILLS", 20);
  for (std::size_t i = 1; i <= kills; ++i) {
    Companion extension([&](Line&) {
      const Program program(place_, "extension");
      const DyingFileSystem dying;
      checkIn(program.view(), i);
    });
    ASSERT_TRUE(extension.wasKilled());

    expectAllInOrder(awaitShown(1), i);
  }
  expectNothingMore();
}

}  // namespace
