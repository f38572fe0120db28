#include "CoreData/Coordinator/RemoteChangeNotification.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <stdexcept>

#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreBell.h"
#include "Foundation/Values/WeakRef.h"
#include "Tests/CoreData/Coordinator/Announcements.h"
#include "Tests/CoreData/Coordinator/WatchedGarden.h"
#include "Tests/CoreData/Coordinator/Writer.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/ForwardingFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredata::NSPersistentContainer;
using coredata::NSPersistentStoreRemoteChangeNotification;
using foundation::make;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::Ref;
using foundation::URL;
using garden::Announcements;
using garden::engineOf;
using garden::Opening;
using garden::savePlant;

constexpr std::chrono::seconds kDeadline{30};

/// Commits when somebody who has opened a store is about to listen to its files.
class CommitBeforeWatch final : public support::ForwardingFileSystem {
 public:
  explicit CommitBeforeWatch(std::function<std::int64_t()> commit) : commit_(std::move(commit)) {}
  [[nodiscard]] std::int64_t transaction() const noexcept { return transaction_; }

  foundation::FileResult<int> openWatcher() override {
    if (const auto commit = std::exchange(commit_, nullptr)) transaction_ = commit();
    return ForwardingFileSystem::openWatcher();
  }

 private:
  std::function<std::int64_t()> commit_;
  std::int64_t transaction_ = 0;
};

class RemoteChangeNotification : public testing::Test {
 protected:
  const support::TemporaryDirectory directory;
  const URL url = at("garden.sqlite");

  [[nodiscard]] URL at(const char* name) const {
    return URL::fileURL((directory.path() / name).string());
  }
  [[nodiscard]] std::string bell() const { return *url.filePath() + "-bell"; }
  [[nodiscard]] static const auto& coordinatorOf(const Ref<NSPersistentContainer>& container) {
    return container->persistentStoreCoordinator();
  }
};

TEST_F(RemoteChangeNotification, NamesTheStoreAndTheTransaction) {
  const auto container = garden::open(url);
  std::promise<NSNotification> posted;
  const auto token = NSNotificationCenter::defaultCenter().addObserver(
      NSPersistentStoreRemoteChangeNotification, coordinatorOf(container),
      [&, isFirst = true](const NSNotification& notification) mutable {
        if (std::exchange(isFirst, false)) posted.set_value(notification);
      });

  const std::int64_t number = savePlant(*container);

  auto future = posted.get_future();
  ASSERT_EQ(future.wait_for(kDeadline), std::future_status::ready);
  const NSNotification notification = future.get();
  EXPECT_EQ(notification.name().text(), "NSPersistentStoreRemoteChangeNotification");
  EXPECT_EQ(notification.object(), coordinatorOf(container));
  const auto store = coordinatorOf(container)->store();
  EXPECT_EQ(*notification.userInfoValue(coredata::NSStoreUUIDKey),
            foundation::Value(store->identifier()));
  EXPECT_EQ(*notification.userInfoValue(coredata::NSPersistentStoreURLKey),
            foundation::Value(url.absoluteString()));
  EXPECT_EQ(*notification.userInfoValue(coredata::NSPersistentHistoryTokenKey),
            foundation::Value(number));
}

TEST_F(RemoteChangeNotification, IsPostedOnAnotherThreadThanTheOneThatSaves) {
  const auto container = garden::open(url);
  Announcements announcements(coordinatorOf(container));

  ASSERT_TRUE(announcements.await(savePlant(*container)));

  EXPECT_NE(announcements.all().back().thread, std::this_thread::get_id());
}

TEST_F(RemoteChangeNotification, HoldsNoSaveUp) {
  const auto container = garden::open(url);
  std::promise<void> saved;
  std::shared_future<void> isSaved = saved.get_future().share();
  std::promise<std::future_status> handled;
  const auto token = NSNotificationCenter::defaultCenter().addObserver(
      NSPersistentStoreRemoteChangeNotification, coordinatorOf(container),
      [&, isFirst = true](const NSNotification&) mutable {
        if (std::exchange(isFirst, false)) handled.set_value(isSaved.wait_for(kDeadline));
      });

  savePlant(*container);
  savePlant(*container);
  saved.set_value();

  EXPECT_EQ(handled.get_future().get(), std::future_status::ready);
}

