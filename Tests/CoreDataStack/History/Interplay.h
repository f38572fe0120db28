#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/History/PersistentHistoryObserver.h"
#include "Tests/CoreDataStack/History/HistoryPlace.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/Interleaving.h"
#include "Tests/Support/RecordingLogger.h"
#include "Tests/Support/UnsyncedFiles.h"

namespace support {

/// In force before the place opens its stores: who waits for a lock lets another go on.
struct YieldingFiles {
  YieldingFiles() {
    vfs.watch(0);
    vfs.skipWaits();
    vfs.skipSyncs();
    vfs.callBeforeWaits([this] {
      if (current != nullptr) current->waits();
    });
  }

  UnsyncedFiles settings;
  FaultVFS vfs;
  Interleaving* current = nullptr;
  coredata::StoreVFSOverride override{vfs.name()};
};

/// An application and its extension, which observe one store over settings that they share, and two
/// writers, in an order of steps that is chosen. What they were promised is checked after each step
/// and in the end, by gtest's expectations.
class Interplay : private YieldingFiles, public HistoryPlace {
 protected:
  Interplay();
  ~Interplay() override;

  struct Part {
    std::string author;
    coredatastack::AppTarget target;
    foundation::Ref<coredata::NSPersistentContainer> container;
    foundation::Ref<coredatastack::PersistentHistoryObserver> observer;
    std::optional<combine::AnyCancellable> events;
    std::set<std::int64_t> merged;
    std::optional<foundation::Date> stamp;
    std::optional<foundation::Date> highestStamp;
    /// Read before the play, so that only a merge brings it up to date.
    std::vector<foundation::Ref<coredata::NSManagedObject>> held;
  };
  struct Writer {
    std::string author;
    foundation::Ref<coredata::NSPersistentContainer> container;
    int raises = 0;
  };

  /// An empty history, which nobody has read, and one transaction that is news to both.
  void begin(Interleaving& play);
  /// One pass of the observer, when it hears of a change.
  void pass(Interleaving& play, Part& part);
  /// One save that appends a token to the list which the writers share, and raises the writer's
  /// own count; repeated until nobody came between.
  void commit(Writer& writer);
  /// Merges what has been handed to the view contexts.
  static void mergeViews();
  /// Lets both come to rest, and compares.
  void end(const std::string& how);

  Part app_;
  Part extension_;
  /// The two observers' own contexts, then two other programs.
  std::vector<Writer> writers_;

 private:
  void openPart(Part& part);
  void look();
  void lookAtStamp(Part& part);
  void note(const foundation::NSNotification& notification);
  void makeActivities();
  void clear();
  void settle();
  void expectAllMerged() const;
  void expectAllWritten() const;
  void expectViewsCurrent() const;
  struct Recorded {
    foundation::Date stamp;
    std::string author;
  };
  /// The transactions that the history holds, by their numbers.
  [[nodiscard]] std::map<std::int64_t, Recorded> history() const;

  /// Reads what the others do.
  const foundation::Ref<coredata::NSPersistentContainer> witness_ = store_.opened();

  foundation::Ref<RecordingLogger> log_ = foundation::make<RecordingLogger>();
  foundation::Ref<foundation::Object> token_;
  std::map<std::int64_t, std::string> written_;
  std::map<std::int64_t, Recorded> known_;
  std::multiset<std::string> tokens_;
};

}  // namespace support
