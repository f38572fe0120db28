#include <fcntl.h>
#include <gtest/gtest.h>

#include <poll.h>

#include <functional>
#include <stdexcept>

#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Foundation/Queues/GlobalQueue.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/Processes/Companion.h"
#include "Tests/Processes/Program.h"
#include "Tests/Processes/Rival.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/MainQueueWait.h"

// A program forks in the middle of its work: with its stack set up and followed, and its queues in
// use. The child makes a stack of its own; what it inherited is refused, and harms nobody.

namespace {

using coredata::StoreErrorCode;
using coredatastack::CoreDataMigrationVersion;
using support::Companion;
using support::Line;
using support::MigrationPlace;
using support::number;
using support::Program;
using support::Rival;
using support::titlesOfActivities;
using Texts = std::vector<std::string>;

void add(Program& program, const std::string& title) {
  program.view().insertNewObject("Activity")->setValue(title, "title");
  program.view().save();
}

void require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

/// What a call throws; 0 when it throws nothing.
std::int64_t codeOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const foundation::Error& error) {
    return error.code();
  }
  return 0;
}

bool mergesUntil(Program& program, std::size_t activities) {
  return support::runMainQueueUntil(
      [&] { return titlesOfActivities(program.view()).size() == activities; });
}

/// The host: a program with threads that wait for work, and a child that is forked off it.
class ForkedStack : public testing::Test {
 protected:
  ForkedStack() {
    support::edit(place_.storeURL(), CoreDataMigrationVersion::version7, [](auto& context) {
      context.insertNewObject("Activity")->setValue("Run", "title");
    });
    host_.emplace(place_, "app");
    EXPECT_EQ(titlesOfActivities(host_->view()), Texts{"Run"});
    useQueues();
  }
  ~ForkedStack() override {
    if (host_) host_->close();
  }
  /// So that there are workers, and the main queue's descriptor.
  static void useQueues() {
    std::atomic<bool> hasRun = false;
    static_cast<void>(foundation::MainQueue::eventDescriptor());
    foundation::GlobalQueue::userInitiated().async([&] {
      hasRun = true;
      foundation::MainQueue::async([] {});
    });
    EXPECT_TRUE(support::runMainQueueUntil([&] { return hasRun.load(); }));
  }
  void expectHostWorks() {
    add(*host_, "Swim");
    EXPECT_TRUE(host_->viewIsCurrent());
    EXPECT_EQ(host_->errors(), Texts());
  }

  MigrationPlace place_;
  std::optional<Program> host_;
};

TEST_F(ForkedStack, OfTheChildsOwnWorksBesideTheParents) {
  Companion child([&](Line& line) {
    Program own(place_, "child");
    require(titlesOfActivities(own.view()) == Texts{"Run"}, "the child does not read");
    add(own, "Read");
    line.say("written");
    static_cast<void>(line.hear());
    require(mergesUntil(own, 3), "the child does not follow its parent");
    line.say("followed");
  });

  EXPECT_EQ(child.answer(), "written");
  EXPECT_TRUE(mergesUntil(*host_, 2));
  add(*host_, "Swim");
  child.line().say("follow");

  EXPECT_EQ(child.answer(), "followed");
  EXPECT_TRUE(child.endedWell());
  expectHostWorks();
}

TEST_F(ForkedStack, OfTheParentIsRefusedInTheChild) {
  Companion child([&](Line& line) {
    const auto refusal = number(StoreErrorCode::forked);
    const auto context = host_->newContext();
    context->performBlockAndWait([&] {
      require(codeOf([&] { static_cast<void>(titlesOfActivities(*context)); }) == refusal,
              "a fetch is not refused");
      context->insertNewObject("Activity")->setValue("Read", "title");
      require(codeOf([&] { context->save(); }) == refusal, "a save is not refused");
    });
    host_.reset();
    line.say("refused");
  });

  EXPECT_EQ(child.answer(), "refused");
  EXPECT_TRUE(child.endedWell());
  expectHostWorks();
}