TEST_F(RemoteChangeNotification, IsPostedForCommitsThroughAnotherCoordinator) {
  const auto container = garden::open(url);
  const auto other = garden::open(url, {.isWatched = false});
  Announcements announcements(coordinatorOf(container));

  const std::int64_t number = savePlant(*other);

  EXPECT_TRUE(announcements.await(number));
}

TEST_F(RemoteChangeNotification, IsPostedForCommitsOfAnotherProcess) {
  const auto container = garden::open(url);
  garden::Writer writer(url);
  Announcements announcements(coordinatorOf(container));

  for (int i = 0; i < 20; ++i) EXPECT_TRUE(announcements.await(writer.save())) << i;

  EXPECT_LE(announcements.count(), 20U);
}

TEST_F(RemoteChangeNotification, IsPostedForCommitsBetweenTheOpeningAndTheWatch) {
  const auto other = garden::open(url, {.isWatched = false});
  savePlant(*other);
  CommitBeforeWatch between([&] { return savePlant(*other); });
  const auto container = make<NSPersistentContainer>("garden", garden::model());
  Announcements announcements(coordinatorOf(container));
  container->setPersistentStoreDescriptions({garden::described(url)});

  container->loadPersistentStores([](const auto&, const auto&) {});

  EXPECT_EQ(between.transaction(), 2);
  EXPECT_TRUE(announcements.await(between.transaction()));
}

TEST_F(RemoteChangeNotification, IsPostedForEachCoordinatorThatWatches) {
  const auto one = garden::open(url);
  const auto two = garden::open(url);
  Announcements toOne(coordinatorOf(one));
  Announcements toTwo(coordinatorOf(two));

  const std::int64_t number = savePlant(*one);

  EXPECT_TRUE(toOne.await(number));
  EXPECT_TRUE(toTwo.await(number));
}

TEST_F(RemoteChangeNotification, StandsForSeveralCommitsButNeverOmitsTheLast) {
  constexpr std::size_t kCommits = 300;
  const auto container = garden::open(url);
  Announcements announcements(coordinatorOf(container));

  std::int64_t last = 0;
  for (std::size_t i = 0; i < kCommits; ++i) last = savePlant(*container);

  EXPECT_TRUE(announcements.await(last));
  EXPECT_GE(announcements.count(), 1U);
  EXPECT_LE(announcements.count(), kCommits);
}

TEST_F(RemoteChangeNotification, IsNotPostedForWhatCommitsNothing) {
  const auto container = garden::open(url);
  garden::Writer writer(url);
  Announcements announcements(coordinatorOf(container));
  ASSERT_TRUE(announcements.await(writer.save()));
  const std::size_t before = announcements.count();

  const auto context = container->newBackgroundContext();
  for (int i = 0; i < 50; ++i) {
    context->performBlockAndWait([&] {
      EXPECT_EQ(context->fetch(garden::Plant::fetchRequest()).size(), 1U);
      context->save();
    });
  }
  // Opening and closing it elsewhere copies the log.
  garden::open(url, {.isWatched = false});
  coredata::StoreBell(engineOf(*container)->path()).ring();

  ASSERT_TRUE(announcements.await(savePlant(*container)));
  EXPECT_EQ(announcements.count(), before + 1);
}

TEST_F(RemoteChangeNotification, IsPostedForBatchDeletes) {
  const auto container = garden::open(url);
  Announcements announcements(coordinatorOf(container));
  ASSERT_TRUE(announcements.await(savePlant(*container)));

  const auto context = container->newBackgroundContext();
  context->performBlockAndWait(
      [&] { context->execute(coredata::NSBatchDeleteRequest(garden::Plant::fetchRequest())); });

  EXPECT_TRUE(announcements.await(engineOf(*container)->newestTransaction().number));
  EXPECT_EQ(engineOf(*container)->newestTransaction().number, 2);
}

TEST_F(RemoteChangeNotification, IsNotPostedUnlessAskedFor) {
  const auto container = garden::open(url, {.isWatched = false});
  const auto watched = garden::open(url);
  Announcements none(coordinatorOf(container));
  Announcements some(coordinatorOf(watched));

  ASSERT_TRUE(some.await(savePlant(*container)));

  EXPECT_EQ(none.count(), 0U);
}

