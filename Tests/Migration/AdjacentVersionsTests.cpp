// Random stores of each version, brought to the next: every value, link, key and mark is compared
// with what follows from the names in the two models. The environment's MIGRATION_SEED is the first
// seed and MIGRATION_COUNT the number of stores for each pair of versions.

#include <gtest/gtest.h>

#include <iostream>
#include <set>

#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/CoreDataMigrationStep.h"
#include "CoreDataStack/MurtelleMigrationPolicyV6toV7.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Migration/Expectation.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tools/storegen/Draw.h"
#include "Tools/storegen/SeededStore.h"

namespace {

using coredata::HistoryPosition;
using coredata::NSEntityDescription;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredatastack::CoreDataMigrationStep;
using coredatastack::CoreDataMigrationVersion;
using foundation::Date;
using foundation::Ref;
using foundation::URL;
using foundation::Value;
using images::StoreImage;
using storegen::SeededContent;

constexpr double kMoment = 731080800.5;

SeededContent randomContent(std::uint64_t seed, const support::MigrationPlace& place) {
  storegen::Draw draw(storegen::streamOf(seed, "content"), 0);
  SeededContent content;
  content.seed = seed;
  content.activities = draw.below(9);
  content.days = draw.below(6);
  content.photos = draw.below(8);
  content.photoBytes = draw.below(40);
  content.absentPercent = static_cast<int>(draw.below(60));
  content.container = place.container().string();
  return content;
}

Ref<coredata::NSPersistentStore> storeOf(NSManagedObjectContext& context) {
  return context.persistentStoreCoordinator()->store();
}

/// What a store tells of itself.
struct Testimony {
  StoreImage image;
  std::string identifier;
  Value note;
  HistoryPosition position;
};

constexpr const char* kNote = "note";

Testimony testimonyOf(NSManagedObjectContext& context) {
  const auto store = storeOf(context);
  return {images::imageOf(context), store->identifier(), store->metadata()[kNote],
          store->engine()->newestTransaction()};
}

/// The photos' files by name.
using PhotoFiles = std::map<std::string, foundation::Data>;

PhotoFiles photoFilesIn(const support::MigrationPlace& place) {
  PhotoFiles files;
  const auto directory = place.container() / "photo";
  if (!std::filesystem::exists(directory)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    files[entry.path().filename().string()] =
        foundation::FileManager::defaultManager().contents(entry.path().string());
  }
  return files;
}

/// Takes the identifiers of the new widgets out of the image: each is another one.
void takeIdentifiers(StoreImage& image) {
  std::set<foundation::UUID> identifiers;
  std::size_t count = 0;
  for (const char* const entity : {"ActivityWidgetGroup", "ActivityWidgetItem"}) {
    for (auto& [key, object] : image.at(entity)) {
      const Value identifier = object.attributes.at("uuid");
      ASSERT_NE(identifier.uuid(), nullptr) << entity << " " << key;
      identifiers.insert(*identifier.uuid());
      object.attributes.erase("uuid");
      ++count;
    }
  }
  EXPECT_EQ(identifiers.size(), count);
}

/// A version and the next.
class AdjacentVersions : public testing::TestWithParam<CoreDataMigrationVersion> {
 protected:
  AdjacentVersions() {
    files_.watch(0);
    files_.skipSyncs();
    coredatastack::MurtelleMigrationPolicyV6toV7::registerClass();
  }

  /// Migrates the store of one seed and looks at everything.
  void check(std::uint64_t seed) const {
    const support::MigrationPlace place;
    const SeededContent content = randomContent(seed, place);
    storegen::makeSeededStore(*place.storeURL().filePath(), step_.sourceModel, content);
    const Testimony before = testimonyOfOld(place.storeURL());
    const StoreImage expected = expectation(before.image, photoFilesIn(place));
    const URL next = place.at("next.sqlite");

    const auto manager =
        foundation::make<coredata::NSMigrationManager>(step_.sourceModel, step_.destinationModel);
    manager->migrateStore(place.storeURL(), coredata::NSSQLiteStoreType, {}, step_.mappingModel,
                          next, coredata::NSSQLiteStoreType, {});

    const auto context = support::contextOver(next, *from_.next());
    context->performBlockAndWait([&] {
      Testimony after = testimonyOf(*context);
      if (isLast()) takeIdentifiers(after.image);
      EXPECT_EQ(images::differences(expected, after.image), "");
      EXPECT_EQ(after.identifier, before.identifier);
      EXPECT_EQ(after.note, before.note);
      EXPECT_EQ(after.position, before.position);
      checkWhatComesNext(*context, before, content);
    });
    const auto old = support::contextOver(place.storeURL(), from_);
    old->performBlockAndWait(
        [&] { EXPECT_EQ(images::differences(before.image, images::imageOf(*old)), ""); });
  }

