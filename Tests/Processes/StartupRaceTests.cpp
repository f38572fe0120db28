#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>

#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Processes/Companion.h"
#include "Tests/Processes/Program.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/MainQueueWait.h"
#include "Tests/Support/RecordingLogger.h"
#include "Tests/Support/Scene.h"
#include "Tools/storegen/SeededStore.h"

// Two, three and four programs that share a store are started at the same moment: on no store, on
// stores of several versions, and on a file that is none.

namespace {

using coredatastack::CoreDataStack;
using coredatastack::Failure;
using foundation::make;
using foundation::Ref;
using support::Companion;
using support::Line;
using Version = coredatastack::CoreDataMigrationVersion;
using Texts = std::vector<std::string>;

constexpr std::chrono::seconds kPatience{30};
constexpr const char* kGarbage = "Dear diary, today I ran.\n";

/// One of the programs: a stack over the store that is set up when it is told to.
class Starter {
 public:
  Starter(const support::Scene& scene, int index, const std::string& role) : index_(index) {
    foundation::Directories::set(foundation::Directories::below(
        (scene.place().directory() / ("homes of " + role)).string(), "com.tessaline." + role));
    stack_ = make<CoreDataStack>(support::configurationOf(role, scene.place().storeURL()),
                                 make<support::RecordingLogger>());
    static_cast<void>(stack_->managedObjectContext());
  }

  void run(Line& line) {
    line.say("ready");
    const std::string delay = line.hear().value();
    ::usleep(static_cast<useconds_t>(std::stoul(delay)));
    line.say(setUp());
    for (std::string order = line.hear().value(); order != "end"; order = line.hear().value()) {
      if (order == "write") write();
      line.say(order == "count" ? std::to_string(completions_) : "done");
    }
  }

 private:
  std::string setUp() {
    std::mutex mutex;
    std::string outcome;
    stack_->setup([this, &mutex, &outcome](const std::expected<bool, Failure>& result) {
      const std::scoped_lock lock(mutex);
      outcome = !result ? result.error()->description() : *result ? "migrated" : "opened";
      ++completions_;
      foundation::MainQueue::async([] {});
    });
    if (!support::runMainQueueUntil([this] { return completions_ > 0; }, kPatience)) {
      throw std::runtime_error("the setup did not end");
    }
    const std::scoped_lock lock(mutex);
    return outcome;
  }
  void write() const {
    const auto context = stack_->privateManagedObjectContext();
    context->performBlockAndWait([&] {
      context->insertNewObject("Activity")->setValue("starter " + std::to_string(index_), "title");
      context->save();
    });
  }

  int index_;
  /// What a migration makes bears its time.
  foundation::ManualClock clock_{800'000'000};
  Ref<CoreDataStack> stack_;
  std::atomic<int> completions_ = 0;
};

class StartupRace : public testing::Test {
 protected:
  StartupRace() {
    std::printf("to repeat: STARTUP_SEED=%llu\n", static_cast<unsigned long long>(seed_));
  }
  ~StartupRace() override {
    for (const auto& starter : starters_) starter->kill();
  }

  void addStore(const Version& version) const {
    ASSERT_TRUE(support::succeeds([&] {
      storegen::SeededContent content;
      content.activities = 3;
      content.days = 4;
      content.photos = 3;
      content.container = scene_.place().container().string();
      storegen::makeSeededStore(path(), coredatastack::model(version.rawValue()), content);
    }));
  }
  void addGarbage() const { std::ofstream(path()) << kGarbage; }

  [[nodiscard]] std::string path() const { return scene_.place().storeURL().filePath().value(); }

