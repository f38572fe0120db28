#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Migration/Mapping/NSEntityMapping.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// How the objects of one version of the schema become objects of the next. Immutable from birth,
/// so any threads may share it.
class NSMappingModel final : public foundation::Object {
 public:
  /// Takes what inference or the compiler made and checked.
  explicit NSMappingModel(MappingContent content);

  /// Reads a compiled mapping, a `.cdm` file. None when there is nothing readable there: missing,
  /// damaged (magic, version, checksum and all bounds are checked) or written by a newer compiler.
  /// `why`, if given, receives the reason as a text for people. Whether it fits any models is not
  /// looked at.
  [[nodiscard]] static foundation::Ref<const NSMappingModel> contentsOf(const foundation::URL& url,
                                                                        std::string* why = nullptr);

  /// The first among compiled mappings that was made for exactly these two models; none when none
  /// was. Files that cannot be read, or that do not fit the models that they name, are passed over.
  [[nodiscard]] static foundation::Ref<const NSMappingModel> from(
      std::span<const foundation::URL> files, const NSManagedObjectModel& forSourceModel,
      const NSManagedObjectModel& destinationModel);

  /// The mapping that follows from two models alone: entities and properties are matched by name or
  /// renaming identifier, numbers may widen, and what is new must be optional or have a default.
  /// Throws an `Error` of code `MappingErrorCode::cannotInfer` whose message lists every reason.
  [[nodiscard]] static foundation::Ref<const NSMappingModel> inferredMappingModel(
      const NSManagedObjectModel& forSourceModel, const NSManagedObjectModel& destinationModel);

  /// In the order in which a migration goes through them.
  [[nodiscard]] std::span<const foundation::Ref<const NSEntityMapping>> entityMappings()
      const noexcept {
    return entityMappings_;
  }
  /// The entity mapping of that name, or null.
  [[nodiscard]] const NSEntityMapping* entityMapping(std::string_view name) const noexcept;

 private:
  ~NSMappingModel() override = default;

  std::vector<foundation::Ref<const NSEntityMapping>> entityMappings_;
};

}  // namespace coredata
