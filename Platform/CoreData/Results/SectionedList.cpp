#include "CoreData/Results/SectionedList.h"

#include <algorithm>
#include <iterator>

#include "CoreData/Coordinator/ObjectIDTable.h"
#include "CoreData/Fetching/FetchError.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

using foundation::IndexPath;
using foundation::Ref;
using foundation::Value;

namespace {

/// The value as a section's name. Each link is asked by name, so that computed properties count.
std::string nameOf(const foundation::Ref<NSManagedObject>& object, std::string_view keyPath) {
  Value value(object);
  while (!keyPath.empty()) {
    const std::size_t end = std::min(keyPath.find('.'), keyPath.size());
    const foundation::Object* link = value.object();
    if (link == nullptr) return {};
    value = link->valueForKey(keyPath.substr(0, end));
    keyPath.remove_prefix(std::min(end + 1, keyPath.size()));
  }
  if (value.isNone()) return {};
  return value.text() != nullptr ? *value.text() : value.description();
}

foundation::Error tornApart(const std::string& section, const std::string& entityName,
                            const std::string& keyPath) {
  return fetchError(FetchErrorCode::unsuitableKey,
                    "The section \"" + section + "\" would come twice: the list of " + entityName +
                        " is not sorted by " + keyPath + " first.");
}

}  // namespace

SectionedList::SectionedList(NSManagedObjectContext& context, const NSFetchRequestBase& request,
                             const std::optional<std::string>& sectionNameKeyPath)
    : entity_(context.entity(request.entityName())),
      coordinator_(context.persistentStoreCoordinator()),
      store_(coordinator_->store()) {
  if (sectionNameKeyPath) {
    cut(context, request, *sectionNameKeyPath);
    return;
  }
  // The objects' rows are read when they are looked at.
  NSFetchRequestBase forKeys = request;
  forKeys.setIncludesPropertyValues(false);
  const FetchedObjects objects = context.fetchObjects(forKeys);
  keys_.assign(objects.keys().begin(), objects.keys().end());
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    if (isTemporary(keys_[i])) unsaved_.emplace(i, objects.at(i)->objectID());
  }
  sections_.push_back({std::string(), keys_.size()});
  starts_.push_back(0);
}

void SectionedList::cut(NSManagedObjectContext& context, const NSFetchRequestBase& request,
                        const std::string& keyPath) {
  const FetchedObjects objects = context.fetchObjects(request);
  keys_.reserve(objects.size());
  foundation::HashSet<std::string> finished;
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const auto object = objects.at(i);
    std::string name = nameOf(object, keyPath);
    if (sections_.empty() || sections_.back().name != name) {
      if (!finished.insert(name).second) {
        throw tornApart(name, request.entityName(), keyPath);
      }
      append(std::move(name));
    }
    add(object->objectID());
    ++sections_.back().numberOfObjects;
  }
}

void SectionedList::add(const Identifier& identifier) {
  if (identifier->isTemporaryID()) unsaved_.emplace(keys_.size(), identifier);
  keys_.push_back(identifier->key());
}

Ref<NSManagedObject> SectionedList::object(std::size_t position,
                                           NSManagedObjectContext& context) const {
  const auto unsaved = unsaved_.find(position);
  return unsaved == unsaved_.end() ? context.object(*entity_, keys_[position])
                                   : context.objectWithID(*unsaved->second);
}

const std::vector<SectionedList::Identifier>& SectionedList::identifiers() const {
  if (!identifiers_.empty()) return identifiers_;
  std::vector<Identifier> made;
  made.reserve(keys_.size());
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    const auto unsaved = unsaved_.find(i);
    made.push_back(unsaved == unsaved_.end()
                       ? coordinator_->identifiers().identifier(store_, *entity_, keys_[i])
                       : unsaved->second);
  }
  identifiers_ = std::move(made);
  return identifiers_;
}

void SectionedList::append(std::string name) {
  starts_.push_back(keys_.size());
  sections_.push_back({std::move(name), 0});
}

std::optional<std::size_t> SectionedList::position(const IndexPath& path) const noexcept {
  if (path.section >= sections_.size()) return std::nullopt;
  if (path.item >= sections_[path.section].numberOfObjects) return std::nullopt;
  return starts_[path.section] + path.item;
}

IndexPath SectionedList::indexPath(std::size_t position) const noexcept {
  const auto after = std::ranges::upper_bound(starts_, position);
  const auto section = static_cast<std::size_t>(std::distance(starts_.begin(), after)) - 1;
  return {section, position - starts_[section]};
}

}  // namespace coredata
