#include "Tests/Migration/StoreImage.h"

#include <algorithm>
#include <span>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Object/NSManagedObject.h"

namespace images {

using coredata::NSEntityDescription;
using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::ObjectKey;
using foundation::Value;

namespace {

std::vector<ObjectKey> linked(const Value& value) {
  std::vector<ObjectKey> keys;
  const auto add = [&](const Value& one) {
    const auto* const object = dynamic_cast<const NSManagedObject*>(one.object());
    if (object != nullptr) keys.push_back(object->objectID()->key());
  };
  if (value.list() != nullptr) {
    std::ranges::for_each(*value.list(), add);
  } else {
    add(value);
  }
  std::ranges::sort(keys);
  return keys;
}

EntityImage imageOf(NSManagedObjectContext& context, const NSEntityDescription& entity) {
  EntityImage image;
  for (const auto& object : context.fetch(NSFetchRequest<NSManagedObject>(entity.name()))) {
    ObjectImage& own = image[object->objectID()->key()];
    for (const auto& [name, property] : entity.propertiesByName()) {
      if (entity.attribute(name) == nullptr) {
        own.links[name] = linked(object->valueForKey(name));
      } else {
        own.attributes[name] = object->valueForKey(name);
      }
    }
  }
  return image;
}

// Telling what differs.

constexpr std::size_t kLines = 8;

class Report {
 public:
  void add(const std::string& where, const std::string& expected, const std::string& actual) {
    if (expected == actual || ++lines_ > kLines) return;
    text_.append(where).append(": ").append(actual).append(" instead of ").append(expected) += '\n';
  }
  [[nodiscard]] std::string text() const { return text_; }

 private:
  std::string text_;
  std::size_t lines_ = 0;
};

std::string shown(const Value& value) {
  if (value.isNone()) return "nothing";
  const auto* const number = value.number();
  const std::string kind = number != nullptr && number->isReal() ? "real " : "";
  return kind + "\"" + value.description() + "\"";
}

std::string shown(std::span<const ObjectKey> keys) {
  std::string text = "[";
  for (const ObjectKey key : keys) text += " " + std::to_string(key);
  return text + " ]";
}

std::string shown(const ObjectImage& /*object*/) { return "an object"; }
std::string shown(const EntityImage& /*entity*/) { return "an entity"; }

/// Calls `compare` for what both have, and reports what only one has.
template <typename Map, typename Compare>
void compareKeys(const Map& expected, const Map& actual, const std::string& where, Report& report,
                 const Compare& compare) {
  const auto name = [&](const auto& key) {
    if constexpr (std::is_same_v<std::decay_t<decltype(key)>, std::string>) {
      return where + "." + key;
    } else {
      return where + " " + std::to_string(key);
    }
  };
  for (const auto& [key, value] : expected) {
    const auto found = actual.find(key);
    if (found == actual.end()) {
      report.add(name(key), shown(value), "none");
    } else {
      compare(value, found->second, name(key));
    }
  }
  for (const auto& [key, value] : actual) {
    if (!expected.contains(key)) report.add(name(key), "none", shown(value));
  }
}

void compare(const ObjectImage& expected, const ObjectImage& actual, const std::string& where,
             Report& report) {
  compareKeys(expected.attributes, actual.attributes, where, report,
              [&](const Value& one, const Value& other, const std::string& name) {
                if (one != other) report.add(name, shown(one), shown(other) + " (differs)");
              });
  compareKeys(expected.links, actual.links, where, report,
              [&](const auto& one, const auto& other, const std::string& name) {
                report.add(name, shown(one), shown(other));
              });
}

}  // namespace

StoreImage imageOf(NSManagedObjectContext& context) {
  StoreImage image;
  for (const NSEntityDescription* entity :
       context.persistentStoreCoordinator()->managedObjectModel().entities()) {
    image[entity->name()] = imageOf(context, *entity);
  }
  return image;
}

std::string differences(const StoreImage& expected, const StoreImage& actual) {
  Report report;
  compareKeys(expected, actual, "", report,
              [&](const EntityImage& one, const EntityImage& other, const std::string& entity) {
                compareKeys(
                    one, other, entity, report,
                    [&](const ObjectImage& mine, const ObjectImage& theirs,
                        const std::string& object) { compare(mine, theirs, object, report); });
              });
  return report.text();
}

}  // namespace images
