#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CoreData/Migration/Mapping/NSPropertyMapping.h"
#include "CoreData/Model/NSEntityDescription.h"

namespace coredata {

/// What becomes of the objects of an entity. The numbers stand in compiled mappings.
enum class NSEntityMappingType : std::uint8_t {
  custom = 1,     ///< a policy class of the program does it
  add = 2,        ///< the destination entity is new; nothing leads to it
  remove = 3,     ///< the source entity's objects are dropped
  copy = 4,       ///< both entities store alike, and every property is carried over as it is
  transform = 5,  ///< the expressions say
};

/// One entity mapping as plain data; see `NSEntityMapping`.
struct EntityMappingContent {
  std::string name;
  NSEntityMappingType type = NSEntityMappingType::transform;
  std::optional<std::string> sourceEntity;
  std::optional<std::string> destinationEntity;
  /// Present exactly where the entity is.
  std::optional<VersionHash> sourceHash;
  std::optional<VersionHash> destinationHash;
  std::optional<std::string> policyClass;
  /// Both in the order of names.
  std::vector<NSPropertyMapping> attributes;
  std::vector<NSPropertyMapping> relationships;

  friend bool operator==(const EntityMappingContent&, const EntityMappingContent&) = default;
};

/// A mapping model as plain data: what inference and the compiler make and compiled files hold.
struct MappingContent {
  /// The versions by the names that people gave them.
  std::string sourceVersion;
  std::string destinationVersion;
  VersionHash sourceFingerprint{};
  VersionHash destinationFingerprint{};
  std::vector<EntityMappingContent> entityMappings;

  friend bool operator==(const MappingContent&, const MappingContent&) = default;
};

}  // namespace coredata
