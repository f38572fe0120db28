#include "Tests/Migration/Faults/OldStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <vector>

#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Files/TemporaryDirectory.h"
#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Internal/RandomSource.h"
#include "Tests/Support/CrashRunner.h"
#include "Tools/storegen/SeededStore.h"

namespace migrating {

namespace fs = std::filesystem;
using support::Acknowledgements;
using support::bytesOf;
using support::filesIn;
using support::StoreLook;
using support::succeeds;

namespace {

constexpr double kNow = 800'000'000;
constexpr std::uint64_t kRandomSeed = 7;

}  // namespace

OldStore::OldStore(const Scene& scene, const Options& options) : scene_(scene), options_(options) {
  const Files others = filesIn(scene_.place().container());
  make();
  for (const auto& [name, bytes] : filesIn(scene_.place().container())) {
    if (!others.contains(name)) photos_.emplace(name, bytes);
  }
  oldBytes_ = bytesOf(path());
  old_ = StoreLook(path()).contents();
}

fs::path OldStore::path() const { return scene_.place().directory() / options_.name; }

void OldStore::make() const {
  const auto outcome = support::runInChild([&](const Acknowledgements& done) {
    storegen::SeededContent content;
    content.seed = options_.seed;
    content.activities = 3;
    content.days = 4;
    content.photos = 4;
    content.photoBytes = 2000;
    content.container = scene_.place().container().string();
    storegen::makeSeededStore(path(), coredatastack::model(options_.version.rawValue()), content);
    done.send("made");
    if (!options_.hasLog) return;
    const auto context = support::contextOver(url(), options_.version);
    context->performBlockAndWait([&] {
      context->insertNewObject("Reminder")->setValue("06:30", "time");
      context->save();
      std::raise(SIGKILL);
    });
  });
  if (outcome.acknowledged.empty()) throw std::runtime_error("the old store was not made");
}

void OldStore::migrate() const {
  const foundation::ManualClock clock(kNow);
  const foundation::SeededRandomSource random(kRandomSeed);
  coredatastack::CoreDataMigrator().migrateStore(url(), CoreDataMigrationVersion::newest());
}

void OldStore::start() const {
  const auto directory = foundation::TemporaryDirectory::ofProcess();
  const auto held = directory.lock();
  directory.removeContents(url());
  migrate();
}

void OldStore::learn() {
  if (!starts()) throw std::runtime_error("the store was not brought forward");
  brought_ = StoreLook(path()).contents();
}

FileOperationCount OldStore::countOperations(const FileTrouble& trouble) const {
  scene_.lay();
  return support::countOperations(trouble, [&] { start(); });
}

bool OldStore::starts() const {
  return succeeds([&] { start(); });
}

OldStore::State OldStore::state() const {
  std::string contents;
  try {
    contents = StoreLook(path()).contents();
  } catch (const std::runtime_error& error) {
    ADD_FAILURE() << error.what();
    return State::neither;
  }
  if (contents == brought_) return State::brought;
  return contents == old_ ? State::old : State::neither;
}

bool OldStore::wentOnWithoutWidgets() const {
  const StoreLook look(path());
  return look.column("SELECT 1 FROM sqlite_master WHERE name='ActivityWidgetGroup'").size() == 1 &&
         look.column("SELECT 1 FROM ActivityWidgetGroup").empty();
}

bool OldStore::isSameFile() const { return options_.hasLog || bytesOf(path()) == oldBytes_; }

bool OldStore::photosAreInFiles() const {
  const fs::path container = scene_.place().container();
  std::vector<fs::path> places{container};
  for (const auto& entry : fs::directory_iterator(container)) {
    if (entry.path().filename().string().starts_with("photos-of-")) places.push_back(entry.path());
  }
  return std::ranges::all_of(photos_, [&](const auto& photo) {
    return std::ranges::any_of(places, [&](const fs::path& place) {
      return bytesOf(place / photo.first) == photo.second;
    });
  });
}

LoneStore::LoneStore(const OldStore::Options& options) : store(scene, options) {
  scene.remember();
  store.learn();
  finished_ = scene.names();
  scene.lay();
}

void LoneStore::expectFinished(std::string_view when) const {
  EXPECT_EQ(store.state(), OldStore::State::brought) << when;
  EXPECT_EQ(scene.names(), finished_) << when;
}

}  // namespace migrating
