#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>

#include "CoreData/Migration/Mapping/MappingContent.h"
#include "Foundation/Values/Object.h"

namespace coredata {

/// What a migration makes of the objects of one entity: the entities on both sides, the policy that
/// steers it, and the expressions that fill what is made. Immutable, so any thread may use it.
class NSEntityMapping final : public foundation::Object {
 public:
  explicit NSEntityMapping(EntityMappingContent content) : content_(std::move(content)) {}

  /// Unique in its mapping model; expressions and policies look destination objects up by it.
  [[nodiscard]] const std::string& name() const noexcept { return content_.name; }
  [[nodiscard]] NSEntityMappingType mappingType() const noexcept { return content_.type; }
  /// None when nothing leads to the destination's objects.
  [[nodiscard]] const std::optional<std::string>& sourceEntityName() const noexcept {
    return content_.sourceEntity;
  }
  /// None when the source's objects are dropped.
  [[nodiscard]] const std::optional<std::string>& destinationEntityName() const noexcept {
    return content_.destinationEntity;
  }
  [[nodiscard]] const std::optional<VersionHash>& sourceEntityVersionHash() const noexcept {
    return content_.sourceHash;
  }
  [[nodiscard]] const std::optional<VersionHash>& destinationEntityVersionHash() const noexcept {
    return content_.destinationHash;
  }
  /// In the order of names. Attributes that are not listed keep what a new object starts with.
  [[nodiscard]] std::span<const NSPropertyMapping> attributeMappings() const noexcept {
    return content_.attributes;
  }
  /// In the order of names. A to-many is listed only where no to-one of the other side sets it.
  [[nodiscard]] std::span<const NSPropertyMapping> relationshipMappings() const noexcept {
    return content_.relationships;
  }
  /// The name under which the program registered its policy class; none for the usual policy.
  [[nodiscard]] const std::optional<std::string>& entityMigrationPolicyClassName() const noexcept {
    return content_.policyClass;
  }

 private:
  ~NSEntityMapping() override = default;

  EntityMappingContent content_;
};

}  // namespace coredata
