#include "Tests/Processes/RestoredStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <optional>
#include <stdexcept>

#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Internal/RandomSource.h"
#include "Tests/Processes/Companion.h"
#include "Tests/Support/MainQueueWait.h"
#include "Tests/Support/RecordingLogger.h"
#include "Tools/storegen/SeededStore.h"

namespace restoring {

namespace fs = std::filesystem;
using coredatastack::CoreDataConfiguration;
using coredatastack::CoreDataStack;
using coredatastack::Failure;
using foundation::make;
using foundation::Ref;
using support::Acknowledgements;
using support::Companion;
using support::RecordingLogger;

namespace {

constexpr double kNow = 800'000'000;
constexpr std::uint64_t kRandomSeed = 7;
constexpr std::uint64_t kLiveSeed = 1;
constexpr std::uint64_t kBackupSeed = 2;

storegen::SeededContent content(std::uint64_t seed, const fs::path& container) {
  storegen::SeededContent content;
  content.seed = seed;
  content.activities = 3;
  content.days = 4;
  content.photos = 4;
  content.photoBytes = 2000;
  content.container = container.string();
  return content;
}

/// A clock and a source of random numbers that are the same in each run.
struct Fixed {
  explicit Fixed(std::uint64_t seed = kRandomSeed) : random(seed) {}