TEST_F(RemoteChangeNotification, IsPostedForAStoreWithoutHistory) {
  const Opening untracked{.tracksHistory = false};
  const auto container = garden::open(url, untracked);
  const auto other = garden::open(url, untracked);
  Announcements announcements(coordinatorOf(container));

  savePlant(*container);
  ASSERT_TRUE(announcements.awaitCount(1));
  const std::size_t count = announcements.count();
  savePlant(*other);
  ASSERT_TRUE(announcements.awaitCount(count + 1));

  EXPECT_FALSE(announcements.all().front().transaction.has_value());
}

TEST_F(RemoteChangeNotification, IsPostedForAStoreWithoutHistoryWhoseWriterTellsNobody) {
  const auto container = garden::open(url, {.tracksHistory = false});
  garden::Writer writer(url, garden::Writer::History::untracked);
  Announcements announcements(coordinatorOf(container));

  writer.save();

  EXPECT_TRUE(announcements.awaitCount(1));
}

TEST_F(RemoteChangeNotification, IsPostedToWhoOnlyReadsTheStore) {
  garden::Writer writer(url);
  const auto container = garden::open(url, {.isReadOnly = true});
  Announcements announcements(coordinatorOf(container));

  EXPECT_TRUE(announcements.await(writer.save()));
  EXPECT_TRUE(announcements.await(writer.save()));
}

TEST_F(RemoteChangeNotification, SurvivesTheLossOfTheBell) {
  const auto container = garden::open(url);
  garden::Writer writer(url);
  Announcements announcements(coordinatorOf(container));

  for (int i = 0; i < 5; ++i) {
    std::filesystem::remove(bell());
    EXPECT_TRUE(announcements.await(writer.save())) << i;
  }

  EXPECT_TRUE(std::filesystem::exists(bell()));
}

TEST_F(RemoteChangeNotification, GoesOnAfterAReceiverThatThrows) {
  const auto container = garden::open(url);
  std::promise<void> thrown;
  const auto token = NSNotificationCenter::defaultCenter().addObserver(
      NSPersistentStoreRemoteChangeNotification, coordinatorOf(container),
      [&, isFirst = true](const NSNotification&) mutable {
        if (!std::exchange(isFirst, false)) return;
        thrown.set_value();
        throw std::runtime_error("not this one");
      });
  testing::internal::CaptureStderr();
  Announcements announcements(coordinatorOf(container));
  savePlant(*container);
  thrown.get_future().wait_for(kDeadline);

  const bool isHeard = announcements.await(savePlant(*container));

  EXPECT_NE(testing::internal::GetCapturedStderr().find("not this one"), std::string::npos);
  EXPECT_TRUE(isHeard);
}

