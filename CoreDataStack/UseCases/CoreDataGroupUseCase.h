#pragma once

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/Model/CDGroup.h"
#include "Domain/GroupUseCase.h"
#include "Logger/Loggable.h"

namespace coredatastack {

/// The groups in a context. Keeps nothing but the context and the logger: every call looks at the
/// store.
///
/// Threading: use it on the context's queue.
class CoreDataGroupUseCase final
    : public domain::GroupUseCase<CDGroup, coredata::NSArray<CDGroup>> {
 public:
  CoreDataGroupUseCase(foundation::Ref<coredata::NSManagedObjectContext> context,
                       foundation::Ref<logger::Loggable> logger);

  /// Unsaved changes take part. A fetch that fails is printed and logged, and lists nothing.
  [[nodiscard]] coredata::NSArray<CDGroup> list() override;
  /// Unsaved changes take part. A count that fails is logged and answers 0.
  [[nodiscard]] std::int64_t numberOfGroups() override;

  // None of these does anything. A group is made, changed and deleted in the context, and whoever
  // does it saves that context: together with the activities that move in or out.

  void add(const foundation::Ref<CDGroup>& group) override;
  void update(const foundation::Ref<CDGroup>& group) override;
  void remove(const foundation::Ref<CDGroup>& group) override;

 private:
  foundation::Ref<coredata::NSManagedObjectContext> context_;
  foundation::Ref<logger::Loggable> logger_;
};

}  // namespace coredatastack
