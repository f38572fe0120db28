#pragma once

#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Model/NSEntityDescription.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/URL.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// One version of the schema: entities by name, and named configurations, which are subsets of
/// them. Immutable from birth, so it may be shared by any threads. Every load gives a new model.
class NSManagedObjectModel final : public foundation::Object {
 public:
  /// A model of no entities, for a coordinator that only moves files.
  [[nodiscard]] static foundation::Ref<NSManagedObjectModel> empty();
  /// Reads a compiled model: a `.mom` or `.omo` file, or a `.momd` directory, of which the current
  /// version is read. None when there is nothing readable there: missing, damaged (magic, version,
  /// checksum and all bounds are checked) or written by a newer compiler. `why`, if given, receives
  /// the reason as a text for people.
  [[nodiscard]] static foundation::Ref<NSManagedObjectModel> contentsOf(const foundation::URL& url,
                                                                        std::string* why = nullptr);

  /// The first model among compiled models, every version of a `.momd` directory included, that is
  /// compatible with a store of this metadata; none when no model is. Files that cannot be read are
  /// passed over.
  [[nodiscard]] static foundation::Ref<NSManagedObjectModel> mergedModel(
      std::span<const foundation::URL> from, const foundation::ValueDictionary& forStoreMetadata);

  /// The entities in the order of their names; an entity's `index()` is its place here.
  [[nodiscard]] std::span<const NSEntityDescription* const> entities() const noexcept {
    return entities_;
  }
  [[nodiscard]] const NSEntityDescription& entity(EntityIndex index) const noexcept {
    return *entities_[index];
  }
  /// The entity of that name, or null.
  [[nodiscard]] const NSEntityDescription* entity(std::string_view name) const noexcept;

  [[nodiscard]] std::vector<std::string> configurations() const;
  /// The entities of a configuration; none for a name that the model does not define.
  [[nodiscard]] std::optional<std::vector<const NSEntityDescription*>> entities(
      std::string_view configuration) const;

  /// Texts that the author of the version gave it, such as "Tessaline 7".
  [[nodiscard]] const std::set<std::string>& versionIdentifiers() const noexcept {
    return versionIdentifiers_;
  }
  /// Entity name to version hash, each hash as 32 bytes; what store metadata keeps.
  [[nodiscard]] foundation::ValueDictionary entityVersionHashesByName() const;
  /// One hash over all entities' hashes: equal exactly for models that store alike.
  [[nodiscard]] const VersionHash& fingerprint() const noexcept { return fingerprint_; }

  /// Whether a store with this metadata holds exactly the entities of the configuration (of the
  /// whole model for none), with equal version hashes. Missing or malformed metadata and unknown
  /// configurations answer false.
  [[nodiscard]] bool isConfiguration(
      const std::optional<std::string>& configuration,
      const foundation::ValueDictionary& compatibleWithStoreMetadata) const;

 private:
  friend class ModelBuilder;
  NSManagedObjectModel() = default;
  ~NSManagedObjectModel() override;

  std::vector<const NSEntityDescription*> entities_;
  std::map<std::string, std::vector<EntityIndex>, std::less<>> configurations_;
  std::set<std::string> versionIdentifiers_;
  VersionHash fingerprint_{};
};

/// The key under which store metadata keeps the map of entity version hashes.
inline constexpr std::string_view NSStoreModelVersionHashesKey = "NSStoreModelVersionHashes";
inline constexpr std::string_view NSStoreModelVersionIdentifiersKey =
    "NSStoreModelVersionIdentifiers";
inline constexpr std::string_view NSStoreTypeKey = "NSStoreType";
inline constexpr std::string_view NSStoreUUIDKey = "NSStoreUUID";

}  // namespace coredata
