#pragma once

#include <string>
#include <vector>

#include "CoreData/Model/NSEntityDescription.h"

namespace coredata {

/// A key path resolved against the model: which relationships it follows and what it ends in, so
/// that whoever walks it works with slots and never looks a name up.
struct ResolvedPath {
  /// What the path ends in.
  enum class End : std::uint8_t {
    self,    ///< the object that the links lead to (or the start, without links)
    slot,    ///< an attribute, or a to-one relationship seen as the key it holds
    toMany,  ///< the members of a to-many relationship
  };

  /// The entity that the path starts from.
  const NSEntityDescription* root = nullptr;
  /// The relationships followed before the end, to-one or to-many.
  std::vector<const NSRelationshipDescription*> links;
  End end = End::self;
  /// The entity that has the end: what `slot` numbers, or whose to-many it is; for `self` the
  /// entity reached.
  const NSEntityDescription* entity = nullptr;
  SlotIndex slot = kNoSlot;
  /// The attribute at the end; null when the end is a relationship or the object itself.
  const NSAttributeDescription* attribute = nullptr;
  /// The relationship at the end: a to-one for `slot`, a to-many for `toMany`; null otherwise.
  const NSRelationshipDescription* relationship = nullptr;

  /// Whether a to-many lies before the end, so that the path has many values.
  [[nodiscard]] bool passesToMany() const noexcept;
  /// The entity whose objects the end's values are; null for an attribute.
  [[nodiscard]] const NSEntityDescription* objectEntity() const noexcept;

  friend bool operator==(const ResolvedPath&, const ResolvedPath&) = default;
};

/// Resolves dotted segments from `root`. Throws `foundation::Error` naming the entity and the key
/// for an unknown or transient property, and for a path that goes on behind an attribute.
[[nodiscard]] ResolvedPath resolvePath(const NSEntityDescription& root,
                                       const std::vector<std::string>& segments);

/// The same for a dotted text.
[[nodiscard]] ResolvedPath resolvePath(const NSEntityDescription& root, std::string_view keyPath);

}  // namespace coredata
