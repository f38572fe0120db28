#pragma once

#include <optional>

#include "CoreDataStack/UseCases/CheckinWriter.h"
#include "Domain/CheckinUseCase.h"

namespace coredatastack {

/// Checks one activity in and out in a context. Keeps nothing but the two: every call looks at the
/// store.
///
/// A save or fetch that fails throws the store's error as it came, and what was to be written stays
/// pending in the context.
///
/// Threading: use it on the context's queue.
class CoreDataCheckinUseCase final : public domain::CheckinUseCase<CDActivity, CDCheckin> {
 public:
  CoreDataCheckinUseCase(foundation::Ref<CDActivity> activity,
                         foundation::Ref<coredata::NSManagedObjectContext> context);

  void addCheckin(foundation::Date at, domain::CheckinType with) override;
  foundation::Ref<CDCheckin> addCheckinCount(double amount, foundation::Date date) override;
  void deleteCheckin(foundation::Date at) override;
  /// One grouped fetch, read from the store alone: unsaved changes take no part. Check-ins whose
  /// day cannot be read are left out.
  [[nodiscard]] LastCheckins lastCheckins(std::optional<domain::ActivityStatus> status) override;

 private:
  CheckinWriter writer_;
};

}  // namespace coredatastack
