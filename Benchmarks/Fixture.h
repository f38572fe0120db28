#pragma once

#include <string>
#include <vector>

#include "Benchmarks/EngineStore.h"
#include "Benchmarks/HandWrittenStore.h"
#include "Benchmarks/Workload.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace benchmarks {

/// A directory of its own with a place for a store of each side.
class StoreDirectory {
 public:
  [[nodiscard]] std::string ourPath() const { return (directory_.path() / "ours.sqlite").string(); }
  [[nodiscard]] std::string handWrittenPath() const {
    return (directory_.path() / "by-hand.sqlite").string();
  }

 private:
  support::TemporaryDirectory directory_;
};

/// New stores of both sides with the same activities and check-ins in them, day by day, as they
/// come to be when people check in: the days of one habit lie far apart.
class Fixture {
 public:
  Fixture(const StoreDirectory& directory, int activities, int days,
          Durability durability = Durability::full);

  [[nodiscard]] EngineStore& ours() { return ours_; }
  [[nodiscard]] HandWrittenStore& byHand() { return byHand_; }
  /// An activity by its number from 1, which is its key in both stores.
  [[nodiscard]] const foundation::Ref<coredatastack::CDActivity>& activity(
      std::int64_t number) const {
    return activities_[static_cast<std::size_t>(number - 1)];
  }

 private:
  void addActivities(int count);
  void addCheckins(int firstDay, int endDay);

  EngineStore ours_;
  HandWrittenStore byHand_;
  std::vector<foundation::Ref<coredatastack::CDActivity>> activities_;
};

/// The same in a directory that lasts as long as they do.
class TemporaryFixture : private StoreDirectory, public Fixture {
 public:
  TemporaryFixture(int activities, int days, Durability durability = Durability::full)
      : Fixture(static_cast<const StoreDirectory&>(*this), activities, days, durability) {}
};

/// A new check-in with the record's values. In the context's turn.
void insertCheckin(coredata::NSManagedObjectContext& context,
                   const foundation::Ref<coredatastack::CDActivity>& activity,
                   const CheckinRecord& record);

}  // namespace benchmarks
