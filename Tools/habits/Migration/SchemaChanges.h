#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CoreDataStack/CoreDataMigrationStep.h"

namespace habits {

/// A property and what it was in the version before.
struct PropertyLink {
  /// Null for a property that is new.
  const coredata::NSPropertyDescription* before = nullptr;
  /// Null for one that is dropped.
  const coredata::NSPropertyDescription* after = nullptr;
  /// Whether the value is made of the old one rather than carried over.
  bool isComputed = false;
};

/// An entity and what it was in the version before; null as in `PropertyLink`. The properties are
/// listed where there are both.
struct EntityLink {
  const coredata::NSEntityDescription* before = nullptr;
  const coredata::NSEntityDescription* after = nullptr;
  std::vector<PropertyLink> properties;
};

/// What becomes of what in a step. Refers to the step's models.
[[nodiscard]] std::vector<EntityLink> linksOf(const coredatastack::CoreDataMigrationStep& step);

/// What a step does to one entity or property.
struct SchemaChange {
  enum class Kind : std::uint8_t { added, dropped, renamed, converted };

  Kind kind = Kind::added;
  /// "Activity", or "Activity.title": under the new name where there is one.
  std::string what;
  /// The old name or type of what was renamed or converted; else empty.
  std::string from;
  /// The new type of what was converted; else empty.
  std::string to;
};

[[nodiscard]] std::vector<SchemaChange> changesOf(const std::vector<EntityLink>& links);

/// "added", "dropped", "renamed" or "converted".
[[nodiscard]] std::string nameOf(SchemaChange::Kind kind);
/// "renames Checkin.comment to Checkin.memo".
[[nodiscard]] std::string textOf(const SchemaChange& change);

}  // namespace habits
