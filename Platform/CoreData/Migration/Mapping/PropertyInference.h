#pragma once

#include <string>

#include "CoreData/Migration/Mapping/EntityPairs.h"

namespace coredata {

/// The call by which inferred mappings fill a relationship.
inline constexpr std::string_view kDestinationInstancesSelector =
    "destinationInstancesForEntityMappingNamed:sourceInstances:";

/// Finds out how the properties of a pair of entities are filled, as far as nobody wrote it.
class PropertyInference {
 public:
  PropertyInference(const EntityPairs& pairs, InferenceReasons& reasons)
      : pairs_(pairs), reasons_(reasons) {}

  /// Adds the properties to a mapping of the pair, which must be one of the pairs.
  void infer(const EntityPair& pair, EntityMappingContent& mapping);

 private:
  void inferAttribute(const NSAttributeDescription& attribute);
  void inferAddedAttribute(const NSAttributeDescription& attribute);
  void inferRelationship(const NSRelationshipDescription& relationship);
  [[nodiscard]] bool isSetFromOtherSide(const NSRelationshipDescription& relationship,
                                        const NSRelationshipDescription& source,
                                        const EntityPair& target);
  /// What the property was in the version before, when it was of the same kind; a reason when it
  /// was not.
  template <typename Kind>
  [[nodiscard]] const Kind* predecessor(const Kind& property);
  void refuse(const NSPropertyDescription& property, const std::string& why);

  const EntityPairs& pairs_;
  InferenceReasons& reasons_;
  const EntityPair* pair_ = nullptr;
  EntityMappingContent* mapping_ = nullptr;
};

}  // namespace coredata
