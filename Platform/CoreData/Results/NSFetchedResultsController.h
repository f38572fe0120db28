#pragma once

#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Results/NSFetchedResultsControllerDelegate.h"
#include "CoreData/Results/SectionedList.h"
#include "Foundation/Values/WeakRef.h"

namespace coredata {

struct ListChanges;

/// `NSFetchedResultsController`, whatever the class of its objects.
class NSFetchedResultsControllerBase : public foundation::Object {
 public:
  [[nodiscard]] const foundation::Ref<NSManagedObjectContext>& managedObjectContext()
      const noexcept {
    return context_;
  }
  [[nodiscard]] const std::optional<std::string>& sectionNameKeyPath() const noexcept {
    return sectionNameKeyPath_;
  }

  /// Held weakly. With one, the list follows the context; without, it stays as it was fetched.
  [[nodiscard]] foundation::Ref<NSFetchedResultsControllerDelegate> delegate() const noexcept {
    return delegate_.lock();
  }
  void setDelegate(const foundation::Ref<NSFetchedResultsControllerDelegate>& delegate);

  /// Runs the request. Throws what the fetch throws, and `FetchErrorCode::unsuitableKey` when the
  /// objects of a section do not come together; there are no sections then.
  virtual void performFetch() = 0;

  /// None before a fetch and after one that failed. Without a section key path exactly one, which
  /// may be empty; with one, only sections that have objects.
  [[nodiscard]] std::span<const NSFetchedResultsSectionInfo> sections() const noexcept {
    return list_.sections();
  }
  [[nodiscard]] std::size_t numberOfFetchedObjects() const noexcept { return list_.size(); }
  /// Where the object is; none when it is not in the list. Takes a look at each one before it.
  [[nodiscard]] std::optional<foundation::IndexPath> indexPath(
      const NSManagedObject& forObject) const;

 protected:
  NSFetchedResultsControllerBase(foundation::Ref<NSManagedObjectContext> context,
                                 std::optional<std::string> sectionNameKeyPath);
  ~NSFetchedResultsControllerBase() override;

  void performFetch(const NSFetchRequestBase& request);
  /// The object at an index path; stops the process for one that leads outside.
  [[nodiscard]] foundation::Ref<NSManagedObject> objectAt(const foundation::IndexPath& path) const;

 private:
  void track();
  void contextDidChange(const foundation::NSNotification& notification);
  /// What the context tells by its notification, if the list follows it.
  void follow(NSFetchedResultsControllerDelegate& delegate, const NSFetchRequestBase& request,
              const std::unordered_map<const NSManagedObjectID*, foundation::Ref<NSManagedObject>>&
                  changed);

  foundation::Ref<NSManagedObjectContext> context_;
  std::optional<std::string> sectionNameKeyPath_;
  foundation::WeakRef<NSFetchedResultsControllerDelegate> delegate_;
  bool isTracking_ = false;
  /// What was fetched last; none before.
  std::optional<NSFetchRequestBase> fetched_;
  SectionedList list_;
};

/// A fetched list in sections, for whoever shows it bit by bit.
///
/// - It holds identifiers. An object is made, and its row read, when it is looked at.
/// - The list is fixed at the fetch, its objects are live. With a delegate the list follows: when
///   the context has processed changes to objects of the request's entity, its own or merged ones,
///   the request is run again, and the delegate is told the difference. A change to related objects
///   alone goes unnoticed. If the store cannot be read then, a line goes to the standard error
///   stream and the list stays.
/// - Nothing is kept on disk.
///
/// Threading: belongs to the context's queue.
template <typename T>
class NSFetchedResultsController final : public NSFetchedResultsControllerBase {
 public:
  /// With a section key path the request must be sorted so that objects with equal values come
  /// together. The value may be a computed one.
  NSFetchedResultsController(NSFetchRequest<T> fetchRequest,
                             foundation::Ref<NSManagedObjectContext> context,
                             std::optional<std::string> sectionNameKeyPath = std::nullopt)
      : NSFetchedResultsControllerBase(std::move(context), std::move(sectionNameKeyPath)),
        request_(std::move(fetchRequest)) {}

  /// What the next `performFetch` runs.
  [[nodiscard]] NSFetchRequest<T>& fetchRequest() noexcept { return request_; }
  [[nodiscard]] const NSFetchRequest<T>& fetchRequest() const noexcept { return request_; }

  void performFetch() override { NSFetchedResultsControllerBase::performFetch(request_); }

  /// The object at an index path. One that leads outside of the list is a mistake of the caller and
  /// stops the process.
  [[nodiscard]] foundation::Ref<T> object(const foundation::IndexPath& at) const {
    return foundation::Ref<T>::adopt(static_cast<T*>(objectAt(at).leak()));
  }

 protected:
  ~NSFetchedResultsController() override = default;

 private:
  NSFetchRequest<T> request_;
};

}  // namespace coredata
