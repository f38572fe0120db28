#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Migration/Mapping/NSMappingModel.h"

namespace coredata {

/// In the user info of a migration's progress: the name of the entity mapping that is under way.
inline constexpr std::string_view kMigrationMappingKey = "CDSMigrationMapping";

/// Writes the content of a store of one model into a new store of another, as a mapping model says.
///
/// The source is opened for reading only and is not changed, its log included. The new store takes
/// over the source's identifier, the program's metadata and, where one object becomes one object,
/// the primary keys; its history begins anew with numbers and stamps behind the source's. It is
/// written without waiting for the disk and without indexes: replacing a store with it syncs, and
/// opening it makes the indexes.
///
/// Entity mappings without a policy are copied as rows, before the first policy is called.
///
/// A migration makes a discrete progress with a unit for each source object that is to be kept.
/// When that is cancelled, the migration ends with `MigrationErrorCode::cancelled` soon after.
///
/// Threading: one thread at a time, any thread. A manager may migrate one store after another.
class NSMigrationManager final : public foundation::Object {
 public:
  NSMigrationManager(foundation::Ref<const NSManagedObjectModel> sourceModel,
                     foundation::Ref<const NSManagedObjectModel> destinationModel);

  /// Throws `foundation::Error`: what the stores throw, `MigrationErrorCode`s, validation errors
  /// and whatever a policy throws. The source is then as it was, and the destination's file stays
  /// as far as it was written.
  void migrateStore(const foundation::URL& from, std::string_view sourceType,
                    const foundation::ValueDictionary& options,
                    const foundation::Ref<const NSMappingModel>& with,
                    const foundation::URL& toDestinationURL, std::string_view destinationType,
                    const foundation::ValueDictionary& destinationOptions);

  [[nodiscard]] const NSManagedObjectModel& sourceModel() const noexcept { return *sourceModel_; }
  [[nodiscard]] const NSManagedObjectModel& destinationModel() const noexcept {
    return *destinationModel_;
  }

  // For policies, during a migration.

  [[nodiscard]] const NSMappingModel& mappingModel() const;
  /// Never saved.
  [[nodiscard]] NSManagedObjectContext& sourceContext() const;
  [[nodiscard]] NSManagedObjectContext& destinationContext() const;

  /// Remembers that `destination` became of `source` in that mapping.
  void associate(NSManagedObject& source, NSManagedObject& destination,
                 const NSEntityMapping& mapping);
  /// What became of the sources in the entity mapping of that name, in their order; nothing for
  /// those of which nothing became, and for a mapping that there is not.
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> destinationInstances(
      std::string_view forEntityMappingNamed,
      std::span<const foundation::Ref<NSManagedObject>> sourceInstances) const;
  /// What an object of the destination was made from in that mapping, or null.
  [[nodiscard]] foundation::Ref<NSManagedObject> sourceInstance(
      const NSManagedObject& destinationInstance, const NSEntityMapping& mapping) const;
  /// A new object of the mapping's destination entity, with the source's key where the mapping
  /// keeps them and the key is still free.
  [[nodiscard]] foundation::Ref<NSManagedObject> insertDestinationInstance(
      const NSManagedObject& source, const NSEntityMapping& mapping);

 private:
  class Run;
  friend class Run;

  ~NSMigrationManager() override;

  foundation::Ref<const NSManagedObjectModel> sourceModel_;
  foundation::Ref<const NSManagedObjectModel> destinationModel_;
  /// The migration that is under way, else null.
  Run* run_ = nullptr;
};

}  // namespace coredata
