#include "Tools/storegen/SeededStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "CoreData/Object/NSManagedObject.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/StoreDump.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

using coredata::NSEntityDescription;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSManagedObjectModel;
using coredatastack::CoreDataMigrationVersion;
using foundation::Ref;
using foundation::URL;
using foundation::Value;
using storegen::SeededContent;

constexpr SeededContent content(std::uint64_t seed) {
  return {.seed = seed,
          .activities = 24,
          .days = 60,
          .photos = 40,
          .photoBytes = 50,
          .absentPercent = 25,
          .container = {}};
}

using Objects = std::vector<Ref<NSManagedObject>>;

/// What a relationship leads to, one or many.
Objects targets(const NSManagedObject& object, std::string_view name) {
  const Value value = object.valueForKey(name);
  Objects result;
  const auto add = [&](const Value& one) {
    auto* const target = dynamic_cast<NSManagedObject*>(one.object());
    if (target != nullptr) result.emplace_back(target);
  };
  if (value.list() == nullptr) add(value);
  if (value.list() != nullptr) std::ranges::for_each(*value.list(), add);
  return result;
}

Objects all(NSManagedObjectContext& context, const NSEntityDescription& entity) {
  Objects result;
  for (const auto& object :
       context.fetch(coredata::NSFetchRequest<NSManagedObject>(entity.name()))) {
    result.push_back(object);
  }
  return result;
}

bool isThere(const NSManagedObject& object, const std::string& property) {
  if (object.entity().relationship(property) != nullptr) return !targets(object, property).empty();
  return !object.valueForKey(property).isNone();
}

/// Whether some objects are to be without it.
bool mayBeAbsent(const NSEntityDescription& entity, const std::string& property) {
  return entity.property(property)->isOptional() && property != "filename";
}

class SeededStore : public testing::TestWithParam<CoreDataMigrationVersion> {
 protected:
  [[nodiscard]] URL store(std::string_view name) const {
    return URL::fileURL((directory.path() / name).string());
  }
  void make(std::string_view name, const SeededContent& what) const {
    storegen::makeSeededStore((directory.path() / name).string(), model, what);
  }
  void read(std::string_view name, const std::function<void(NSManagedObjectContext&)>& work) const {
    const auto context = support::contextOver(store(name), model);
    context->performBlockAndWait([&] { work(*context); });
  }
  [[nodiscard]] std::string dump(std::string_view name) const {
    std::string result;
    read(name, [&](NSManagedObjectContext& context) { result = support::dumpOf(context); });
    return result;
  }

  support::TemporaryDirectory directory;
  const Ref<const NSManagedObjectModel> model = coredatastack::model(GetParam().rawValue());
};

TEST_P(SeededStore, FillsEveryPropertyAndLeavesSomeAbsent) {
  make("store", content(1));

  read("store", [&](NSManagedObjectContext& context) {
    for (const NSEntityDescription* entity : model->entities()) {
      const Objects objects = all(context, *entity);
      EXPECT_EQ(objects.size(), storegen::objectCount(*entity, content(1))) << entity->name();
      for (const auto& [name, property] : entity->propertiesByName()) {
        const auto present = static_cast<std::size_t>(std::ranges::count_if(
            objects, [&](const auto& object) { return isThere(*object, name); }));
        EXPECT_GT(present, 0U) << entity->name() << "." << name;
        if (mayBeAbsent(*entity, name) && objects.size() > 10) {
          EXPECT_LT(present, objects.size()) << entity->name() << "." << name;
        }
      }
    }
  });
}

TEST_P(SeededStore, LinksBothSidesOfEveryRelationship) {
  make("store", content(2));

  read("store", [&](NSManagedObjectContext& context) {
    for (const NSEntityDescription* entity : model->entities()) {
      for (const Ref<NSManagedObject>& object : all(context, *entity)) {
        for (const auto& [name, property] : entity->propertiesByName()) {
          const auto* const relationship = entity->relationship(name);
          if (relationship == nullptr) continue;
          const std::string& back = relationship->inverseRelationship()->name();
          for (const auto& target : targets(*object, name)) {
            EXPECT_FALSE(target->isDeleted()) << entity->name() << "." << name;
            const Objects found = targets(*target, back);
            EXPECT_NE(std::ranges::find(found, object), found.end())
                << entity->name() << "." << name;
          }
        }
      }
    }
  });
}

TEST_P(SeededStore, FollowsFromItsSeed) {
  make("one", content(3));
  make("same", content(3));
  make("other", content(4));

  EXPECT_EQ(dump("one"), dump("same"));
  EXPECT_NE(dump("one"), dump("other"));
  const auto identifier = [&](std::string_view name) {
    return coredata::NSPersistentStoreCoordinator::metadataForPersistentStore(
               coredata::NSSQLiteStoreType, store(name))
        .at(std::string(coredata::NSStoreUUIDKey));
  };
  EXPECT_EQ(identifier("one"), Value(storegen::seededIdentifier(3).uuidString()));
  EXPECT_EQ(identifier("one"), identifier("same"));
  EXPECT_NE(identifier("one"), identifier("other"));
}

TEST_P(SeededStore, NeverGivesOutTheKeysThatItLost) {
  make("store", content(5));

  read("store", [&](NSManagedObjectContext& context) {
    for (const NSEntityDescription* entity : model->entities()) {
      const auto added = context.insertNewObject(entity->name());
      context.save();
      EXPECT_EQ(added->objectID()->key(),
                static_cast<coredata::ObjectKey>(storegen::objectCount(*entity, content(5))) + 2)
          << entity->name();
    }
  });
}

TEST_P(SeededStore, HasNoActivitiesWhenNoneAreWanted) {
  make("store", {.activities = 0, .days = 0, .photos = 0, .container = {}});

  EXPECT_EQ(dump("store"), "");
}

TEST_P(SeededStore, IsMadeWhereNothingLies) {
  make("store", content(6));
  const std::string before = dump("store");

  EXPECT_EQ(support::errorCode([&] { make("store", content(7)); }), EEXIST);
  EXPECT_EQ(dump("store"), before);
}

TEST_P(SeededStore, HasAFileAndAThumbnailForEachPhotoThatLiesInOne) {
  const auto* const photo = model->entity("Photo");
  const bool hasFiles = photo != nullptr && photo->attribute("filename") != nullptr;
  SeededContent withFiles = content(8);
  withFiles.container = (directory.path() / "container").string();
  make("store", withFiles);

  if (!hasFiles) {
    EXPECT_FALSE(fs::exists(withFiles.container));
    return;
  }
  read("store", [&](NSManagedObjectContext& context) {
    for (const Ref<NSManagedObject>& object : all(context, *photo)) {
      const std::string name = *object->valueForKey("filename").text();
      EXPECT_TRUE(name.ends_with(".jpg")) << name;
      EXPECT_EQ(fs::file_size(fs::path(withFiles.container) / "photo" / name), 50U);
      EXPECT_TRUE(fs::exists(fs::path(withFiles.container) / "thumbnail" / name));
    }
  });
}

INSTANTIATE_TEST_SUITE_P(AllVersions, SeededStore,
                         testing::ValuesIn(CoreDataMigrationVersion::allCases()),
                         [](const auto& version) {
                           return "Version" + std::to_string(version.index + 1);
                         });

}  // namespace
