#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Foundation/Files/Directories.h"
#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"

// Processes that start on one old store at once: an application and its extensions.

namespace {

using migrating::LoneStore;
using support::Acknowledgements;
using State = migrating::OldStore::State;
using Version = migrating::CoreDataMigrationVersion;

/// Each has settings and a temporary directory of its own, as programs of one group have.
void takeOwnDirectories(const LoneStore& lone, int process) {
  const auto homes = lone.scene.place().directory() / ("homes" + std::to_string(process));
  foundation::Directories::set(
      foundation::Directories::below(homes.string(), "com.tessaline.test"));
}

/// Starts so many processes on the store, as near to one moment as can be.
void startTogether(const LoneStore& lone, int processes, const Acknowledgements& done) {
  int gate[2];
  if (::pipe(gate) != 0) throw std::runtime_error("no pipe");
  std::vector<pid_t> children;
  for (int i = 0; i < processes; ++i) {
    const pid_t child = ::fork();
    if (child != 0) {
      children.push_back(child);
      continue;
    }
    try {
      takeOwnDirectories(lone, i);
      char token = 0;
      ::close(gate[1]);
      if (::read(gate[0], &token, 1) == 0) lone.store.start();
      ::_exit(0);
    } catch (const std::exception& error) {
      done.send(error.what());
      ::_exit(1);
    }
  }
  ::close(gate[1]);
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    done.send(status == 0 ? "good" : "bad");
  }
}

class RacingMigrations : public testing::TestWithParam<Version> {};

TEST_P(RacingMigrations, BothEndWithTheNewStore) {
  const LoneStore lone({.version = GetParam()});
  for (std::size_t round = 1; round <= support::tries(10, 100); ++round) {
    lone.scene.lay();
    const int processes = 2 + static_cast<int>(round % 3 == 0);
    const auto outcome = support::runInChild(
        [&](const Acknowledgements& done) { startTogether(lone, processes, done); },
        std::chrono::seconds(30));
    ASSERT_FALSE(outcome.timedOut) << "round " << round;
    ASSERT_EQ(outcome.acknowledged,
              std::vector<std::string>(static_cast<std::size_t>(processes), "good"))
        << "round " << round;
    ASSERT_EQ(lone.store.state(), State::brought) << "round " << round;
    EXPECT_TRUE(std::filesystem::is_empty(lone.scene.place().container())) << "round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Versions, RacingMigrations,
                         testing::Values(Version::version1, Version::version6),
                         [](const auto& tested) { return tested.index == 0 ? "First" : "Sixth"; });

}  // namespace
