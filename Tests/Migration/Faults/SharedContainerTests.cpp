#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"

// Two stores that keep their photos in one container, as a store and its restored backup do.

namespace {

using migrating::OldStore;
using support::FileFaults;
using support::FileOperationCount;
using support::Scene;
using State = migrating::OldStore::State;
using Version = migrating::CoreDataMigrationVersion;

class SharedContainer : public testing::Test {
 protected:
  SharedContainer() {
    scene_.remember();
    first_.learn();
    second_.learn();
    scene_.lay();
  }
  [[nodiscard]] static bool isSafe(const OldStore& store) {
    const State state = store.state();
    return state == State::brought || (state == State::old && store.photosAreInFiles());
  }
  void expectBothBrought(std::string_view when) const {
    EXPECT_EQ(first_.state(), State::brought) << when;
    EXPECT_EQ(second_.state(), State::brought) << when;
    EXPECT_TRUE(support::filesIn(scene_.place().container()).empty()) << when;
  }

  Scene scene_;
  OldStore first_{scene_, {.version = Version::version6, .name = "First.sqlite", .seed = 1}};
  OldStore second_{scene_, {.version = Version::version6, .name = "Second.sqlite", .seed = 2}};
};

TEST_F(SharedContainer, KeepsTheOtherStoresPhotos) {
  ASSERT_TRUE(first_.starts());

  EXPECT_EQ(first_.state(), State::brought);
  EXPECT_EQ(second_.state(), State::old);
  EXPECT_TRUE(second_.photosAreInFiles());
  ASSERT_TRUE(second_.starts());
  expectBothBrought("one after the other");
}

TEST_F(SharedContainer, KeepsBothStoresPhotosWhenOneIsKilledAndTheOtherGoesFirst) {
  const FileOperationCount count = first_.countOperations({});
  // The files are moved by calls that are not SQLite's, the last of the run.
  std::vector<std::size_t> points = support::points(count.sqlite, 4, 200);
  for (const std::size_t point : support::points(count.others, 10, 200)) {
    points.push_back(count.sqlite + point);
  }
  for (const std::size_t point : points) {
    scene_.lay();
    const auto outcome = support::runInChild([&](const auto&) {
      const FileFaults faults({}, point, count);
      first_.start();
    });
    ASSERT_TRUE(outcome.wasKilled()) << point;
    EXPECT_TRUE(isSafe(first_)) << point;
    EXPECT_TRUE(isSafe(second_)) << point;
    EXPECT_TRUE(second_.starts()) << point;
    EXPECT_EQ(second_.state(), State::brought) << point;
    EXPECT_TRUE(isSafe(first_)) << point;
    EXPECT_TRUE(first_.starts()) << point;
    expectBothBrought("killed at " + std::to_string(point));
    if (HasFailure()) break;
  }
}

}  // namespace
