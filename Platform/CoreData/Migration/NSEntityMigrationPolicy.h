#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "CoreData/Migration/Mapping/NSEntityMapping.h"
#include "CoreData/Object/NSManagedObject.h"

namespace coredata {

class NSMigrationManager;

/// How the objects of one entity mapping are made. The manager makes one policy for each mapping
/// that names a class, and calls it in three passes over all of them, in the order in which they
/// stand in the mapping model:
///
/// 1. `beginEntityMapping`, `createDestinationInstances` for each source object by ascending key,
///    `endInstanceCreation`;
/// 2. `createRelationships` for each destination instance in the order in which they were made,
///    `endRelationshipCreation`;
/// 3. `performCustomValidation`, `endEntityMapping`, with all objects and relationships in place
///    and saved.
///
/// What is mandatory may be left absent until the end of the third pass; then each object must have
/// it, or the migration ends with `SaveErrorCode::missingMandatoryProperty`.
///
/// A mapping without a source entity gets no call for objects. The first error that one of them
/// throws ends the migration and reaches its caller unchanged. Changes that a policy makes to a
/// source object feed the mapping's expressions and last while that object is being processed; they
/// are never saved.
///
/// Threading: called inside the turns of both of the manager's contexts.
class NSEntityMigrationPolicy : public foundation::Object {
 public:
  NSEntityMigrationPolicy() = default;

  virtual void beginEntityMapping(const NSEntityMapping& mapping, NSMigrationManager& manager);
  /// Inserts one object of the destination entity, sets its attributes to what the mapping's
  /// expressions give, and associates the two.
  virtual void createDestinationInstances(NSManagedObject& sourceInstance,
                                          const NSEntityMapping& mapping,
                                          NSMigrationManager& manager);
  virtual void endInstanceCreation(const NSEntityMapping& mapping, NSMigrationManager& manager);
  /// Sets the relationships to what the mapping's expressions give.
  virtual void createRelationships(NSManagedObject& destinationInstance,
                                   const NSEntityMapping& mapping, NSMigrationManager& manager);
  virtual void endRelationshipCreation(const NSEntityMapping& mapping, NSMigrationManager& manager);
  virtual void performCustomValidation(const NSEntityMapping& mapping, NSMigrationManager& manager);
  virtual void endEntityMapping(const NSEntityMapping& mapping, NSMigrationManager& manager);

  /// What `FUNCTION($entityPolicy, "<selector>", ...)` calls in a value expression. A policy with
  /// functions of its own overrides it. Throws `MigrationErrorCode::unknownFunction` for others.
  [[nodiscard]] virtual foundation::Value perform(std::string_view selector,
                                                  std::span<const foundation::Value> arguments);

  using Factory = std::function<foundation::Ref<NSEntityMigrationPolicy>()>;
  /// Makes a class known by the name under which mapping models ask for it. A second registration
  /// replaces the first. On any thread.
  static void registerClass(std::string_view name, Factory factory);
  /// A new policy. Throws `MigrationErrorCode::unknownPolicy`.
  [[nodiscard]] static foundation::Ref<NSEntityMigrationPolicy> ofClass(std::string_view name);

 protected:
  ~NSEntityMigrationPolicy() override = default;
};

}  // namespace coredata
