#include "Tests/Reliability/Time/SteppingClock.h"

#include <algorithm>

#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreDataStack/History/PersistentHistoryCleaner.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/CoreDataStack/History/Silence.h"

namespace support {

using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredatastack::AppTarget;
using coredatastack::PersistentHistoryCleaner;
using coredatastack::PersistentHistoryFetcher;
using coredatastack::PersistentHistoryMerger;
using foundation::Date;
using foundation::Ref;
using foundation::UserDefaults;

namespace {

Ref<NSManagedObject> onlyActivity(NSManagedObjectContext& context) {
  return context.fetch(coredata::NSFetchRequest<NSManagedObject>("Activity")).first();
}

std::string notesOf(const NSManagedObject& activity) {
  return *activity.valueForKey("notes").text();
}

}  // namespace

SteppingClock::SteppingClock()
    : app_{AppTarget::app, Ref(&store_.container()), 3, {}, {}, {}},
      extension_{AppTarget::shareExtension, elsewhere_, 7, {}, {}, {}},
      writer_(store_.opened()->newBackgroundContext()) {
  writer_->performBlockAndWait([&] {
    written_ = writer_->insertNewObject("Activity");
    written_->setValue(std::to_string(++committed_), "notes");
    writer_->save();
  });
  for (Part* part : {&app_, &extension_}) {
    part->held = onlyActivity(*part->container->viewContext());
    static_cast<void>(notesOf(*part->held));
  }
}

SteppingClock::~SteppingClock() = default;

void SteppingClock::commit() {
  writer_->performBlockAndWait([&] {
    written_->setValue(std::to_string(++committed_), "notes");
    writer_->save();
  });
  for (Part* part : {&app_, &extension_}) {
    if (committed_ % part->interval == 0) pass(*part);
  }
}

void SteppingClock::pass(Part& part) {
  const Silence silence;
  look();
  const auto context = part.container->newBackgroundContext();
  context->performBlockAndWait([&] {
    const auto& defaults = UserDefaults::standard();
    const auto& view = part.container->viewContext();
    const auto merged = PersistentHistoryMerger(context, view, part.target, defaults).merge();
    if (!merged) return;
    note(part, *merged);
    const auto targets = AppTarget::allCases();
    PersistentHistoryCleaner(context, {targets.begin(), targets.end()}, defaults).clean();
  });
  foundation::drainMainQueue();
  EXPECT_EQ(notesOf(*part.held), std::to_string(committed_));
  look();
  // A cut takes both stamps away, and what is left is merged once more.
  if (!hasStamp(app_) && !hasStamp(extension_)) {
    app_.mergedSinceCut.clear();
    extension_.mergedSinceCut.clear();
  }
}

void SteppingClock::note(Part& part, const Transactions& transactions) {
  std::int64_t last = 0;
  for (const auto& transaction : transactions) {
    const std::int64_t number = transaction->transactionNumber();
    EXPECT_GT(number, last) << "not in the order of the commits";
    EXPECT_TRUE(part.mergedSinceCut.insert(number).second) << number << " was merged twice";
    part.merged.insert(number);
    last = number;
  }
  EXPECT_EQ(last, committed_);
}

void SteppingClock::look() {
  const auto present = history();
  for (const auto& [number, stamp] : present) {
    const auto [known, isNew] = known_.emplace(number, stamp);
    EXPECT_EQ(known->second, stamp) << "the stamp of " << number << " has changed";
    if (isNew && known != known_.begin()) {
      EXPECT_GT(stamp, std::prev(known)->second) << "the stamps do not rise at " << number;
    }
  }
  for (const auto& [number, stamp] : known_) {
    const bool isMergedByAll = app_.merged.contains(number) && extension_.merged.contains(number);
    EXPECT_TRUE(present.contains(number) || isMergedByAll) << number << " was deleted too early";
  }
}

std::map<std::int64_t, Date> SteppingClock::history() const {
  std::map<std::int64_t, Date> result;
  writer_->performBlockAndWait([&] {
    const auto request =
        coredata::NSPersistentHistoryChangeRequest::fetchHistoryAfterToken(nullptr);
    for (const auto& transaction :
         PersistentHistoryFetcher::transactions(writer_->execute(request))) {
      result[transaction->transactionNumber()] = transaction->timestamp();
    }
  });
  return result;
}

bool SteppingClock::hasStamp(const Part& part) const {
  return lastHistoryTransactionTimestamp(defaults(), part.target).has_value();
}

void SteppingClock::finish() {
  for (Part* part : {&app_, &extension_}) pass(*part);
  for (const Part* part : {&app_, &extension_}) {
    EXPECT_EQ(part->merged.size(), static_cast<std::size_t>(committed_)) << "some were missed";
  }
  EXPECT_LT(numberOfTransactions(), committed_) << "nothing was ever cleaned";
}

}  // namespace support
