#include "Tests/CoreDataStack/History/Interplay.h"

#include <algorithm>
#include <sstream>

#include "CoreData/Context/SaveError.h"
#include "CoreData/Coordinator/RemoteChangeNotification.h"
#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "CoreDataStack/Stack/CoreDataNotificationName.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreDump.h"

namespace support {

using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSPersistentHistoryChangeRequest;
using coredata::NSPersistentHistoryResult;
using coredata::NSPersistentHistoryTransaction;
using coredatastack::AppTarget;
using coredatastack::PersistentHistoryObserver;
using coredatastack::SyncEvent;
using foundation::Date;
using foundation::NSNotification;
using foundation::Ref;

namespace {

/// The part that told of its pass last, on this thread: its notification follows.
thread_local const std::set<std::int64_t>* tellingSet = nullptr;

Ref<NSManagedObject> activityNamed(NSManagedObjectContext& context, const std::string& title) {
  for (const auto& activity : allObjects(context, "Activity")) {
    if (*activity->valueForKey("title").text() == title) return activity;
  }
  throw std::runtime_error("there is no activity " + title);
}

std::string notesOf(const NSManagedObject& activity) {
  return *activity.valueForKey("notes").text();
}

std::string nameOfWriter(std::size_t index) { return "writer " + std::to_string(index); }

bool isConflict(const foundation::Error& error) {
  return error.code() == number(coredata::SaveErrorCode::conflict);
}

}  // namespace

Interplay::Interplay()
    : app_{"app", AppTarget::app, Ref(&store_.container()), {}, {}, {}, {}, {}, {}},
      extension_{"extension", AppTarget::shareExtension, elsewhere_, {}, {}, {}, {}, {}, {}} {
  openPart(app_);
  openPart(extension_);
  for (const Part* part : {&app_, &extension_}) {
    writers_.push_back({part->author, part->container, 0});
  }
  for (const char* author : {"somebody", "somebody else"}) {
    writers_.push_back({author, store_.opened(), 0});
  }
  makeActivities();
  token_ = foundation::NSNotificationCenter::defaultCenter().addObserver(
      coredatastack::CoreDataNotificationName::NSPersistentHistoryDidMerge, nullptr,
      [this](const NSNotification& notification) { note(notification); });
}

Interplay::~Interplay() = default;

void Interplay::openPart(Part& part) {
  const auto& view = part.container->viewContext();
  view->setTransactionAuthor(part.author);
  view->setAutomaticallyMergesChangesFromParent(true);
  view->setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  part.observer = foundation::make<PersistentHistoryObserver>(
      part.target, part.container, foundation::UserDefaults::standard(), log_);
  part.events =
      part.observer->syncEvent()->sink([&part](const SyncEvent&) { tellingSet = &part.merged; });
}

void Interplay::makeActivities() {
  const auto context = witness_->newBackgroundContext();
  context->performBlockAndWait([&] {
    const auto add = [&](const std::string& title) {
      const auto activity = context->insertNewObject("Activity");
      activity->setValue(title, "title");
      activity->setValue(std::string(), "notes");
    };
    add("list");
    for (std::size_t i = 0; i < writers_.size(); ++i) add(nameOfWriter(i));
    context->save();
  });
}

void Interplay::clear() {
  const auto context = witness_->newBackgroundContext();
  context->performBlockAndWait([&] {
    for (const auto& activity : allObjects(*context, "Activity")) {
      activity->setValue(std::string(), "notes");
    }
    context->save();
    static_cast<void>(context->execute(NSPersistentHistoryChangeRequest::deleteHistoryBeforeDate(
        Date::now().addingTimeInterval(1))));
  });
  for (Part* part : {&app_, &extension_}) {
    coredatastack::updateLastHistoryTransactionTimestamp(defaults(), part->target, std::nullopt);
    part->merged.clear();
    part->stamp.reset();
    part->highestStamp.reset();
    const auto& view = part->container->viewContext();
    part->held.clear();
    view->reset();
    part->held = allObjects(*view, "Activity");
    for (const auto& activity : part->held) static_cast<void>(notesOf(*activity));
  }
  written_.clear();
  tokens_.clear();
  for (Writer& writer : writers_) writer.raises = 0;
}

void Interplay::begin(Interleaving& play) {
  clear();
  commit(writers_.back());
  known_ = history();
  for (const auto& [number, transaction] : known_) written_[number] = transaction.author;
  current = &play;
  play.lookAfterSteps([this] { look(); });
}

void Interplay::pass(Interleaving& play, Part& part) {
  play.awaitPass([&] {
    part.observer->processStoreRemoteChanges(
        NSNotification(coredata::NSPersistentStoreRemoteChangeNotification));
  });
}

void Interplay::commit(Writer& writer) {
  const auto index = static_cast<std::size_t>(&writer - writers_.data());
  const std::string count = std::to_string(writer.raises + 1);
  const std::string token = std::to_string(index) + ':' + count;
  for (bool isSaved = false; !isSaved;) {
    const auto context = writer.container->newBackgroundContext();
    context->performBlockAndWait([&] {
      context->setTransactionAuthor(writer.author);
      const auto list = activityNamed(*context, "list");
      list->setValue(notesOf(*list) + ' ' + token, "notes");
      activityNamed(*context, nameOfWriter(index))->setValue(count, "notes");
      try {
        context->save();
        isSaved = true;
      } catch (const foundation::Error& error) {
        if (!isConflict(error)) throw;
      }
    });
  }
  ++writer.raises;
  tokens_.insert(token);
}

void Interplay::mergeViews() { foundation::drainMainQueue(); }

void Interplay::note(const NSNotification& notification) {
  auto& part = tellingSet == &app_.merged ? app_ : extension_;
  std::int64_t last = 0;
  for (const auto& one : *notification.userInfoValue("transactions")->list()) {
    const auto& transaction = static_cast<const NSPersistentHistoryTransaction&>(*one.object());
    EXPECT_GT(transaction.transactionNumber(), last);
    EXPECT_NE(transaction.author(), part.author) << transaction.transactionNumber();
    last = transaction.transactionNumber();
    part.merged.insert(last);
  }
}

void Interplay::lookAtStamp(Part& part) {
  const auto stamp = coredatastack::lastHistoryTransactionTimestamp(defaults(), part.target);
  if (stamp && part.stamp) {
    EXPECT_GE(*stamp, *part.stamp) << part.author << "'s stamp went back";
  }
  part.stamp = stamp;
  if (stamp) part.highestStamp = std::max(stamp, part.highestStamp);
}

void Interplay::look() {
  lookAtStamp(app_);
  lookAtStamp(extension_);
  const auto now = history();
  for (const auto& [number, transaction] : now) written_[number] = transaction.author;
  for (const auto& [number, transaction] : known_) {
    if (now.contains(number)) continue;
    for (const Part* part : {&app_, &extension_}) {
      EXPECT_TRUE(part->highestStamp && transaction.stamp < *part->highestStamp)
          << number << " was taken before " << part->author << " had come so far";
    }
  }
  known_ = now;
}

void Interplay::settle() {
  Interleaving rest({});
  current = &rest;
  rest.add("rest", [&] {
    // What was merged when the history was cut is merged once more.
    for (int round = 0; round < 4; ++round) {
      pass(rest, app_);
      pass(rest, extension_);
    }
  });
  rest.run([](std::size_t) { return 0; });
  current = nullptr;
  mergeViews();
}

void Interplay::end(const std::string& how) {
  settle();
  expectAllMerged();
  expectAllWritten();
  expectViewsCurrent();
  EXPECT_LE(history().size(), 6U) << "the history is not pruned";
  EXPECT_EQ(log_->descriptions(), std::vector<std::string>());
  if (HasFailure()) ADD_FAILURE() << how;
}

void Interplay::expectAllMerged() const {
  for (const auto& [number, author] : written_) {
    for (const Part* part : {&app_, &extension_}) {
      if (author == part->author) continue;
      EXPECT_TRUE(part->merged.contains(number)) << part->author << " missed " << number;
    }
  }
}

void Interplay::expectAllWritten() const {
  const auto context = witness_->newBackgroundContext();
  context->performBlockAndWait([&] {
    std::istringstream words(notesOf(*activityNamed(*context, "list")));
    std::multiset<std::string> listed;
    for (std::string token; words >> token;) listed.insert(token);
    EXPECT_EQ(listed, tokens_);
    for (std::size_t i = 0; i < writers_.size(); ++i) {
      const std::string count = notesOf(*activityNamed(*context, nameOfWriter(i)));
      EXPECT_EQ(count, writers_[i].raises == 0 ? "" : std::to_string(writers_[i].raises));
    }
  });
  EXPECT_EQ(written_.size(), tokens_.size());
}

void Interplay::expectViewsCurrent() const {
  const auto context = witness_->newBackgroundContext();
  const std::string content = context->performBlockAndWait([&] { return dumpOf(*context); });
  for (const Part* part : {&app_, &extension_}) {
    EXPECT_EQ(dumpOf(*part->container->viewContext()), content) << part->author;
  }
}

std::map<std::int64_t, Interplay::Recorded> Interplay::history() const {
  const auto context = witness_->newBackgroundContext();
  std::map<std::int64_t, Recorded> transactions;
  context->performBlockAndWait([&] {
    const auto result = foundation::as<NSPersistentHistoryResult>(context->execute(
        NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(Date::distantPast())));
    for (const auto& one : std::get<NSPersistentHistoryResult::Transactions>(result->result())) {
      transactions[one->transactionNumber()] = {one->timestamp(), one->author().value_or("")};
    }
  });
  return transactions;
}

}  // namespace support