TEST_F(ForkedStack, OfTheParentKeepsItsLocksWhenTheChildEnds) {
  const auto store = host_->stack().persistentStoreCoordinator()->store()->engine();
  coredata::ReadSession session(store);
  std::optional<coredata::WriteTransaction> writing(session);

  // The first one's end closes all that it inherited.
  EXPECT_TRUE(Companion([&](Line&) { host_.reset(); }).endedWell());
  Rival rival(place_.storeURL());
  EXPECT_TRUE(rival.isKeptOut());

  writing.reset();
  EXPECT_FALSE(rival.isKeptOut());
  EXPECT_TRUE(mergesUntil(*host_, 2));
  expectHostWorks();
}

/// Whether any process reads the store under a lock on the index of its log. Asked in a process of
/// its own: who closes a file gives away the locks that it has on it.
bool isBeingRead(const std::string& store) {
  Companion probe([&](Line& line) {
    const int file = ::open((store + "-shm").c_str(), O_RDWR | O_CLOEXEC);
    // Where those are that say what is being read.
    struct flock wanted {};
    wanted.l_type = F_WRLCK;
    wanted.l_whence = SEEK_SET;
    wanted.l_start = 123;
    wanted.l_len = 5;
    require(::fcntl(file, F_GETLK, &wanted) == 0, "the locks cannot be asked for");
    line.say(wanted.l_type == F_UNLCK ? "free" : "locked");
  });
  return probe.answer() == "locked";
}

TEST_F(ForkedStack, OfTheChildHoldsItsOwnLocksWhereItsParentReads) {
  const std::string store = place_.storeURL().filePath().value();
  // From here on nobody reads of himself.
  host_->close();
  host_.reset();
  const auto parents = support::contextOver(place_.storeURL(), CoreDataMigrationVersion::version7);
  std::optional<Companion> child;

  parents->performBlockAndWait([&] {
    EXPECT_EQ(titlesOfActivities(*parents), Texts{"Run"});
    child.emplace([&](Line& line) {
      const auto own = support::contextOver(place_.storeURL(), CoreDataMigrationVersion::version7);
      own->performBlockAndWait([&] {
        require(titlesOfActivities(*own) == Texts{"Run"}, "the child does not read");
        line.say("reading");
        static_cast<void>(line.hear());
      });
      line.say("read");
      static_cast<void>(line.hear());
    });
    EXPECT_EQ(child->answer(), "reading");
  });

  EXPECT_TRUE(isBeingRead(store));
  child->line().say("enough");
  EXPECT_EQ(child->answer(), "read");
  EXPECT_FALSE(isBeingRead(store));
}

TEST_F(ForkedStack, OfTheChildIsBroughtForwardInTheBackground) {
  const foundation::URL old = place_.at("Old.sqlite");
  EXPECT_TRUE(Companion([&](Line&) {
                support::edit(old, CoreDataMigrationVersion::version6, [](auto& context) {
                  context.insertNewObject("Activity")->setValue("Row", "title");
                });
              }).endedWell());

  Companion child([&](Line& line) {
    foundation::Directories::set(foundation::Directories::below(
        (place_.directory() / "homes").string(), "com.tessaline.child"));
    const auto stack = foundation::make<coredatastack::CoreDataStack>(
        support::configurationOf("child", old), foundation::make<support::RecordingLogger>());
    std::atomic<bool> isMigrated = false;
    stack->setup([&](const auto& outcome) {
      isMigrated = outcome.value_or(false);
      foundation::MainQueue::async([] {});
    });
    require(support::runMainQueueUntil([&] { return isMigrated.load(); }), "not brought forward");
    line.say("migrated");
  });

  EXPECT_EQ(child.answer(), "migrated");
  EXPECT_TRUE(child.endedWell());
}

TEST_F(ForkedStack, LeavesTheParentsWorkToTheParent) {
  int runs = 0;
  foundation::MainQueue::async([&] { ++runs; });

  Companion child([&](Line& line) {
    require(foundation::drainMainQueue() == 0, "the child has work of its parent");
    foundation::MainQueue::async([] {});
    require(foundation::drainMainQueue() == 1, "the child has no queue of its own");
    line.say("drained");
  });

  EXPECT_EQ(child.answer(), "drained");
  EXPECT_TRUE(child.endedWell());
  pollfd waiting{foundation::MainQueue::eventDescriptor(), POLLIN, 0};
  EXPECT_EQ(::poll(&waiting, 1, 0), 1);
  foundation::drainMainQueue();
  EXPECT_EQ(runs, 1);
}

}  // namespace
