#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/LocalDate.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/TemporaryStore.h"

namespace {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentContainer;
using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using coredatastack::CoreDataCheckinUseCase;
using foundation::Ref;
using support::Acknowledgements;
using support::ChildOutcome;

constexpr int kSaves = 5;

Ref<NSPersistentContainer> opened(const std::string& path) {
  Ref<NSPersistentContainer> container = support::containerWithoutStore();
  coredata::NSPersistentStoreDescription description(foundation::URL::fileURL(path));
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  container->setPersistentStoreDescriptions({description});
  container->loadPersistentStores([](const auto&, const std::optional<foundation::Error>& error) {
    if (error) error->raise();
  });
  return container;
}

/// A person's first week: the store is made, a habit is added, and checked in on five days.
void firstWeek(const std::string& path, const Acknowledgements& done) {
  const Ref<NSPersistentContainer> container = opened(path);
  done.send("opened");
  const Ref<NSManagedObjectContext> context = container->newBackgroundContext();
  context->performBlockAndWait([&] {
    const Ref<CDActivity> activity = CDActivity::create(*context, "green");
    context->save();
    done.send("saved");
    CoreDataCheckinUseCase checkins(activity, context);
    for (int day = 1; day <= kSaves; ++day) {
      checkins.addCheckin(support::localDate(2024, 3, day), domain::CheckinType::standard);
      done.send("saved");
    }
  });
}

/// The one number that a query of the file gives.
std::int64_t number(const std::string& path, const char* sql) {
  sqlite3* database = nullptr;
  sqlite3_stmt* statement = nullptr;
  std::int64_t result = -1;
  if (sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) == SQLITE_OK &&
      sqlite3_step(statement) == SQLITE_ROW) {
    result = sqlite3_column_int64(statement, 0);
  }
  sqlite3_finalize(statement);
  sqlite3_close(database);
  return result;
}

/// What the next start finds, as the program sees it.
struct Found {
  std::size_t activities = 0;
  std::size_t checkins = 0;
  std::size_t checkinsOfTheActivity = 0;
  bool isWholeActivity = true;
  std::int64_t newestTransaction = 0;
};

Found nextStart(const std::string& path) {
  const Ref<NSPersistentContainer> container = opened(path);
  const Ref<NSManagedObjectContext> context = container->newBackgroundContext();
  return context->performBlockAndWait([&] {
    Found found;
    const auto activities = context->fetch(CDActivity::fetchRequest());
    found.activities = activities.size();
    found.checkins = context->fetch(CDCheckin::fetchRequest()).size();
    for (const Ref<CDActivity>& activity : activities) {
      found.checkinsOfTheActivity += activity->checkins().count();
      found.isWholeActivity = found.isWholeActivity && activity->goal() && activity->order() &&
                              activity->displayOn() && activity->goal()->activity() == activity;
    }
    found.newestTransaction =
        container->persistentStoreCoordinator()->store()->engine()->newestTransaction().number;
    return found;
  });
}

void expectNothingLost(const std::string& path, const ChildOutcome& outcome, std::size_t point) {
  const auto acknowledged = std::ranges::count(outcome.acknowledged, "saved");
  const Found found = nextStart(path);

  const auto saves = static_cast<std::int64_t>(found.activities + found.checkins);
  EXPECT_GE(saves, acknowledged) << "an acknowledged save is lost, killed at " << point;
  EXPECT_LE(saves, acknowledged + 1) << "killed at " << point;
  EXPECT_TRUE(found.isWholeActivity) << "killed at " << point;
  EXPECT_EQ(found.checkinsOfTheActivity, found.checkins) << "killed at " << point;
  EXPECT_EQ(found.newestTransaction, saves) << "killed at " << point;
  EXPECT_EQ(number(path, "SELECT count(*) FROM _transaction"), saves) << "killed at " << point;
  // The first save wrote the activity and its three companions.
  const std::int64_t rows =
      found.activities == 0 ? 0 : 4 + static_cast<std::int64_t>(found.checkins);
  EXPECT_EQ(number(path, "SELECT count(*) FROM _change"), rows) << "killed at " << point;
  EXPECT_EQ(number(path, "SELECT integrity_check = 'ok' FROM pragma_integrity_check"), 1)
      << "killed at " << point;
}