  /// Starts so many programs at once. Their outcomes, in the order of the programs.
  Texts start(int programs) {
    endAll();
    scene_.lay();
    for (int i = 0; i < programs; ++i) {
      const std::string role = areOneProgram_ ? "starter" : "starter" + std::to_string(i);
      starters_.push_back(
          std::make_unique<Companion>([&](Line& line) { Starter(scene_, i, role).run(line); }));
    }
    for (const auto& starter : starters_) EXPECT_EQ(starter->answer(), "ready");
    constexpr std::array kSpreads{1U, 1000U, 20'000U};
    const auto spread = kSpreads[random_() % kSpreads.size()];
    for (const auto& starter : starters_) {
      starter->line().say(std::to_string(random_() % spread));
    }
    Texts outcomes;
    for (const auto& starter : starters_) outcomes.push_back(starter->answer());
    return outcomes;
  }
  [[nodiscard]] std::string rows() const { return support::StoreLook(path()).rowsOfEntities(); }

  void expectWorks() {
    for (const auto& starter : starters_) starter->line().say("write");
    for (const auto& starter : starters_) EXPECT_EQ(starter->answer(), "done");
    const support::StoreLook look(path());
    EXPECT_EQ(look.column("SELECT count(*) FROM Activity WHERE title LIKE 'starter %'"),
              Texts{std::to_string(starters_.size())});
    EXPECT_EQ(
        look.column("SELECT count(DISTINCT title) FROM Activity WHERE title LIKE 'starter %'"),
        Texts{std::to_string(starters_.size())});
    static_cast<void>(look.contents());
  }
  /// Each has inherited what leads to those before it, so none is told by a line that ends.
  void endAll() {
    for (const auto& starter : starters_) starter->line().say("end");
    for (const auto& starter : starters_) EXPECT_TRUE(starter->endedWell());
    starters_.clear();
  }
  void expectEachToldOnce() {
    for (const auto& starter : starters_) {
      starter->line().say("count");
      EXPECT_EQ(starter->answer(), "1");
    }
    endAll();
  }

  /// Has `expect` look at the outcomes of each race, before anybody writes.
  template <typename Expect>
  void race(Expect&& expect) {
    const std::uint64_t rounds = support::numberFrom("STARTUP_ROUNDS", 5);
    for (int programs = 2; programs <= 4; ++programs) {
      for (std::uint64_t i = 0; i < rounds && !HasFailure(); ++i) expect(start(programs));
    }
  }
  /// The same rows as after a program that was alone.
  void raceToTheSameStore(const std::string& outcome, const std::string& orElse) {
    scene_.remember();
    ASSERT_EQ(start(1), Texts{outcome});
    const std::string alone = rows();
    race([&](const Texts& outcomes) {
      EXPECT_NE(std::ranges::find(outcomes, outcome), outcomes.end());
      for (const std::string& one : outcomes) EXPECT_TRUE(one == outcome || one == orElse) << one;
      EXPECT_EQ(rows(), alone);
      EXPECT_EQ(
          Version::storeVersion(coredatastack::storeMetadata(scene_.place().storeURL()).value()),
          Version::version7);
      expectWorks();
      expectEachToldOnce();
    });
  }

  const std::uint64_t seed_ =
      support::numberFrom("STARTUP_SEED", support::runSeed(std::random_device()()));
  std::mt19937_64 random_{seed_};
  support::Scene scene_;
  std::vector<std::unique_ptr<Companion>> starters_;
  bool areOneProgram_ = false;
};

TEST_F(StartupRace, MakesOneStoreWhereThereIsNone) { raceToTheSameStore("opened", "opened"); }

TEST_F(StartupRace, OpensAStoreOfTheNewestVersion) {
  addStore(Version::version7);

  raceToTheSameStore("opened", "opened");
}

TEST_F(StartupRace, BringsTheOldestStoreForwardOnce) {
  addStore(Version::version1);

  raceToTheSameStore("migrated", "opened");
}

TEST_F(StartupRace, BringsPhotosInFilesForwardOnce) {
  addStore(Version::version6);

  raceToTheSameStore("migrated", "opened");
}

TEST_F(StartupRace, BringsAStoreForwardForOneProgramThatIsStartedTwice) {
  areOneProgram_ = true;
  addStore(Version::version6);

  raceToTheSameStore("migrated", "opened");
}

TEST_F(StartupRace, LeavesAFileThatIsNoStoreAsItIs) {
  addGarbage();
  scene_.remember();

  race([&](const Texts& outcomes) {
    for (const std::string& one : outcomes) {
      EXPECT_TRUE(one.starts_with("Error Domain=NSCocoaErrorDomain")) << one;
    }
    EXPECT_EQ(support::bytesOf(path()), kGarbage);
    expectEachToldOnce();
  });
}

}  // namespace