 private:
  [[nodiscard]] bool isLast() const { return *from_.next() == CoreDataMigrationVersion::newest(); }

  /// What the old store tells, after the program has noted something in it.
  [[nodiscard]] Testimony testimonyOfOld(const URL& url) const {
    const auto context = support::contextOver(url, from_);
    return context->performBlockAndWait([&] {
      storeOf(*context)->engine()->setMetadata({{kNote, Value("kept")}});
      return testimonyOf(*context);
    });
  }

  [[nodiscard]] StoreImage expectation(const StoreImage& old, const PhotoFiles& photos) const {
    StoreImage expected = images::expectedIn(*step_.destinationModel, old);
    if (!isLast()) return expected;
    const auto file = [&](const std::string& name) { return photos.at(name); };
    images::expectVersion7(expected, old, file, Date::now());
    for (const char* const entity : {"ActivityWidgetGroup", "ActivityWidgetItem"}) {
      for (auto& [key, object] : expected.at(entity)) object.attributes.erase("uuid");
    }
    return expected;
  }

  /// Keys of objects that were deleted do not come back, and the history goes on.
  void checkWhatComesNext(NSManagedObjectContext& context, const Testimony& before,
                          const SeededContent& content) const {
    std::vector<std::pair<Ref<NSManagedObject>, coredata::ObjectKey>> added;
    for (const NSEntityDescription* entity : step_.sourceModel->entities()) {
      if (step_.destinationModel->entity(entity->name()) == nullptr) continue;
      const auto lost = static_cast<coredata::ObjectKey>(objectCount(*entity, content)) + 1;
      added.emplace_back(context.insertNewObject(entity->name()), lost + 1);
    }
    context.save();
    for (const auto& [object, key] : added) {
      EXPECT_EQ(object->objectID()->key(), key) << object->entity().name();
    }
    const HistoryPosition now = storeOf(context)->engine()->newestTransaction();
    EXPECT_EQ(now.number, before.position.number + 1);
    EXPECT_GT(now.timestamp, before.position.timestamp);
  }

  const CoreDataMigrationVersion from_ = GetParam();
  const CoreDataMigrationStep step_{mapped()};
  const foundation::ManualClock clock_{kMoment};
  support::FaultVFS files_;
  const coredata::StoreVFSOverride override_{files_.name()};

  /// The step, its mapping taken from the bundle that is the program's in a place.
  [[nodiscard]] static CoreDataMigrationStep mapped() {
    const support::MigrationPlace place;
    return {GetParam(), *GetParam().next()};
  }
};

TEST_P(AdjacentVersions, KeepEveryValueLinkAndKey) {
  constexpr std::uint64_t kQuickCount = 40;
  const std::uint64_t first = support::numberFrom("MIGRATION_SEED", support::runSeed(1));
  const std::uint64_t count = support::numberFrom("MIGRATION_COUNT", kQuickCount);
  std::cout << "MIGRATION_SEED=" << first << " MIGRATION_COUNT=" << count << '\n';
  for (std::uint64_t seed = first; seed < first + count && !HasFailure(); ++seed) {
    SCOPED_TRACE("MIGRATION_SEED=" + std::to_string(seed) + " MIGRATION_COUNT=1");
    check(seed);
  }
}

INSTANTIATE_TEST_SUITE_P(EachStep, AdjacentVersions,
                         testing::ValuesIn(CoreDataMigrationVersion::allCases().begin(),
                                           CoreDataMigrationVersion::allCases().end() - 1),
                         [](const auto& version) {
                           return "FromVersion" + std::to_string(version.index + 1);
                         });

}  // namespace
