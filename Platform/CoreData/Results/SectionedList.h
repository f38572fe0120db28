#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Results/NSFetchedResultsSectionInfo.h"
#include "Foundation/Values/IndexPath.h"

namespace coredata {

/// What a fetch found, cut into sections. It names the same objects before and after a save, and
/// holds no rows: stored objects are named by their keys, others by identifiers.
class SectionedList {
 public:
  using Identifier = foundation::Ref<NSManagedObjectID>;
  using IndexPath = foundation::IndexPath;

  /// Nothing, and no section.
  SectionedList() = default;
  /// Runs the request; without a section key path there is one section. Throws what the fetch
  /// throws, `FetchErrorCode::unknownKey` for a key path that the objects do not have, and
  /// `FetchErrorCode::unsuitableKey` when the order is such that a section would come twice.
  SectionedList(NSManagedObjectContext& context, const NSFetchRequestBase& request,
                const std::optional<std::string>& sectionNameKeyPath);

  [[nodiscard]] std::size_t size() const noexcept { return keys_.size(); }
  /// The object at a position that exists. `context` is the one that fetched.
  [[nodiscard]] foundation::Ref<NSManagedObject> object(std::size_t position,
                                                        NSManagedObjectContext& context) const;
  /// The identifiers of all objects; made when they are first asked for, which few lists are.
  [[nodiscard]] const std::vector<Identifier>& identifiers() const;
  [[nodiscard]] const std::vector<NSFetchedResultsSectionInfo>& sections() const noexcept {
    return sections_;
  }
  /// The position of an index path; none for one that leads outside.
  [[nodiscard]] std::optional<std::size_t> position(const IndexPath& path) const noexcept;
  /// The index path of a position that exists.
  [[nodiscard]] IndexPath indexPath(std::size_t position) const noexcept;

 private:
  void cut(NSManagedObjectContext& context, const NSFetchRequestBase& request,
           const std::string& keyPath);
  void append(std::string name);
  void add(const Identifier& identifier);

  /// Of the objects; null in a list that was never fetched.
  const NSEntityDescription* entity_ = nullptr;
  foundation::Ref<NSPersistentStoreCoordinator> coordinator_;
  foundation::Ref<NSPersistentStore> store_;
  std::vector<ObjectKey> keys_;
  /// Of the objects that were not saved yet, by position: their keys change.
  std::unordered_map<std::size_t, Identifier> unsaved_;
  mutable std::vector<Identifier> identifiers_;
  std::vector<NSFetchedResultsSectionInfo> sections_;
  /// The positions at which the sections begin.
  std::vector<std::size_t> starts_;
};

}  // namespace coredata
