#include "CoreData/Results/NSFetchedResultsController.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "CoreData/Context/ObjectsDidChange.h"
#include "CoreData/Results/ListChanges.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"

namespace coredata {

using foundation::IndexPath;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::Ref;

NSFetchedResultsControllerBase::NSFetchedResultsControllerBase(
    Ref<NSManagedObjectContext> context, std::optional<std::string> sectionNameKeyPath)
    : context_(std::move(context)), sectionNameKeyPath_(std::move(sectionNameKeyPath)) {}

NSFetchedResultsControllerBase::~NSFetchedResultsControllerBase() = default;

void NSFetchedResultsControllerBase::setDelegate(
    const Ref<NSFetchedResultsControllerDelegate>& delegate) {
  delegate_ = foundation::WeakRef<NSFetchedResultsControllerDelegate>(delegate);
  if (delegate) track();
}

void NSFetchedResultsControllerBase::track() {
  if (isTracking_) return;
  isTracking_ = true;
  NSNotificationCenter::defaultCenter().addObserver(
      Ref<NSFetchedResultsControllerBase>(this),
      foundation::Selector<NSFetchedResultsControllerBase>{
          "contextDidChange:", &NSFetchedResultsControllerBase::contextDidChange},
      NSManagedObjectContextObjectsDidChangeNotification, Ref<foundation::Object>(context_));
  // From here on the context counts what is changed.
  context_->processPendingChanges();
}

void NSFetchedResultsControllerBase::performFetch(const NSFetchRequestBase& request) {
  list_ = SectionedList();
  fetched_.reset();
  list_ = SectionedList(*context_, request, sectionNameKeyPath_);
  fetched_ = request;
}

Ref<NSManagedObject> NSFetchedResultsControllerBase::objectAt(const IndexPath& path) const {
  const auto position = list_.position(path);
  if (!position) {
    foundation::fatalError("a fetched list has no object at item " + std::to_string(path.item) +
                           " of section " + std::to_string(path.section));
  }
  return list_.object(*position, *context_);
}

std::optional<IndexPath> NSFetchedResultsControllerBase::indexPath(
    const NSManagedObject& forObject) const {
  const auto& identifiers = list_.identifiers();
  const auto found = std::ranges::find(identifiers, forObject.objectID());
  if (found == identifiers.end()) return std::nullopt;
  return list_.indexPath(static_cast<std::size_t>(found - identifiers.begin()));
}

namespace {

/// The objects of one entity that a notification lists, under whatever name.
ChangedObjects changedObjects(const NSNotification& notification, std::string_view entityName) {
  ChangedObjects result;
  for (const std::string_view key :
       {NSInsertedObjectsKey, NSUpdatedObjectsKey, NSDeletedObjectsKey, NSRefreshedObjectsKey}) {
    const foundation::Value* listed = notification.userInfoValue(key);
    if (listed == nullptr) continue;
    for (const foundation::Value& one : *listed->list()) {
      Ref<NSManagedObject> object(static_cast<NSManagedObject*>(one.object()));
      if (object->entity().name() != entityName) continue;
      // Null for an object that came and went without anybody asking who it was.
      const NSManagedObjectID* identifier = object->objectID().get();
      result.emplace(identifier, std::move(object));
    }
  }
  return result;
}

}  // namespace

void NSFetchedResultsControllerBase::contextDidChange(const NSNotification& notification) {
  const Ref<NSFetchedResultsControllerDelegate> delegate = delegate_.lock();
  if (!delegate) {
    NSNotificationCenter::defaultCenter().removeObserver(*this);
    isTracking_ = false;
    return;
  }
  if (!fetched_) return;
  const NSFetchRequestBase request = *fetched_;
  const ChangedObjects changed = changedObjects(notification, request.entityName());
  if (changed.empty()) return;
  try {
    follow(*delegate, request, changed);
  } catch (const foundation::Error& error) {
    // Whoever made the change is not to be stopped by a list that shows it.
    std::fprintf(stderr, "CoreData: a list of %s cannot follow its context: %s\n",
                 request.entityName().c_str(), error.description().c_str());
  }
}

void NSFetchedResultsControllerBase::follow(NSFetchedResultsControllerDelegate& delegate,
                                            const NSFetchRequestBase& request,
                                            const ChangedObjects& changed) {
  SectionedList fresh(*context_, request, sectionNameKeyPath_);
  const ListChanges changes = changesBetween(list_, fresh, changed);
  if (changes.empty()) return;
  delegate.controllerWillChangeContent(*this);
  list_ = std::move(fresh);
  for (const auto& [type, section, index] : changes.sections) {
    delegate.controllerDidChangeSection(*this, section, index, type);
  }
  for (const auto& [type, identifier, from, to] : changes.objects) {
    // One that was deleted lives on in the notification alone.
    const auto known = changed.find(identifier.get());
    const bool isGone = type == NSFetchedResultsChangeType::delete_ && known != changed.end();
    const Ref<NSManagedObject> object =
        isGone ? known->second : context_->objectWithID(*identifier);
    delegate.controllerDidChangeObject(*this, object, from, type, to);
  }
  delegate.controllerDidChangeContent(*this);
}

}  // namespace coredata