TEST(CheckinCrash, LosesNoAcknowledgedSaveWhereverTheProcessIsKilled) {
  for (std::size_t point = 1;; ++point) {
    const support::TemporaryDirectory directory;
    const std::string path = (directory.path() / "Model.sqlite").string();
    const ChildOutcome outcome = support::runInChild([&](const Acknowledgements& done) {
      support::FaultVFS vfs;
      const coredata::StoreVFSOverride override(vfs.name());
      vfs.killAt(point);
      firstWeek(path, done);
    });
    ASSERT_FALSE(outcome.timedOut) << "hung, to be killed at " << point;

    expectNothingLost(path, outcome, point);

    if (!outcome.wasKilled()) {
      ASSERT_EQ(outcome.exitStatus, 0);
      EXPECT_EQ(outcome.acknowledged.size(), 2U + kSaves);
      EXPECT_GT(point, 30U) << "the child met fewer operations than one week takes";
      break;
    }
  }
}

TEST(CheckinCrash, TheNextCheckinAfterACrashGoesOnWhereTheLastOneEnded) {
  const support::TemporaryDirectory directory;
  const std::string path = (directory.path() / "Model.sqlite").string();
  const ChildOutcome outcome = support::runInChild([&](const Acknowledgements& done) {
    support::FaultVFS vfs;
    const coredata::StoreVFSOverride override(vfs.name());
    const Ref<NSPersistentContainer> container = opened(path);
    const Ref<NSManagedObjectContext> context = container->newBackgroundContext();
    context->performBlockAndWait([&] {
      CoreDataCheckinUseCase checkins(CDActivity::create(*context, "green"), context);
      checkins.addCheckin(support::localDate(2024, 3, 1), domain::CheckinType::standard);
      done.send("saved");
      vfs.reset();
      vfs.killAt(1);
      checkins.addCheckin(support::localDate(2024, 3, 2), domain::CheckinType::standard);
    });
  });
  ASSERT_TRUE(outcome.wasKilled());

  const Ref<NSPersistentContainer> container = opened(path);
  const Ref<NSManagedObjectContext> context = container->newBackgroundContext();
  context->performBlockAndWait([&] {
    const Ref<CDActivity> activity = context->fetch(CDActivity::fetchRequest()).first();
    ASSERT_TRUE(activity);
    EXPECT_TRUE(activity->didCheckin(support::localDate(2024, 3, 1)));
    EXPECT_FALSE(activity->didCheckin(support::localDate(2024, 3, 2)));
    CoreDataCheckinUseCase(activity, context)
        .addCheckin(support::localDate(2024, 3, 2), domain::CheckinType::standard);
    EXPECT_EQ(activity->checkins().count(), 2U);
  });
}

TEST(CheckinCrash, TwoProcessesCheckInSideBySide) {
  constexpr int kEach = 100;
  const support::TemporaryDirectory directory;
  const std::string path = (directory.path() / "Model.sqlite").string();
  const auto checkInOften = [&](const char* color) {
    const Ref<NSPersistentContainer> container = opened(path);
    const Ref<NSManagedObjectContext> context = container->newBackgroundContext();
    context->performBlockAndWait([&] {
      CoreDataCheckinUseCase checkins(CDActivity::create(*context, color), context);
      for (int day = 0; day < kEach; ++day) {
        checkins.addCheckin(support::localDate(2024, 1, 1 + day), domain::CheckinType::standard);
      }
    });
  };

  const ChildOutcome outcome = support::runInChild(
      [&](const Acknowledgements& done) {
        std::vector<pid_t> writers;
        for (const char* color : {"red", "blue"}) {
          const pid_t writer = fork();
          if (writer != 0) {
            writers.push_back(writer);
            continue;
          }
          try {
            checkInOften(color);
            _exit(0);
          } catch (const std::exception& error) {
            done.send(error.what());
            _exit(1);
          }
        }
        for (const pid_t writer : writers) {
          int status = 0;
          waitpid(writer, &status, 0);
          done.send(WIFEXITED(status) && WEXITSTATUS(status) == 0 ? "good" : "bad");
        }
      },
      std::chrono::seconds(60));
  ASSERT_EQ(outcome.acknowledged, (std::vector<std::string>{"good", "good"}));

  EXPECT_EQ(nextStart(path).checkins, 2U * kEach);
  EXPECT_EQ(number(path,
                   "SELECT count(*) FROM _transaction a JOIN _transaction b ON b.number = "
                   "a.number + 1 WHERE b.timestamp <= a.timestamp"),
            0);
}

}  // namespace
