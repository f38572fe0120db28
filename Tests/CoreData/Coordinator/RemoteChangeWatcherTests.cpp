#include "CoreData/Coordinator/RemoteChangeWatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <thread>

#include "CoreData/SQLite/StoreBell.h"
#include "Tests/CoreData/Coordinator/Announcements.h"
#include "Tests/CoreData/Coordinator/WatchedGarden.h"
#include "Tests/Support/ForwardingFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredata::RemoteChangeWatcher;
using coredata::WatchTimings;
using garden::Announcements;
using garden::engineOf;
using garden::savePlant;
using std::chrono::hours;
using std::chrono::milliseconds;

/// Does not tell of changes, as far as it is told not to.
class DeafFileSystem final : public support::ForwardingFileSystem {
 public:
  std::atomic<int> openError = 0;
  std::atomic<int> watchError = 0;
  /// Of files whose names end so; of all when it is empty.
  std::string_view unwatched;
  std::atomic<bool> dropsRings = false;
  std::atomic<int> statusError = 0;
  std::atomic<int> failedLooks = 0;

  foundation::FileResult<int> openWatcher() override {
    if (openError != 0) return std::unexpected(openError.load());
    return ForwardingFileSystem::openWatcher();
  }
  foundation::FileResult<int> watch(int watcher, const char* path, std::uint32_t events) override {
    if (watchError != 0 && std::string_view(path).ends_with(unwatched))
      return std::unexpected(watchError.load());
    return ForwardingFileSystem::watch(watcher, path, events);
  }
  foundation::FileResult<struct stat> status(int directory, const char* path, int flags) override {
    if (statusError != 0) {
      ++failedLooks;
      return std::unexpected(statusError.load());
    }
    return ForwardingFileSystem::status(directory, path, flags);
  }
  foundation::FileResult<void> touch(int directory, const char* path) override {
    if (dropsRings) return {};
    return ForwardingFileSystem::touch(directory, path);
  }
};

class RemoteChangeWatcherTest : public testing::Test {
 protected:
  const support::TemporaryDirectory directory;
  const foundation::URL url =
      foundation::URL::fileURL((directory.path() / "garden.sqlite").string());
  DeafFileSystem files;
  const foundation::Ref<coredata::NSPersistentContainer> container =
      garden::open(url, {.isWatched = false});
  Announcements announcements;

  /// Counts from what is in the store now.
  [[nodiscard]] std::unique_ptr<RemoteChangeWatcher> watcher(const WatchTimings& timings) {
    return watcher(timings, engineOf(*container)->newestTransaction().number);
  }
  [[nodiscard]] std::unique_ptr<RemoteChangeWatcher> watcher(const WatchTimings& timings,
                                                             std::int64_t since) {
    return std::make_unique<RemoteChangeWatcher>(
        engineOf(*container), since,
        [this](std::optional<std::int64_t> newest) { announcements.add(newest); }, timings);
  }
  /// Waits for events alone.
  static constexpr WatchTimings kNoPoll{.poll = hours(1), .quickPoll = hours(1)};
  static constexpr WatchTimings kNoEvents{
      .logPatience = hours(1), .poll = milliseconds(5), .quickPoll = hours(1)};
};

TEST_F(RemoteChangeWatcherTest, IsWokenByTheBellAlone) {
  files.unwatched = "-wal";
  files.watchError = ENOSPC;
  const auto watching = watcher(kNoPoll);

  EXPECT_TRUE(announcements.await(savePlant(*container)));
  EXPECT_TRUE(announcements.await(savePlant(*container)));
}

TEST_F(RemoteChangeWatcherTest, IsWokenByTheLogWhenTheBellDoesNotRing) {
  files.dropsRings = true;
  const auto watching = watcher({.poll = hours(1)});

  EXPECT_TRUE(announcements.await(savePlant(*container)));
  EXPECT_TRUE(announcements.await(savePlant(*container)));
}

TEST_F(RemoteChangeWatcherTest, LooksFromTimeToTimeWhenNothingWakesIt) {
  files.unwatched = "-wal";
  files.watchError = ENOSPC;
  files.dropsRings = true;
  const auto watching = watcher(kNoEvents);

  EXPECT_TRUE(announcements.await(savePlant(*container)));
  EXPECT_TRUE(announcements.await(savePlant(*container)));
}

