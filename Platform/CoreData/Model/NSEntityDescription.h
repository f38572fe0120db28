#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Model/NSAttributeDescription.h"
#include "CoreData/Model/NSFetchIndexDescription.h"
#include "CoreData/Model/NSRelationshipDescription.h"

namespace coredata {

class NSManagedObjectModel;

/// The number of an entity inside its model, counted from 0 in the order of names.
using EntityIndex = std::uint16_t;
/// SHA-256 over what makes two versions of an entity store differently.
using VersionHash = std::array<std::uint8_t, 32>;

/// One stored property of an entity: which column slot n of a row is.
struct Slot {
  const NSPropertyDescription* property = nullptr;
  /// The attribute, or null for a to-one relationship.
  const NSAttributeDescription* attribute = nullptr;
  /// The to-one relationship, or null for an attribute.
  const NSRelationshipDescription* relationship = nullptr;
};

/// What the objects of one kind have: their properties by name, and the numbering by which rows
/// hold them. Immutable; lives as long as its model.
class NSEntityDescription final : public foundation::Object {
 public:
  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  /// The class that typed code binds to this entity; "NSManagedObject" in versions that no typed
  /// code reads.
  [[nodiscard]] const std::string& managedObjectClassName() const noexcept { return className_; }
  [[nodiscard]] const NSManagedObjectModel& managedObjectModel() const noexcept { return *model_; }
  [[nodiscard]] EntityIndex index() const noexcept { return index_; }
  [[nodiscard]] bool isAbstract() const noexcept { return abstract_; }
  [[nodiscard]] const std::string& renamingIdentifier() const noexcept {
    return renamingIdentifier_;
  }
  [[nodiscard]] const VersionHash& versionHash() const noexcept { return versionHash_; }

  /// Every property, in the order of names.
  using PropertiesByName = std::map<std::string, const NSPropertyDescription*, std::less<>>;
  [[nodiscard]] const PropertiesByName& propertiesByName() const noexcept { return properties_; }
  /// The property of that name, or null; a search by text, not for hot paths.
  [[nodiscard]] const NSPropertyDescription* property(std::string_view name) const noexcept;
  [[nodiscard]] const NSAttributeDescription* attribute(std::string_view name) const noexcept;
  [[nodiscard]] const NSRelationshipDescription* relationship(std::string_view name) const noexcept;

  /// The columns of a row, by slot.
  [[nodiscard]] std::span<const Slot> slots() const noexcept { return slots_; }
  /// The slots that hold to-one relationships.
  [[nodiscard]] std::span<const SlotIndex> toOneSlots() const noexcept { return toOneSlots_; }
  /// The to-many relationships, by their number.
  [[nodiscard]] std::span<const NSRelationshipDescription* const> toManyRelationships()
      const noexcept {
    return toMany_;
  }
  [[nodiscard]] std::span<const NSFetchIndexDescription* const> indexes() const noexcept {
    return indexes_;
  }

 private:
  friend class ModelBuilder;
  NSEntityDescription() = default;
  ~NSEntityDescription() override;

  std::string name_;
  std::string className_ = "NSManagedObject";
  std::string renamingIdentifier_;
  const NSManagedObjectModel* model_ = nullptr;
  EntityIndex index_ = 0;
  bool abstract_ = false;
  VersionHash versionHash_{};
  PropertiesByName properties_;
  std::vector<Slot> slots_;
  std::vector<SlotIndex> toOneSlots_;
  std::vector<const NSRelationshipDescription*> toMany_;
  std::vector<const NSFetchIndexDescription*> indexes_;
};

}  // namespace coredata
