#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>
#include <regex>
#include <string>
#include <string_view>

#include "Foundation/Values/Error.h"
#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/DiskFailure.h"
#include "Tests/Support/Effort.h"

// A migration to which the disk says no at any of its operations.

namespace {

using foundation::Error;
using migrating::LoneStore;
using support::DiskFailure;
using support::FileFault;
using support::FileFaults;
using support::FileOperationCount;
using support::FileTrouble;
using State = migrating::OldStore::State;
using Version = migrating::CoreDataMigrationVersion;

/// How a run ended.
struct Ending {
  enum class Kind : std::uint8_t { returned, threw, stopped, other };
  Kind kind = Kind::other;
  /// The error that was thrown.
  std::string error;
  /// All that was written to the error stream.
  std::string stream;
};

/// Runs `work` in a child whose error stream goes to a file.
template <typename Work>
Ending endingOf(const std::filesystem::path& stream, Work&& work) {
  const auto outcome = support::runInChild([&](const support::Acknowledgements& done) {
    const int file = ::open(stream.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRWXU);
    ::dup2(file, STDERR_FILENO);
    try {
      work();
      done.send("returned");
    } catch (const Error& error) {
      std::string text = error.description();
      std::ranges::replace(text, '\n', ' ');
      done.send(text);
    }
  });
  Ending ending;
  ending.stream = support::bytesOf(stream);
  if (outcome.signal == SIGABRT) ending.kind = Ending::Kind::stopped;
  if (outcome.signal != 0 || outcome.timedOut || outcome.acknowledged.size() != 1) return ending;
  ending.error = outcome.acknowledged.front();
  const bool returned = ending.error == "returned";
  ending.kind = returned ? Ending::Kind::returned : Ending::Kind::threw;
  return ending;
}

/// A bundle, a model or a mapping that cannot be read stops the process; the reason comes before.
bool stopsForResource(std::string_view text) {
  constexpr std::array kStops = {
      "CoreDataStack/NSManagedObjectModel+Migration:15: Fatal error: unable to find model in "
      "bundle\n",
      "CoreDataStack/NSManagedObjectModel+Migration:19: Fatal error: unable to load model in "
      "bundle\n",
      "CoreDataStack/CoreDataMigrationStep:17: Fatal error: Expected modal mapping not present\n"};
  return std::ranges::any_of(kStops, [&](const char* stop) { return text.ends_with(stop); });
}

/// A pattern that finds the text as it stands.
std::string literally(const std::string& text) {
  static const std::regex special(R"([.^$|()\[\]{}*+?\\])");
  return std::regex_replace(text, special, R"(\$&)");
}

class FailingMigration : public testing::TestWithParam<DiskFailure> {
 protected:
  [[nodiscard]] Ending endingAt(std::size_t point) const { return endingWith(trouble_, point); }
  [[nodiscard]] Ending endingWith(const FileTrouble& trouble, std::size_t point) const {
    lone_.scene.lay();
    return endingOf(stream_.path() / "stderr", [&] {
      const FileFaults faults(trouble, point, count_);
      lone_.store.migrate();
    });
  }
  /// The error that the disk gave, or that of a store in which nothing could be read.
  [[nodiscard]] bool saysWhatHappened(const std::string& text) const {
    const std::string sqlite = "NSSQLiteErrorDomain Code=" + std::to_string(trouble_.sqliteCode);
    const std::string posix = "NSPOSIXErrorDomain Code=" + std::to_string(trouble_.errorNumber);
    // Without room for it SQLite says so of the log's index.
    const bool hasNoIndex = trouble_.sqliteCode == SQLITE_FULL &&
                            text.contains("Code=" + std::to_string(SQLITE_IOERR_SHMSIZE));
    return text.contains(sqlite + " ") || text.contains(posix + " ") || hasNoIndex ||
           text.contains("unknownStoreVersion") || stopsForResource(text);
  }
  /// One of the fixed texts, and nothing else.
  [[nodiscard]] bool isFixedText(const std::string& stream) const {
    const std::string source = "CoreDataStack/NSPersistentStoreCoordinator\\+Migration:";
    const std::string store = literally(lone_.store.url().description());
    const std::string temporary = "file://" + literally(lone_.scene.place().directory().string()) +
                                  "/homes/\\S+/tmp/[0-9A-F-]{36}";
    const std::string error = ", error: Error Domain=\\S+ Code=-?\\d+ .*\n";
    if (stopsForResource(stream)) return stream.contains(std::strerror(trouble_.errorNumber));
    const std::regex whole(
        source + "(12: Fatal error: failed to destroy persistent store at " + temporary +
        "|23: Fatal error: failed to replace persistent store at " + store + " with " + temporary +
        "|39: Fatal error: failed to add persistent store to coordinator)" + error);
    return std::regex_match(stream, whole);
  }
  void expectContract(const Ending& ending, State state, std::size_t point) const {
    switch (ending.kind) {
      case Ending::Kind::returned:
        EXPECT_EQ(state, State::brought) << point;
        break;
      case Ending::Kind::threw:
        EXPECT_TRUE(saysWhatHappened(ending.error)) << point << ": " << ending.error;
        EXPECT_EQ(state, State::old) << point << ": " << ending.error;
        EXPECT_TRUE(lone_.store.isSameFile()) << point << ": " << ending.error;
        break;
      case Ending::Kind::stopped:
        EXPECT_TRUE(isFixedText(ending.stream)) << point << ": " << ending.stream;
        EXPECT_TRUE(saysWhatHappened(ending.stream)) << point << ": " << ending.stream;
        EXPECT_NE(state, State::neither) << point << ": " << ending.stream;
        break;
      case Ending::Kind::other:
        ADD_FAILURE() << point << ": " << ending.stream;
    }
  }

