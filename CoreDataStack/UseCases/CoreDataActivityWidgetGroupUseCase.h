#pragma once

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/Model/CDActivityWidgetGroup.h"
#include "Domain/ActivityWidgetGroupUseCase.h"

namespace coredatastack {

/// The widget groups in a context. Keeps nothing but the context: every call looks at the store.
///
/// Groups are made and changed in the same context; a group that is handed in is not looked at. A
/// save or fetch that fails throws the store's error as it came, and what was to be written stays
/// pending in the context.
///
/// Threading: use it on the context's queue.
class CoreDataActivityWidgetGroupUseCase final
    : public domain::ActivityWidgetGroupUseCase<CDActivityWidgetGroup,
                                                coredata::NSArray<CDActivityWidgetGroup>> {
 public:
  explicit CoreDataActivityWidgetGroupUseCase(
      foundation::Ref<coredata::NSManagedObjectContext> context);

  /// Unsaved changes take part, here and in `find`.
  [[nodiscard]] coredata::NSArray<CDActivityWidgetGroup> list(
      domain::ActivityWidgetSize by) override;
  [[nodiscard]] foundation::Ref<CDActivityWidgetGroup> find(const foundation::UUID& by) override;
  /// Saves the context, with everything that is pending in it.
  void add(const foundation::Ref<CDActivityWidgetGroup>& group) override;
  /// The same.
  void update(const foundation::Ref<CDActivityWidgetGroup>& group) override;
  /// Saves nothing: the deletion goes with the next save of the context. Never throws.
  void remove(const foundation::Ref<CDActivityWidgetGroup>& group) override;

 private:
  foundation::Ref<coredata::NSManagedObjectContext> context_;
};

}  // namespace coredatastack