TEST_F(RemoteChangeNotification, MayRemoveTheStore) {
  // Without a container, whose main context would have to be told on this very thread.
  const auto coordinator =
      foundation::make<coredata::NSPersistentStoreCoordinator>(garden::model());
  coordinator->addPersistentStore(garden::described(url));
  std::promise<void> removed;
  const auto token = NSNotificationCenter::defaultCenter().addObserver(
      NSPersistentStoreRemoteChangeNotification, coordinator, [&](const NSNotification&) {
        coordinator->removePersistentStore(coordinator->store());
        coordinator->destroyPersistentStore(url, coredata::NSSQLiteStoreType);
        removed.set_value();
      });

  const auto context = foundation::make<coredata::NSManagedObjectContext>(
      coordinator, coredata::NSManagedObjectContextConcurrencyType::privateQueue);
  context->performBlockAndWait([&] {
    const auto plant = foundation::make<garden::Plant>(*context);
    plant->setName("ash");
    context->save();
  });

  ASSERT_EQ(removed.get_future().wait_for(kDeadline), std::future_status::ready);
  EXPECT_TRUE(coordinator->persistentStores().empty());
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(RemoteChangeNotification, MayLetTheLastHandleToTheCoordinatorGo) {
  auto container = garden::open(url);
  const foundation::WeakRef<coredata::NSPersistentStoreCoordinator> weak(coordinatorOf(container));
  std::promise<void> isPosting;
  std::promise<void> isLast;
  const auto token = NSNotificationCenter::defaultCenter().addObserver(
      NSPersistentStoreRemoteChangeNotification, coordinatorOf(container),
      [&,
       future = std::make_shared<std::future<void>>(isLast.get_future())](const NSNotification&) {
        isPosting.set_value();
        future->wait_for(kDeadline);
      });

  savePlant(*container);
  ASSERT_EQ(isPosting.get_future().wait_for(kDeadline), std::future_status::ready);
  container = nullptr;
  EXPECT_FALSE(weak.expired());
  isLast.set_value();

  // Whoever opens it alone afterwards can destroy it: nothing of the old coordinator is left.
  const auto deadline = std::chrono::steady_clock::now() + kDeadline;
  while (!weak.expired() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  EXPECT_TRUE(weak.expired());
}

TEST_F(RemoteChangeNotification, EndsWithTheRemovalOfTheStore) {
  const auto container = garden::open(url);
  const auto other = garden::open(url);
  Announcements announcements(coordinatorOf(container));
  Announcements toOther(coordinatorOf(other));
  ASSERT_TRUE(announcements.await(savePlant(*container)));

  coordinatorOf(container)->removePersistentStore(coordinatorOf(container)->store());
  const std::size_t count = announcements.count();
  ASSERT_TRUE(toOther.await(savePlant(*other)));

  EXPECT_EQ(announcements.count(), count);
}

TEST_F(RemoteChangeNotification, BeginsAnewWhenTheStoreIsAddedAgain) {
  const auto container = garden::open(url);
  const auto coordinator = coordinatorOf(container);
  Announcements announcements(coordinator);
  coordinator->removePersistentStore(coordinator->store());

  coordinator->addPersistentStore(container->persistentStoreDescriptions().front());

  EXPECT_TRUE(announcements.await(savePlant(*container)));
}

TEST_F(RemoteChangeNotification, IsPostedOnceMoreWhenTheStoreIsReplaced) {
  const auto container = garden::open(url);
  savePlant(*garden::open(at("other.sqlite")));
  Announcements announcements(coordinatorOf(container));
  testing::internal::CaptureStderr();

  coordinatorOf(container)->replacePersistentStore(url, {}, at("other.sqlite"), {},
                                                   coredata::NSSQLiteStoreType);
  const bool isHeard = announcements.awaitCount(1);
  const auto code =
      support::errorCode([&] { static_cast<void>(engineOf(*container)->newestTransaction()); });
  coordinatorOf(container)->removePersistentStore(coordinatorOf(container)->store());

  EXPECT_NE(testing::internal::GetCapturedStderr().find("replaced"), std::string::npos);
  EXPECT_TRUE(isHeard);
  EXPECT_EQ(announcements.count(), 1U);
  EXPECT_EQ(code, support::number(coredata::StoreErrorCode::replaced));
}

TEST_F(RemoteChangeNotification, IsPostedOnceMoreWhenAnotherFileTakesTheStoresPlace) {
  const auto container = garden::open(url);
  savePlant(*garden::open(at("other.sqlite")));
  Announcements announcements(coordinatorOf(container));
  testing::internal::CaptureStderr();

  std::filesystem::rename(directory.path() / "other.sqlite", directory.path() / "garden.sqlite");
  coredata::StoreBell(engineOf(*container)->path()).ring();
  const bool isHeard = announcements.awaitCount(1);
  coordinatorOf(container)->removePersistentStore(coordinatorOf(container)->store());

  EXPECT_NE(testing::internal::GetCapturedStderr().find("Another file"), std::string::npos);
  EXPECT_TRUE(isHeard);
}

TEST_F(RemoteChangeNotification, LeavesNoThreadAndNoDescriptorBehind) {
  const auto entries = [](const char* path) {
    return std::distance(std::filesystem::directory_iterator(path), {});
  };
  garden::open(url);
  const auto descriptors = entries("/proc/self/fd");
  const auto threads = entries("/proc/self/task");

  for (int i = 0; i < 200; ++i) garden::open(url);

  EXPECT_EQ(entries("/proc/self/fd"), descriptors);
  // A thread that was joined may be listed a moment longer.
  const auto deadline = std::chrono::steady_clock::now() + kDeadline;
  while (entries("/proc/self/task") > threads && std::chrono::steady_clock::now() < deadline)
    std::this_thread::yield();
  EXPECT_LE(entries("/proc/self/task"), threads);
}

TEST_F(RemoteChangeNotification, DoesNotKeepAForkedChildFromLettingGo) {
  auto container = garden::open(url);
  Announcements announcements(coordinatorOf(container));

  const pid_t child = fork();
  if (child == 0) {
    alarm(20);
    container = nullptr;
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);

  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_TRUE(announcements.await(savePlant(*container)));
}

}  // namespace
