#pragma once

#include <string_view>
#include <vector>

#include "CoreData/Model/ModelSource.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/Model/VersionHashes.h"
#include "Foundation/Values/Ref.h"

namespace coredata {

/// Makes models: checks what a source says, sorts it by name, numbers slots and to-many
/// relationships, and ties the descriptions to each other. Nothing else creates them, and nothing
/// changes them afterwards.
class ModelBuilder {
 public:
  /// Throws an `Error` of code `ModelErrorCode::invalidModel` that names the entity and the
  /// property at fault.
  [[nodiscard]] static foundation::Ref<NSManagedObjectModel> build(ModelSource source);
  /// The same with hashes that were computed before, one for each of the source's entities in the
  /// order of names.
  [[nodiscard]] static foundation::Ref<NSManagedObjectModel> build(ModelSource source,
                                                                   const VersionHashes& hashes);

 private:
  /// One entity in the making, with what its source calls it.
  struct Draft {
    const EntitySource* source;
    NSEntityDescription* entity;
    /// Both in the order of names.
    std::vector<NSAttributeDescription*> attributes;
    std::vector<NSRelationshipDescription*> relationships;
  };

  explicit ModelBuilder(const ModelSource& source) : source_(source) {}

  [[nodiscard]] static foundation::Ref<NSManagedObjectModel> assemble(const ModelSource& checked,
                                                                      const VersionHashes& hashes);

  void addEntities(const VersionHashes& hashes);
  static void addAttributes(Draft& draft);
  static void addRelationships(Draft& draft);
  static void addIndexes(Draft& draft);
  void addConfigurations();
  static void numberProperties(Draft& draft);
  static void number(NSEntityDescription& entity, NSAttributeDescription& attribute);
  static void number(NSEntityDescription& entity, NSRelationshipDescription& relationship);
  void connect(Draft& draft);
  template <typename Source>
  static void describe(NSPropertyDescription& property, const Source& source, Draft& draft);
  [[nodiscard]] Draft& draftOf(std::string_view entityName);

  const ModelSource& source_;
  foundation::Ref<NSManagedObjectModel> model_;
  std::vector<Draft> drafts_;
};

/// The model of a JSON source. Throws as `ModelSource::parse` and `ModelBuilder::build` do.
[[nodiscard]] foundation::Ref<NSManagedObjectModel> modelFromSource(std::string_view json);

}  // namespace coredata
