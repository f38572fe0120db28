#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "CoreData/Results/NSFetchedResultsSectionInfo.h"
#include "Foundation/Values/IndexPath.h"
#include "Foundation/Values/Object.h"

namespace coredata {

class NSFetchedResultsControllerBase;
class NSManagedObject;

enum class NSFetchedResultsChangeType : std::uint8_t {
  insert,
  delete_,
  move,    ///< among the others, or into another section
  update,  ///< changed, and still where it was
};

/// Is told how a fetched list changes: once that it will, then each section and object, then that
/// it did. In between the controller shows the new list. Places that are left count in the old
/// list, places that are taken in the new one. What is of no interest need not be overridden.
///
/// Threading: called on the queue of the controller's context.
class NSFetchedResultsControllerDelegate : public foundation::Object {
 public:
  virtual void controllerWillChangeContent(NSFetchedResultsControllerBase& controller) {
    static_cast<void>(controller);
  }
  /// A section came or went.
  virtual void controllerDidChangeSection(NSFetchedResultsControllerBase& controller,
                                          const NSFetchedResultsSectionInfo& section,
                                          std::size_t atIndex, NSFetchedResultsChangeType forType) {
    static_cast<void>(controller);
    static_cast<void>(section);
    static_cast<void>(atIndex);
    static_cast<void>(forType);
  }
  /// `at` is absent for an insertion, `newIndexPath` for a deletion.
  virtual void controllerDidChangeObject(NSFetchedResultsControllerBase& controller,
                                         const foundation::Ref<NSManagedObject>& object,
                                         std::optional<foundation::IndexPath> at,
                                         NSFetchedResultsChangeType forType,
                                         std::optional<foundation::IndexPath> newIndexPath) {
    static_cast<void>(controller);
    static_cast<void>(object);
    static_cast<void>(at);
    static_cast<void>(forType);
    static_cast<void>(newIndexPath);
  }
  virtual void controllerDidChangeContent(NSFetchedResultsControllerBase& controller) {
    static_cast<void>(controller);
  }

 protected:
  ~NSFetchedResultsControllerDelegate() override = default;
};

}  // namespace coredata
