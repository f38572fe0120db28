#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/History/PersistentHistoryMerger.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/CoreDataStack/History/HistoryPlace.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/UnsyncedFiles.h"

namespace support {

/// In force before the place opens its stores: nothing waits for the disk.
struct UnsyncedDisk {
  UnsyncedDisk() { vfs.skipSyncs(); }

  UnsyncedFiles settings;
  FaultVFS vfs;
  coredata::StoreVFSOverride override{vfs.name()};
};

/// An application and its extension, which follow one store over settings that they share while a
/// third program writes to it, under a clock that is put wherever a test wants it. What they were
/// promised is checked at each step, by gtest's expectations.
class SteppingClock : private UnsyncedDisk, public HistoryPlace {
 protected:
  SteppingClock();
  ~SteppingClock() override;

  /// One transaction, after which each of the two looks at the history every so many commits.
  void commit();
  /// Lets both come to rest, and compares all that they merged with all that was written.
  void finish();
  [[nodiscard]] std::int64_t committed() const noexcept { return committed_; }

  foundation::ManualClock clock_{700'000'000};

 private:
  struct Part {
    coredatastack::AppTarget target;
    foundation::Ref<coredata::NSPersistentContainer> container;
    std::int64_t interval;
    /// All that it was ever handed, and what of this since the history was last cut.
    std::set<std::int64_t> merged;
    std::set<std::int64_t> mergedSinceCut;
    /// Read before anything is written, so that only a merge brings it up to date.
    foundation::Ref<coredata::NSManagedObject> held;
  };
  using Transactions = coredatastack::PersistentHistoryMerger::Transactions;

  /// What an observer does when it hears of a change.
  void pass(Part& part);
  void note(Part& part, const Transactions& transactions);
  /// Compares what the history holds with what it held.
  void look();
  [[nodiscard]] std::map<std::int64_t, foundation::Date> history() const;
  [[nodiscard]] bool hasStamp(const Part& part) const;

  Part app_;
  Part extension_;
  foundation::Ref<coredata::NSManagedObjectContext> writer_;
  foundation::Ref<coredata::NSManagedObject> written_;
  std::int64_t committed_ = 0;
  /// The stamps of all transactions that were ever seen, by their numbers.
  std::map<std::int64_t, foundation::Date> known_;
};

}  // namespace support
