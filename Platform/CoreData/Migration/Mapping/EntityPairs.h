#pragma once

#include <algorithm>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Migration/Mapping/MappingContent.h"
#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredata {

/// An entity mapping before its properties are looked at: which entity becomes which, and what of
/// it somebody wrote down.
struct EntityPair {
  std::string name;
  /// Null where nothing leads to the destination.
  const NSEntityDescription* source = nullptr;
  /// Null where the source's objects are dropped.
  const NSEntityDescription* destination = nullptr;
  /// The properties for which nothing is to be inferred.
  std::set<std::string, std::less<>> writtenProperties;
  /// Whether the properties that are not written are to be inferred.
  bool infersProperties = true;
};

/// Why no mapping follows from two models; empty as long as one does.
using InferenceReasons = std::vector<std::string>;

/// The entity mappings of a mapping model in their order: those that somebody wrote, and those that
/// follow from the names of the entities. Refers to both models, which must live longer.
class EntityPairs {
 public:
  EntityPairs(const NSManagedObjectModel& source, const NSManagedObjectModel& destination)
      : source_(source), destination_(destination) {}

  void add(EntityPair pair) { pairs_.push_back(std::move(pair)); }

  /// Puts a mapping for every entity that no pair names to the place that is given: first those of
  /// the destination's entities, then the removals, each in the order of names.
  void inferRest(std::size_t place, InferenceReasons& reasons);

  [[nodiscard]] std::span<const EntityPair> all() const noexcept { return pairs_; }
  /// The first pair of these two, or null.
  [[nodiscard]] const EntityPair* find(const NSEntityDescription& source,
                                       const NSEntityDescription& destination) const noexcept;

 private:
  [[nodiscard]] const NSEntityDescription* sourceOf(const NSEntityDescription& destination) const;

  const NSManagedObjectModel& source_;
  const NSManagedObjectModel& destination_;
  std::vector<EntityPair> pairs_;
};

/// The name that an entity mapping of this pair has unless somebody gives it another.
[[nodiscard]] std::string usualName(const NSEntityDescription* source,
                                    const NSEntityDescription* destination);

/// The mapping of a pair without its properties; its type is still to be told.
[[nodiscard]] EntityMappingContent emptyMapping(const EntityPair& pair);

/// What an entity or a property was in the version before: what bears its old name there, otherwise
/// what bears its own, unless one of its siblings once had that name.
template <typename Described, typename Siblings, typename Find>
[[nodiscard]] auto predecessorOf(const Described& wanted, const Siblings& siblings, Find find)
    -> decltype(find(wanted.name())) {
  const auto& oldName = wanted.renamingIdentifier();
  if (!oldName.empty()) {
    if (const auto* found = find(oldName)) return found;
  }
  const bool isTaken = std::ranges::any_of(siblings, [&](const Described* sibling) {
    return sibling != &wanted && sibling->renamingIdentifier() == wanted.name();
  });
  return isTaken ? nullptr : find(wanted.name());
}

}  // namespace coredata
