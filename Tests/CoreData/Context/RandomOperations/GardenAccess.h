#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Tests/CoreData/Context/RandomOperations/GraphModel.h"
#include "Tests/Support/GardenModel.h"

namespace graph {

/// An attribute of the garden as the random operations use it: a few values by number, each as a
/// text, with the accessors of its class. Number 0 is the value of a new object.
struct Attribute {
  std::string name;
  std::vector<std::string> printed;
  std::function<void(coredata::NSManagedObject&, std::size_t choice)> set;
  std::function<std::string(const coredata::NSManagedObject&)> read;
};

[[nodiscard]] const std::vector<Attribute>& attributesOf(Kind kind);
[[nodiscard]] const char* entityName(Kind kind);

/// A new record as a new object of the kind reads.
[[nodiscard]] Record newRecord(Kind kind);

[[nodiscard]] foundation::Ref<coredata::NSManagedObject> newObject(
    Kind kind, coredata::NSManagedObjectContext& context);
[[nodiscard]] foundation::Ref<coredata::NSManagedObject> linkTarget(
    const coredata::NSManagedObject& object, const std::string& link);
void setLink(coredata::NSManagedObject& object, const std::string& link,
             const foundation::Ref<coredata::NSManagedObject>& target);

/// The class of an object whose kind is known.
template <typename T>
foundation::Ref<T> as(const foundation::Ref<coredata::NSManagedObject>& object) {
  return coredata::properties::uncheckedCast<T>(object);
}

}  // namespace graph
