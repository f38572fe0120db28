#pragma once

#include <string_view>
#include <vector>

#include "CoreData/Migration/Mapping/NSMappingModel.h"
#include "CoreData/SQLite/RowTransfer.h"

namespace coredata {

/// One entity mapping with what it leads from and to in the two models.
struct PlannedMapping {
  const NSEntityMapping* mapping = nullptr;
  /// Null where the mapping has none.
  const NSEntityDescription* source = nullptr;
  const NSEntityDescription* destination = nullptr;
  /// Whether its objects keep their keys: nothing else leads to the destination's entity.
  bool keepsKeys = false;
  /// Whether its objects are made one by one.
  bool needsObjects = false;
  /// What its rows are copied by, where it makes rows without objects.
  RowCopy copy;
  /// A column of the copied rows that holds keys, and the mapping whose objects they are of.
  struct Reference {
    SlotIndex slot;
    std::size_t target;
  };
  std::vector<Reference> references;
};

/// How a migration goes about each entity mapping: rows are copied inside SQLite wherever the
/// expressions say no more than which column becomes which; the rest goes object by object.
///
/// The mapping model and both models must outlive it.
class MigrationPlan {
 public:
  /// Throws `MigrationErrorCode::wrongModels` for a mapping that names an entity or a property
  /// which its models do not have.
  MigrationPlan(const NSMappingModel& mappings, const NSManagedObjectModel& source,
                const NSManagedObjectModel& destination);

  [[nodiscard]] const std::vector<PlannedMapping>& mappings() const noexcept { return mappings_; }
  /// The position of the mapping of that name; `mappings().size()` when there is none.
  [[nodiscard]] std::size_t position(std::string_view name) const noexcept;
  [[nodiscard]] bool needsObjects() const noexcept;

 private:
  void planCopy(PlannedMapping& planned);
  [[nodiscard]] bool planAttribute(PlannedMapping& planned, const NSPropertyMapping& property);
  [[nodiscard]] bool planToOne(PlannedMapping& planned, const NSPropertyMapping& property);
  /// A to-many that is set from its own side: the other side's column follows from it.
  [[nodiscard]] bool planToMany(const PlannedMapping& planned, const NSPropertyMapping& property);
  void setReference(PlannedMapping& planned, SlotIndex slot, CopiedColumn column,
                    std::size_t target);

  std::vector<PlannedMapping> mappings_;
};

}  // namespace coredata
