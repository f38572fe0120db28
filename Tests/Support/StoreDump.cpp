#include "Tests/Support/StoreDump.h"

#include <fmt/format.h>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Object/NSManagedObject.h"

namespace support {

using coredata::NSEntityDescription;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using foundation::Date;
using foundation::Ref;
using foundation::Value;

namespace {

std::string text(const NSManagedObject& object, std::string_view name) {
  const Value value = object.valueForKey(name);
  if (value.isNone()) return "absent";
  if (const Date* date = value.date())
    return fmt::format("{:a}", date->timeIntervalSinceReferenceDate());
  if (value.number() != nullptr && value.number()->isReal())
    return fmt::format("{:a}", value.number()->doubleValue());
  if (const foundation::Data* data = value.data()) {
    return fmt::format("{:02x}", fmt::join(data->bytes(), ""));
  }
  return value.description();
}

std::string keys(const NSManagedObject& object, std::string_view name) {
  const Value value = object.valueForKey(name);
  std::string result;
  const auto add = [&](const Value& one) {
    const auto* target = dynamic_cast<const NSManagedObject*>(one.object());
    if (target != nullptr) result += fmt::format(" {}", target->objectID()->key());
  };
  if (value.list() != nullptr) {
    for (const Value& one : *value.list()) add(one);
  } else {
    add(value);
  }
  return "[" + (result.empty() ? result : result.substr(1)) + "]";
}

}  // namespace

Ref<NSManagedObjectContext> contextOver(const foundation::URL& store,
                                        const Ref<const coredata::NSManagedObjectModel>& model) {
  auto coordinator = foundation::make<coredata::NSPersistentStoreCoordinator>(model);
  coredata::NSPersistentStoreDescription description(store);
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  coordinator->addPersistentStore(description);
  return foundation::make<NSManagedObjectContext>(
      coordinator, coredata::NSManagedObjectContextConcurrencyType::privateQueue);
}

std::string dumpOf(NSManagedObjectContext& context) {
  std::string result;
  for (const NSEntityDescription* entity :
       context.persistentStoreCoordinator()->managedObjectModel().entities()) {
    for (const Ref<NSManagedObject>& object :
         context.fetch(coredata::NSFetchRequest<NSManagedObject>(entity->name()))) {
      result += fmt::format("{} {}\n", entity->name(), object->objectID()->key());
      for (const auto& [name, property] : entity->propertiesByName()) {
        const bool isAttribute = entity->attribute(name) != nullptr;
        result += fmt::format("  {}: {}\n", name,
                              isAttribute ? text(*object, name) : keys(*object, name));
      }
    }
  }
  return result;
}

}  // namespace support
