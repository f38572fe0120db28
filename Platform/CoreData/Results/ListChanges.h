#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "CoreData/Results/NSFetchedResultsControllerDelegate.h"
#include "CoreData/Results/SectionedList.h"

namespace coredata {

/// What leads from one state of a list to the next. Deletions and `from` count in the old list,
/// insertions and `to` in the new one.
struct ListChanges {
  struct SectionChange {
    NSFetchedResultsChangeType type;
    NSFetchedResultsSectionInfo section;
    std::size_t index;
  };
  struct ObjectChange {
    NSFetchedResultsChangeType type;
    SectionedList::Identifier object;
    std::optional<foundation::IndexPath> from;
    std::optional<foundation::IndexPath> to;
  };

  std::vector<SectionChange> sections;
  /// Deletions, insertions, moves, updates, in this order.
  std::vector<ObjectChange> objects;

  [[nodiscard]] bool empty() const noexcept { return sections.empty() && objects.empty(); }
};

/// By identity, which an identifier keeps at a save.
using ChangedObjects =
    std::unordered_map<const NSManagedObjectID*, foundation::Ref<NSManagedObject>>;

/// The changes from `before` to `after`. An object of both that was changed is updated where it
/// kept its place among the others and its section, and moved otherwise; as few others as possible
/// count as moved.
[[nodiscard]] ListChanges changesBetween(const SectionedList& before, const SectionedList& after,
                                         const ChangedObjects& changed);

}  // namespace coredata
