#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>

#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Queues/GlobalQueue.h"
#include "Tests/Processes/Possessions.h"
#include "Tests/Processes/Program.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/MainQueueWait.h"

// Stacks that are set up and dropped again and again, and ones that cannot be set up: what the
// process holds afterwards is what it held before.

namespace {

using foundation::make;
using support::Possessions;

class OpenAndClose : public testing::Test {
 protected:
  /// Made, set up, and used if it can be; closed and gone when this returns.
  void cycle() {
    const auto stack = make<coredatastack::CoreDataStack>(
        support::configurationOf("app", place_.storeURL()), make<support::RecordingLogger>());
    int outcomes = 0;
    bool isOpen = false;
    stack->setup([&](const auto& outcome) {
      isOpen = outcome.has_value();
      ++outcomes;
    });
    ASSERT_EQ(outcomes, 1);
    ASSERT_EQ(isOpen, opens_);
    if (!isOpen) return;
    auto& view = *stack->managedObjectContext();
    const auto activities = support::allObjects(view, "Activity");
    if (activities.empty())
      view.insertNewObject("Activity");
    else
      activities.front()->setValue(std::to_string(++changes_), "title");
    view.save();
    const auto& coordinator = stack->persistentStoreCoordinator();
    coordinator->removePersistentStore(coordinator->store());
  }
  void cycle(std::uint64_t times) {
    for (std::uint64_t i = 0; i < times && !HasFatalFailure(); ++i) {
      cycle();
      foundation::drainMainQueue();
    }
  }
  /// The queues' workers keep a little memory each. Whether a cycle needs them, and how many, is a
  /// matter of luck.
  static void startWorkers() {
    const unsigned workers = std::max(2U, std::thread::hardware_concurrency());
    const auto together =
        std::make_shared<std::barrier<>>(static_cast<std::ptrdiff_t>(workers) + 1);
    for (unsigned i = 0; i < workers; ++i) {
      foundation::GlobalQueue::userInitiated().async([=] { together->arrive_and_wait(); });
    }
    together->arrive_and_wait();
  }
  /// What is held once the passes that were still on their way have ended.
  [[nodiscard]] Possessions atRest() const {
    static_cast<void>(
        support::runMainQueueUntil([] { return false; }, std::chrono::milliseconds(300)));
    return Possessions::look(place_.directory());
  }
  /// What the C library has set aside for the next time counts as in use. It is told not to by
  /// those who run this as a test, see CMakeLists.txt; then a few tables' growth is left.
  static std::size_t slack() {
    constexpr std::size_t kOfTables = std::size_t{16} * 1024;
    constexpr std::size_t kSetAside = std::size_t{512} * 1024;
    return std::getenv("GLIBC_TUNABLES") != nullptr ? kOfTables : kSetAside;
  }
  void expectNothingLeaks() {
    constexpr std::uint64_t kWarmUp = 20;
    const std::uint64_t times = support::numberFrom("OPEN_CYCLES", 50);
    startWorkers();
    cycle(kWarmUp);
    const Possessions before = atRest();

    cycle(times);

    const Possessions after = atRest();
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_EQ(after.files, before.files);
    EXPECT_LE(after.heap, before.heap + slack());
    std::printf("%llu times: %zu descriptors, %zu threads, %zu files, heap %zu and %zu bytes\n",
                static_cast<unsigned long long>(times), after.descriptors.size(), after.threads,
                after.files.size(), before.heap, after.heap);
  }

  support::MigrationPlace place_;
  bool opens_ = true;
  int changes_ = 0;
};

TEST_F(OpenAndClose, LeavesNothingOfAStackBehind) { expectNothingLeaks(); }

TEST_F(OpenAndClose, LeavesNothingBehindOfAStackOnAFileThatIsNoStore) {
  opens_ = false;
  std::ofstream(*place_.storeURL().filePath()) << "Dear diary, today I ran.\n";

  expectNothingLeaks();
}

TEST_F(OpenAndClose, LeavesNothingBehindOfAStackOnADirectory) {
  opens_ = false;

  std::filesystem::create_directory(*place_.storeURL().filePath());

  expectNothingLeaks();
}

}  // namespace
