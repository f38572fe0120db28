#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "Domain/ActivityStatus.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/LocalDate.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {

/// A store whose disk can break, the main context over it, and settings that tests can rely on.
class UseCaseTest : public testing::Test {
 protected:
  ~UseCaseTest() override { repairDisk(); }

  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& contextHandle() const {
    return store_.contextHandle();
  }

  [[nodiscard]] foundation::Ref<CDActivity> savedActivity(
      domain::ActivityStatus status = domain::ActivityStatus::active) const {
    auto activity = CDActivity::create(context(), "red");
    activity->setStatus(status.value());
    context().save();
    return activity;
  }
  foundation::Ref<CDCheckin> addCheckin(const foundation::Ref<CDActivity>& activity,
                                        const std::optional<std::string>& day,
                                        double count = 1) const {
    auto checkin = foundation::make<CDCheckin>(context());
    checkin->setDate(day);
    checkin->setCount(count);
    checkin->setActivity(activity);
    context().save();
    return checkin;
  }

  /// How many objects of the class another reader of the file sees.
  template <typename T>
  [[nodiscard]] std::int64_t stored() const {
    const auto other = store_.opened()->newBackgroundContext();
    return other->performBlockAndWait([&] { return other->count(T::fetchRequest()); });
  }

  /// From now on nothing can be written, but everything read.
  void breakWrites() {
    vfs_.watch(bit(support::FileOperation::write) | bit(support::FileOperation::sync) |
               bit(support::FileOperation::truncate));
    vfs_.failAt(1, SQLITE_IOERR_WRITE, true);
  }
  /// From now on nothing can be read either.
  void breakDisk() {
    vfs_.watch(support::kEverything);
    vfs_.failAt(1, SQLITE_IOERR, true);
  }
  void repairDisk() { vfs_.reset(); }

 private:
  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  support::FaultVFS vfs_;
  coredata::StoreVFSOverride override_{vfs_.name()};

 protected:
  support::TemporaryStore store_;
};

/// The domain of the error that `work` throws; empty when it throws none.
template <typename Work>
[[nodiscard]] std::string errorDomain(Work&& work) {
  try {
    work();
  } catch (const foundation::Error& error) {
    return std::string(error.domain());
  }
  return {};
}

}  // namespace coredatastack
