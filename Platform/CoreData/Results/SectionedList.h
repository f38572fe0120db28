#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Results/NSFetchedResultsSectionInfo.h"
#include "Foundation/Values/IndexPath.h"

namespace coredata {

/// What a fetch found, cut into sections. It holds identifiers: they name the same objects before
/// and after a save, and cost no row.
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

  [[nodiscard]] const std::vector<Identifier>& identifiers() const noexcept { return identifiers_; }
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

  std::vector<Identifier> identifiers_;
  std::vector<NSFetchedResultsSectionInfo> sections_;
  /// The positions at which the sections begin.
  std::vector<std::size_t> starts_;
};

}  // namespace coredata