  /// The contract, and what the next start makes of what was left.
  void expectAftermath(const Ending& ending, std::size_t point) {
    const State state = lone_.store.state();
    ++kinds_[ending.kind];
    if (ending.kind == Ending::Kind::returned && lone_.store.wentOnWithoutWidgets()) return;
    expectContract(ending, state, point);
    EXPECT_TRUE(state == State::brought || lone_.store.photosAreInFiles()) << point;
    EXPECT_TRUE(lone_.store.starts()) << point;
    lone_.expectFinished("failed at " + std::to_string(point));
  }
  /// Says how often what happened. Something must have been thrown.
  void expectSomeErrors(std::size_t points, std::size_t of) {
    std::printf("%zu points of %zu: %d errors, %d stops\n", points, of, kinds_[Ending::Kind::threw],
                kinds_[Ending::Kind::stopped]);
    EXPECT_GT(kinds_[Ending::Kind::threw], 0);
  }

  LoneStore lone_{{.version = GetParam().version}};
  support::TemporaryDirectory stream_;
  FileTrouble trouble_ = GetParam().trouble;
  FileOperationCount count_ = lone_.store.countOperations(trouble_);
  std::map<Ending::Kind, int> kinds_;
};

TEST_P(FailingMigration, ThrowsOrStopsWithTheStoreWholeAndWorksOnceTheFaultIsGone) {
  const auto points = support::points(count_.total(), 6, 500);
  for (const std::size_t point : points) {
    expectAftermath(endingAt(point), point);
    if (HasFailure()) break;
  }
  expectSomeErrors(points.size(), count_.total());
}

class MigrationOnAFullDisk : public FailingMigration {
 protected:
  /// Nothing is refused but room: files may grow by that many bytes.
  [[nodiscard]] Ending endingWithin(std::int64_t bytes) const {
    FileTrouble trouble = trouble_;
    trouble.room = bytes;
    return endingWith(trouble, 0);
  }
};

TEST_P(MigrationOnAFullDisk, ThrowsOrStopsWithTheStoreWholeAndWorksOnceThereIsRoom) {
  const auto rooms = support::rooms(count_.bytes, 8, 512);
  for (const std::int64_t room : rooms) {
    expectAftermath(endingWithin(room), static_cast<std::size_t>(room));
    if (HasFailure()) break;
  }
  expectSomeErrors(rooms.size(), static_cast<std::size_t>(count_.bytes));
}

constexpr auto kSyncs = support::bit(support::FileOperation::sync);
constexpr auto kReads = support::bit(support::FileOperation::read);

const DiskFailure kFailures[] = {
    {"ErrorOnce1", Version::version1, {FileFault::failOnce, SQLITE_IOERR_WRITE, EIO}},
    {"ErrorOnce6", Version::version6, {FileFault::failOnce, SQLITE_IOERR_WRITE, EIO}},
    {"Errors6", Version::version6, {FileFault::failFromThenOn, SQLITE_IOERR_WRITE, EIO}},
    {"FullOnce6", Version::version6, {FileFault::failOnce, SQLITE_FULL, ENOSPC}},
    {"Full6", Version::version6, {FileFault::failFromThenOn, SQLITE_FULL, ENOSPC}},
    {"Sync6", Version::version6, {FileFault::failOnce, SQLITE_IOERR_FSYNC, EIO, kSyncs}},
    {"Read6", Version::version6, {FileFault::failOnce, SQLITE_IOERR_READ, EIO, kReads}},
};

INSTANTIATE_TEST_SUITE_P(Disk, FailingMigration, testing::ValuesIn(kFailures),
                         [](const auto& tested) { return tested.param.name; });

const DiskFailure kNoRoom[] = {
    {"Version1", Version::version1, {FileFault::failOnce, SQLITE_FULL, ENOSPC}},
    {"Version6", Version::version6, {FileFault::failOnce, SQLITE_FULL, ENOSPC}},
};

INSTANTIATE_TEST_SUITE_P(Disk, MigrationOnAFullDisk, testing::ValuesIn(kNoRoom),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
