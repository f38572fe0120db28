#include "CoreDataStack/MurtelleMigrationPolicyV6toV7.h"

#include <array>
#include <set>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "CoreDataStack/PhotoReference.h"
#include "CoreDataStack/SetAsidePhotos.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSEntityMapping;
using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSMigrationManager;
using foundation::Data;
using foundation::Date;
using foundation::Error;
using foundation::FileManager;
using foundation::Ref;
using foundation::URL;
using foundation::UUID;
using foundation::Value;
using foundation::ValueList;

namespace {

constexpr std::string_view kTransformSelector = "transformStringToData:";
constexpr std::string_view kData = "data";
constexpr std::size_t kPhotoBatch = 100;

// What version 7 must find in version 6's objects.

void requireText(NSManagedObject& object, std::string_view key) {
  const Value value = object.valueForKey(key);
  object.setValue(value.text() == nullptr ? Value("") : value, key);
}

void requireDate(NSManagedObject& object, std::string_view key) {
  const Value value = object.valueForKey(key);
  object.setValue(value.date() == nullptr ? Value(Date::distantPast()) : value, key);
}

/// Groups get no modification date: they never showed one.
void fillGaps(NSManagedObject& object) {
  const std::string& entity = object.entity().name();
  const bool isActivity = entity == "Activity";
  const bool isGroup = entity == "Group";
  const bool isDated = isActivity || entity == "Photo" || entity == "MonthlyReview";
  if (isActivity || isGroup) requireText(object, "title");
  if (isDated || isGroup) requireDate(object, "createdDate");
  if (isDated) requireDate(object, "modifiedDate");
}

std::optional<std::int64_t> integer16(const Value& value) {
  return value.number() == nullptr ? std::nullopt : value.number()->exactInt64();
}

Ref<NSManagedObject> migratedActivity(NSMigrationManager& manager,
                                      const Ref<NSManagedObject>& source) {
  const std::array sources{source};
  const auto found =
      manager.destinationInstances(MurtelleMigrationPolicyV6toV7::kActivities, sources);
  return found.empty() ? nullptr : found.front();
}

}  // namespace

void MurtelleMigrationPolicyV6toV7::registerClass() {
  NSEntityMigrationPolicy::registerClass(
      kClassName, [] { return foundation::make<MurtelleMigrationPolicyV6toV7>(); });
}

MurtelleMigrationPolicyV6toV7::MurtelleMigrationPolicyV6toV7()
    : fileManager_(FileManager::defaultManager()),
      baseURL_(fileManager_.containerURL(appGroupIdentifier())) {}

std::optional<Data> MurtelleMigrationPolicyV6toV7::transformStringToData(
    const std::optional<std::string>& filename) {
  try {
    return photoReference(filename.value_or(""));
  } catch (const Error& error) {
    foundation::print(error.description());
    return std::nullopt;
  }
}

Value MurtelleMigrationPolicyV6toV7::perform(std::string_view selector,
                                             std::span<const Value> arguments) {
  if (selector != kTransformSelector || arguments.size() != 1) {
    return NSEntityMigrationPolicy::perform(selector, arguments);
  }
  const std::string* filename = arguments.front().text();
  return transformStringToData(filename == nullptr ? std::nullopt : std::optional(*filename));
}

void MurtelleMigrationPolicyV6toV7::createDestinationInstances(NSManagedObject& sourceInstance,
                                                               const NSEntityMapping& mapping,
                                                               NSMigrationManager& manager) {
  fillGaps(sourceInstance);
  NSEntityMigrationPolicy::createDestinationInstances(sourceInstance, mapping, manager);
}

void MurtelleMigrationPolicyV6toV7::endEntityMapping(const NSEntityMapping& mapping,
                                                     NSMigrationManager& manager) {
  // Photos are what a user has nowhere else, so their failures end the migration. Widgets can be
  // arranged anew, so theirs do not.
  if (mapping.name() == kPhotos) foldPhotos(manager);
  if (!mapping.sourceEntityName() && mapping.destinationEntityName() == "ActivityWidgetGroup") {
    try {
      addMainWidgetGroup(manager);
    } catch (const Error& error) {
      foundation::print(error.description());
    }
  }
  NSEntityMigrationPolicy::endEntityMapping(mapping, manager);
}

void MurtelleMigrationPolicyV6toV7::foldPhotos(NSMigrationManager& manager) const {
  NSManagedObjectContext& context = manager.destinationContext();
  std::set<std::string> folded;
  for (std::size_t offset = 0;; offset += kPhotoBatch) {
    context.refreshAllObjects();
    NSFetchRequest<NSManagedObject> request("Photo");
    request.setIncludesSubentities(false);
    request.setIncludesPropertyValues(false);
    request.setFetchLimit(kPhotoBatch);
    request.setFetchOffset(offset);
    const auto photos = context.fetch(request);
    if (photos.empty()) break;
    for (const Ref<NSManagedObject>& photo : photos) {
      if (auto name = fold(*photo)) folded.insert(std::move(*name));
    }
    context.save();
  }
  if (!baseURL_) return;
  const auto stores = manager.sourceContext().persistentStoreCoordinator()->persistentStores();
  SetAsidePhotos(*baseURL_, stores.front()->identifier()).setAside(folded);
}

std::optional<std::string> MurtelleMigrationPolicyV6toV7::fold(NSManagedObject& photo) const {
  const Value data = photo.valueForKey(kData);
  if (data.data() == nullptr) return std::nullopt;
  std::optional<std::string> filename = photoFileName(*data.data());
  if (!filename || !baseURL_) return std::nullopt;
  const URL file = photoFile(*baseURL_, *filename);
  const auto path = file.filePath();
  photo.setValue(fileManager_.contents(path.value_or(file.absoluteString())), kData);
  return filename;
}

void MurtelleMigrationPolicyV6toV7::addMainWidgetGroup(NSMigrationManager& manager) {
  NSFetchRequest<NSManagedObject> request("Widget");
  request.setPredicate(foundation::NSPredicate::format("activity.status = %d", std::int16_t{0}));
  const auto widgets = manager.sourceContext().fetch(request);

  NSManagedObjectContext& context = manager.destinationContext();
  const Ref<NSManagedObject> group = context.insertNewObject("ActivityWidgetGroup");
  group->setValue(Date::now(), "createdDate");
  group->setValue(Date::now(), "modifiedDate");
  group->setValue("Main", "name");
  group->setValue(0, "order");
  group->setValue(1, "type");
  group->setValue(UUID(), "uuid");

  ValueList items;
  for (const Ref<NSManagedObject>& widget : widgets) {
    const Value link = widget->valueForKey("activity");
    auto* const activity = dynamic_cast<NSManagedObject*>(link.object());
    if (activity == nullptr) continue;
    const Ref<NSManagedObject> item = context.insertNewObject("ActivityWidgetItem");
    item->setValue(UUID(), "uuid");
    item->setValue(integer16(widget->valueForKey("priority")), "order");
    item->setValue(group, "group");
    item->setValue(migratedActivity(manager, Ref<NSManagedObject>(activity)), "activity");
    items.emplace_back(item);
  }
  group->setValue(std::move(items), "items");
  context.save();
}

}  // namespace coredatastack
