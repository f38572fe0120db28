#pragma once

#include <string>

#include "CoreData/Migration/Mapping/EntityPairs.h"
#include "CoreData/Migration/Mapping/MappingContent.h"

namespace coredata {

/// Throws an `Error` of code `MappingErrorCode::invalidMapping` that names the entity mapping.
[[noreturn]] void fail(const EntityMappingContent& mapping, const std::string& what);

/// Holds the value expressions of one entity mapping against its entities and against the names of
/// the other mappings. Throws as `checkMapping` does.
class ExpressionChecks {
 public:
  ExpressionChecks(const MappingContent& content, const EntityMappingContent& mapping,
                   const EntityPair& pair)
      : content_(content), mapping_(mapping), pair_(pair) {}

  void checkAttribute(const NSPropertyMapping& property) const;
  void checkRelationship(const NSPropertyMapping& property) const;

 private:
  using Variable = MappingExpression::Variable;

  /// What a path of keys leads to: an attribute, or objects of an entity.
  struct PathEnd {
    const NSPropertyDescription* property = nullptr;
    const NSEntityDescription* entity = nullptr;
  };

  [[noreturn]] void fail(const NSPropertyMapping& property, const std::string& what) const;
  void checkConstant(const NSPropertyMapping& property, const NSAttributeDescription& attribute,
                     const foundation::Value& constant) const;
  void checkPath(const NSPropertyMapping& property, const NSAttributeDescription& attribute,
                 const MappingExpression::KeyPath& path) const;
  void checkPolicyCall(const NSPropertyMapping& property,
                       const MappingExpression::Function& call) const;
  void checkManagerCall(const NSPropertyMapping& property,
                        const NSRelationshipDescription& relationship,
                        const MappingExpression::Function& call) const;
  void checkArgument(const NSPropertyMapping& property, const MappingExpression& argument) const;
  [[nodiscard]] PathEnd endOf(const NSPropertyMapping& property,
                              const MappingExpression::KeyPath& path) const;

  const MappingContent& content_;
  const EntityMappingContent& mapping_;
  const EntityPair& pair_;
};

}  // namespace coredata
