#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreDataStack/CoreDataMigrationStep.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Reliability/Memory/Operations.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreFiles.h"
#include "Tools/storegen/SeededStore.h"

namespace shortage {

using coredata::NSMigrationManager;
using coredata::NSSQLiteStoreType;
using coredatastack::CoreDataMigrationStep;
using coredatastack::CoreDataMigrationVersion;
using foundation::make;
using foundation::Ref;

namespace {

constexpr double kNow = 800'000'000;

/// A step, the files of a seeded store that it is for, and what it makes of it.
class StepPlace {
 public:
  StepPlace(const CoreDataMigrationVersion& from, const CoreDataMigrationVersion& to)
      : step((coredatastack::CoreDataMigrator(), from), to) {
    storegen::SeededContent content;
    content.seed = 1;
    content.activities = 1;
    content.days = 1;
    content.photos = 1;
    content.photoBytes = 500;
    content.container = place.container().string();
    storegen::makeSeededStore((place.directory() / "Model.sqlite").string(), step.sourceModel,
                              content);
    before_ = support::StoreLook(place.directory() / "Model.sqlite").contents();
    photos_ = support::filesIn(place.container());
  }

  void migrate(const std::string& destination) const {
    const auto manager = make<NSMigrationManager>(step.sourceModel, step.destinationModel);
    manager->migrateStore(place.storeURL(), NSSQLiteStoreType, {}, step.mappingModel,
                          place.at(destination), NSSQLiteStoreType, {});
  }
  /// A step sets the photos' files aside.
  void layPhotos() const { support::putFiles(photos_, place.container()); }
  [[nodiscard]] std::filesystem::path at(const std::string& name) const {
    return place.directory() / name;
  }
  void expectSourceUntouched() const {
    EXPECT_EQ(support::StoreLook(place.directory() / "Model.sqlite").contents(), before_);
  }

  const support::MigrationPlace place;
  const CoreDataMigrationStep step;

 private:
  std::string before_;
  support::Files photos_;
};

/// The rows of all entities but those of the newest version's widgets.
std::string withoutWidgets(const std::string& rows) {
  std::istringstream lines(rows);
  std::string result;
  bool isLeftOut = false;
  for (std::string line; std::getline(lines, line);) {
    const bool isName = !line.contains('|');
    if (isName) isLeftOut = line.starts_with("ActivityWidget");
    if (isName || !isLeftOut) result += line + '\n';
  }
  return result;
}

class Step final : public Attempt {
 public:
  Step(const StepPlace& place, std::string& made) : place_(place), made_(made) { clear(); }
  ~Step() override { clear(); }

  void act() override { place_.migrate(kDestination); }

  void check(bool threw) override {
    place_.expectSourceUntouched();
    // What a step that failed has written is for whoever called to remove.
    if (threw) {
      clear();
      place_.migrate(kDestination);
    }
    const std::string rows = support::StoreLook(place_.at(kDestination)).rowsOfEntities();
    if (made_.empty()) made_ = rows;
    // A step goes on where it cannot arrange the widgets, which its user can do as well.
    const bool isLessWidgets = !threw && rows == withoutWidgets(made_);
    if (!isLessWidgets) {
      EXPECT_EQ(rows, made_);
    }
  }

 private:
  static constexpr const char* kDestination = "made.sqlite";

  void clear() const {
    place_.layPhotos();
    for (const char* part : {"", "-wal", "-shm", "-journal"}) {
      std::filesystem::remove(place_.at(std::string(kDestination) + part));
    }
  }

  const StepPlace& place_;
  std::string& made_;
  const foundation::ManualClock clock_{kNow};
};

Operation migration(const std::string& name, const CoreDataMigrationVersion& from,
                    const CoreDataMigrationVersion& to) {
  return {name, [from, to, place = std::shared_ptr<StepPlace>(),
                 made = std::make_shared<std::string>()]() mutable {
            if (!place) place = std::make_shared<StepPlace>(from, to);
            return std::make_unique<Step>(*place, *made);
          }};
}

}  // namespace

std::vector<Operation> migrationOperations() {
  using Version = CoreDataMigrationVersion;
  return {migration("MigratingInTheStore", Version::version4, Version::version5),
          migration("MigratingByPolicies", Version::version6, Version::version7)};
}

}  // namespace shortage