TEST_F(RemoteChangeWatcherTest, LooksOftenWhereTheSystemRefusesToWatch) {
  files.watchError = ENOSPC;
  const auto watching = watcher({.poll = hours(1), .quickPoll = milliseconds(5)});

  EXPECT_TRUE(announcements.await(savePlant(*container)));
  EXPECT_TRUE(announcements.await(savePlant(*container)));
}

TEST_F(RemoteChangeWatcherTest, ListensAgainOnceTheSystemLetsIt) {
  files.openError = EMFILE;
  const auto watching = watcher({.poll = hours(1), .quickPoll = milliseconds(5)});
  ASSERT_TRUE(announcements.await(savePlant(*container)));

  files.openError = 0;

  for (int i = 0; i < 10; ++i) EXPECT_TRUE(announcements.await(savePlant(*container))) << i;
}

TEST_F(RemoteChangeWatcherTest, LooksAgainOnceTheFileCanBeLookedAt) {
  const auto watching = watcher(
      {.poll = milliseconds(1), .quickPoll = milliseconds(1), .longestBackoff = milliseconds(1)});
  ASSERT_TRUE(announcements.await(savePlant(*container)));
  testing::internal::CaptureStderr();

  files.statusError = EIO;
  for (int i = 0; i < 5000 && files.failedLooks < 3; ++i)
    std::this_thread::sleep_for(milliseconds(1));
  EXPECT_GE(files.failedLooks, 3);
  files.statusError = 0;

  EXPECT_TRUE(announcements.await(savePlant(*container)));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("cannot be reached"));
}

TEST_F(RemoteChangeWatcherTest, AnnouncesWhatWasCommittedRightAfterItWasMade) {
  for (int i = 0; i < 50; ++i) {
    const auto watching = watcher(kNoPoll);
    ASSERT_TRUE(announcements.await(savePlant(*container))) << i;
  }
}

TEST_F(RemoteChangeWatcherTest, SoonAnnouncesWhatWasCommittedBeforeItListened) {
  const std::int64_t since = savePlant(*container);
  const std::int64_t newest = savePlant(*container);

  const auto watching = watcher({.poll = hours(1), .quickPoll = milliseconds(5)}, since);

  EXPECT_TRUE(announcements.await(newest));
}

TEST_F(RemoteChangeWatcherTest, AnnouncesNothingThatWasCommittedBefore) {
  savePlant(*container);
  const auto watching = watcher(kNoEvents);

  ASSERT_TRUE(announcements.await(savePlant(*container)));

  EXPECT_EQ(announcements.count(), 1U);
}

TEST_F(RemoteChangeWatcherTest, AnnouncesAtMostOnceInItsTimeOfRest) {
  const auto watching = watcher({.rest = hours(1), .poll = milliseconds(1)});
  ASSERT_TRUE(announcements.await(savePlant(*container)));

  for (int i = 0; i < 50; ++i) savePlant(*container);

  // Ending it does not wait for the rest to be over.
  EXPECT_EQ(announcements.count(), 1U);
}

TEST_F(RemoteChangeWatcherTest, MakesTheBellForItsOwnerAlone) {
  const std::filesystem::path bell = *url.filePath() + "-bell";
  ASSERT_FALSE(std::filesystem::exists(bell));

  const auto watching = watcher(kNoPoll);

  EXPECT_EQ(std::filesystem::file_size(bell), 0U);
  EXPECT_EQ(std::filesystem::status(bell).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(RemoteChangeWatcherTest, AnnouncesNothingAfterItEnded) {
  auto watching = watcher({.rest = milliseconds(0), .poll = milliseconds(1)});
  ASSERT_TRUE(announcements.await(savePlant(*container)));

  watching.reset();
  const std::size_t count = announcements.count();
  savePlant(*container);

  EXPECT_EQ(announcements.count(), count);
}

TEST_F(RemoteChangeWatcherTest, EndsWithoutAWordWhenTheStoreWasClosed) {
  const auto watching = watcher(kNoEvents);
  testing::internal::CaptureStderr();

  engineOf(*container)->close();
  coredata::StoreBell(engineOf(*container)->path()).ring();

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(announcements.count(), 0U);
}

}  // namespace
