#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <map>
#include <string>

#include "Tests/Processes/RestoredStore.h"
#include "Tests/Support/DiskFailure.h"
#include "Tests/Support/Effort.h"

// A restore to which the disk says no at any of its operations.

namespace {

using restoring::RestoredStore;
using restoring::Version;
using support::DiskFailure;
using support::FileFault;
using support::FileTrouble;
using State = RestoredStore::State;

class FailingRestore : public testing::TestWithParam<DiskFailure> {
 protected:
  enum class Kind : std::uint8_t { succeeded, failed, failedAndLogged, stopped, other };

  [[nodiscard]] Kind restoreAt(std::size_t point) const { return restoreWith(trouble_, point); }
  [[nodiscard]] Kind restoreWith(const FileTrouble& trouble, std::size_t point) const {
    restored_.lay();
    const auto outcome = support::runInChild([&](const auto& done) {
      const auto ending = restored_.restore(trouble, point, count_);
      done.send(ending.error.empty() ? "succeeded" : "failed");
      if (!ending.logged.empty()) done.send("logged");
    });
    if (outcome.signal == SIGABRT) return Kind::stopped;
    if (outcome.signal != 0 || outcome.timedOut || outcome.acknowledged.empty()) return Kind::other;
    if (outcome.acknowledged.front() == "succeeded") return Kind::succeeded;
    return outcome.acknowledged.size() == 1 ? Kind::failed : Kind::failedAndLogged;
  }
  void expectContract(Kind kind, std::size_t point) const {
    const State state = restored_.state();
    EXPECT_NE(state, State::neither) << point;
    switch (kind) {
      case Kind::succeeded:
        EXPECT_EQ(state, State::restored) << point;
        break;
      case Kind::failed:
        EXPECT_EQ(state, State::old) << point;
        break;
      case Kind::failedAndLogged:
        // Putting the store back failed as well, or only looked so: the disk says no to everything.
        EXPECT_TRUE(state == State::old || restored_.keepsCopy()) << point;
        break;
      case Kind::stopped:
        // A migrator that cannot put its outcome in place, be it the store itself, stops the
        // process. The next start finds either store whole.
        break;
      case Kind::other:
        ADD_FAILURE() << point;
    }
  }

  /// The contract, and what the next start makes of what was left.
  void expectAftermath(Kind kind, std::size_t point) {
    ++kinds_[kind];
    expectContract(kind, point);
    EXPECT_TRUE(restored_.starts()) << point;
    const State after = restored_.state();
    EXPECT_TRUE(after == State::old || after == State::restored) << point;
    EXPECT_EQ(restored_.strangeLeftovers(after), std::set<std::string>()) << point;
  }
  /// Says how often what happened. Something must have failed.
  void expectSomeErrors(std::size_t points, std::size_t of) {
    std::printf(
        "%zu points of %zu: %d errors, %d with the store not put back, %d stops, "
        "%d successes\n",
        points, of, kinds_[Kind::failed], kinds_[Kind::failedAndLogged], kinds_[Kind::stopped],
        kinds_[Kind::succeeded]);
    EXPECT_GT(kinds_[Kind::failed] + kinds_[Kind::failedAndLogged], 0);
  }

  const RestoredStore restored_{GetParam().version};
  const FileTrouble trouble_ = GetParam().trouble;
  const support::FileOperationCount count_ = restored_.countOperations(trouble_);
  std::map<Kind, int> kinds_;
};

TEST_P(FailingRestore, SaysSoWithTheOldStoreInPlaceOrSucceeds) {
  const auto points = support::points(count_.total(), 5, 1000);
  for (const std::size_t point : points) {
    expectAftermath(restoreAt(point), point);
    if (HasFailure()) break;
  }
  expectSomeErrors(points.size(), count_.total());
}

class RestoreOnAFullDisk : public FailingRestore {
 protected:
  /// Nothing is refused but room: files may grow by that many bytes.
  [[nodiscard]] Kind restoreWithin(std::int64_t bytes) const {
    FileTrouble trouble = trouble_;
    trouble.room = bytes;
    return restoreWith(trouble, 0);
  }
};

TEST_P(RestoreOnAFullDisk, SaysSoWithTheOldStoreInPlaceOrSucceeds) {
  const auto rooms = support::rooms(count_.bytes, 6, 512);
  for (const std::int64_t room : rooms) {
    expectAftermath(restoreWithin(room), static_cast<std::size_t>(room));
    if (HasFailure()) break;
  }
  expectSomeErrors(rooms.size(), static_cast<std::size_t>(count_.bytes));
}

const DiskFailure kFailures[] = {
    {"ErrorOnce7", Version::version7, {FileFault::failOnce, SQLITE_IOERR_WRITE, EIO}},
    {"Errors7", Version::version7, {FileFault::failFromThenOn, SQLITE_IOERR_WRITE, EIO}},
    {"FullOnce7", Version::version7, {FileFault::failOnce, SQLITE_FULL, ENOSPC}},
    {"Full7", Version::version7, {FileFault::failFromThenOn, SQLITE_FULL, ENOSPC}},
    {"ErrorOnce6", Version::version6, {FileFault::failOnce, SQLITE_IOERR_WRITE, EIO}},
    {"Full6", Version::version6, {FileFault::failFromThenOn, SQLITE_FULL, ENOSPC}},
};

INSTANTIATE_TEST_SUITE_P(Disk, FailingRestore, testing::ValuesIn(kFailures),
                         [](const auto& tested) { return tested.param.name; });

const DiskFailure kNoRoom[] = {
    {"Version7", Version::version7, {FileFault::failOnce, SQLITE_FULL, ENOSPC}},
    {"Version6", Version::version6, {FileFault::failOnce, SQLITE_FULL, ENOSPC}},
};

INSTANTIATE_TEST_SUITE_P(Disk, RestoreOnAFullDisk, testing::ValuesIn(kNoRoom),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