  foundation::ManualClock clock{kNow};
  foundation::SeededRandomSource random;
};

Ref<CoreDataStack> stackOver(const foundation::URL& store, const Ref<RecordingLogger>& logger) {
  return make<CoreDataStack>(
      CoreDataConfiguration(CoreDataConfiguration::Stage::production, "Model",
                            coredatastack::modelBundleIdentifier(), "iCloud.com.tessaline",
                            coredatastack::appGroupIdentifier(), "app", store, false),
      logger);
}

void doInChild(foundation::FunctionRef<void()> work) {
  if (!support::succeeds(work)) throw std::runtime_error("the scene was not laid out");
}

}  // namespace

RestoredStore::RestoredStore(const Version& backup) : version_(backup) {
  makeStore();
  makeBackup(backup);
  scene_.remember();
  old_ = rows(path());
  if (!starts() || state() != State::old) throw std::runtime_error("the store was not opened");
  oldNames_ = names();
  scene_.lay();
  if (!restores()) throw std::runtime_error("the backup was not restored");
  restored_ = rows(path());
  if (!starts()) throw std::runtime_error("the restored store was not opened");
  restoredNames_ = names();
  scene_.lay();
}

fs::path RestoredStore::path() const { return scene_.place().directory() / "Model.sqlite"; }

void RestoredStore::makeStore() const {
  const auto outcome = support::runInChild([&](const Acknowledgements& done) {
    storegen::makeSeededStore(path(), coredatastack::model(Version::version7.rawValue()),
                              content(kLiveSeed, {}));
    const auto context = support::contextOver(scene_.place().storeURL(), Version::version7);
    context->performBlockAndWait([&] {
      context->insertNewObject("Reminder")->setValue("06:30", "time");
      context->save();
      done.send("saved");
      std::raise(SIGKILL);
    });
  });
  if (outcome.acknowledged.empty()) throw std::runtime_error("the live store was not made");
}

void RestoredStore::makeBackup(const Version& version) {
  const fs::path file = scene_.place().directory() / "Backup.sqlite";
  doInChild([&] {
    storegen::makeSeededStore(file, coredatastack::model(version.rawValue()),
                              content(kBackupSeed, scene_.place().container()));
  });
  backup_ = foundation::Data::fromText(support::bytesOf(file));
  unbrought_ = rows(file);
  for (const char* suffix : {"", "-wal", "-shm", "-lock", "-bell"}) {
    fs::remove(file.string() + suffix);
  }
}

RestoredStore::Ending RestoredStore::restore(const support::FileTrouble& trouble, std::size_t point,
                                             const support::FileOperationCount& of) const {
  Companion other([&](support::Line& line) {
    const auto context = support::contextOver(scene_.place().storeURL(), Version::version7);
    context->performBlockAndWait(
        [&] { static_cast<void>(support::allObjects(*context, "Activity")); });
    line.say("open");
    static_cast<void>(line.hear());
  });
  static_cast<void>(other.answer());
  // One that comes after a restore that was killed must not give its copy the same name.
  const Fixed fixed(kRandomSeed + point);
  const auto logger = make<RecordingLogger>();
  Ending ending;
  bool isComplete = false;
  {
    std::optional<support::FileFaults> faults;
    if (point != 0 || trouble.room) faults.emplace(trouble, point, of);
    stackOver(scene_.place().storeURL(), logger)
        ->restoreFromDropbox(backup_, [&](const Failure& failure) {
          isComplete = true;
          if (failure) ending.error = failure->description();
        });
  }
  if (!isComplete) throw std::runtime_error("the restore's completion was not called");
  ending.logged = logger->descriptions();
  return ending;
}

support::FileOperationCount RestoredStore::countOperations(
    const support::FileTrouble& trouble) const {
  scene_.lay();
  return support::countOperations(trouble, [&] {
    const Ending ending = restore();
    if (!ending.error.empty()) throw std::runtime_error(ending.error);
  });
}

bool RestoredStore::starts() const {
  return support::succeeds([&] { start(); });
}

void RestoredStore::start() const {
  const Fixed fixed;
  const auto stack = stackOver(scene_.place().storeURL(), make<RecordingLogger>());
  std::atomic<bool> isDone{false};
  Failure failure;
  stack->setup([&](const std::expected<bool, Failure>& outcome) {
    if (!outcome) failure = outcome.error();
    isDone = true;
    foundation::MainQueue::async([] {});
  });
  if (!support::runMainQueueUntil([&] { return isDone.load(); })) {
    throw std::runtime_error("the setup did not end");
  }
  if (failure) failure->raise();
  const auto& stores = stack->persistentStoreCoordinator()->persistentStores();
  stack->persistentStoreCoordinator()->removePersistentStore(stores.front());
}

bool RestoredStore::restores() const {
  return support::succeeds([&] {
    const Ending ending = restore();
    if (!ending.error.empty()) throw std::runtime_error(ending.error);
    if (!ending.logged.empty()) throw std::runtime_error(ending.logged.front());
  });
}

std::string RestoredStore::rows(const fs::path& store) const {
  return support::StoreLook(store).rowsOfEntities();
}

RestoredStore::State RestoredStore::state() const {
  std::string found;
  try {
    found = rows(path());
  } catch (const std::runtime_error& error) {
    ADD_FAILURE() << error.what();
    return State::neither;
  }
  if (found == old_) return State::old;
  if (found == restored_) return State::restored;
  return found == unbrought_ ? State::unbrought : State::neither;
}

std::set<std::string> RestoredStore::names() const {
  std::set<std::string> result = scene_.names();
  std::erase_if(result, [](const std::string& name) {
    return name.starts_with("homes") || name == "Model.sqlite-migration";
  });
  return result;
}

std::set<std::string> RestoredStore::leftovers(State state) const {
  std::set<std::string> result;
  const std::set<std::string> found = names();
  const auto& expected = state == State::old ? oldNames_ : restoredNames_;
  std::ranges::set_difference(found, expected, std::inserter(result, result.end()));
  return result;
}

std::set<std::string> RestoredStore::strangeLeftovers(State state) const {
  std::set<std::string> result = leftovers(state);
  std::erase_if(result, [](const auto& name) { return name.starts_with("Model.sqlite-incoming"); });
  return result;
}

bool RestoredStore::keepsCopy() const {
  const auto names = scene_.place().temporaryFiles();
  return std::ranges::find(names, "Replaced.sqlite") != names.end();
}

}  // namespace restoring
