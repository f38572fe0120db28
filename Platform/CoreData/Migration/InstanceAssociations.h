#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "CoreData/Coordinator/NSManagedObjectID.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

/// Which destination objects became of which source objects in one entity mapping, in the order in
/// which they were associated. Holds identifiers only, so that the objects can go.
class InstanceAssociations {
 public:
  struct Pair {
    ObjectKey source;
    foundation::Ref<NSManagedObjectID> destination;
  };

  void add(ObjectKey source, foundation::Ref<NSManagedObjectID> destination);

  [[nodiscard]] std::span<const Pair> pairs() const noexcept { return pairs_; }
  /// Calls `visit` with each destination of the source, in the order of their association.
  template <typename Visit>
  void forEachDestination(ObjectKey source, Visit&& visit) const {
    const auto found = bySource_.find(source);
    if (found == bySource_.end()) return;
    for (std::size_t i = found->second.first; i != kNone; i = next_[i]) {
      visit(*pairs_[i].destination);
    }
  }
  /// The source of a destination; `kNoObject` when there is none.
  [[nodiscard]] ObjectKey sourceOf(const NSManagedObjectID& destination) const;

 private:
  static constexpr auto kNone = static_cast<std::size_t>(-1);

  std::vector<Pair> pairs_;
  /// For each pair the next one of the same source.
  std::vector<std::size_t> next_;
  /// The first and the last pair of each source.
  foundation::HashMap<ObjectKey, std::pair<std::size_t, std::size_t>> bySource_;
  foundation::HashMap<const NSManagedObjectID*, ObjectKey> byDestination_;
};

}  // namespace coredata
