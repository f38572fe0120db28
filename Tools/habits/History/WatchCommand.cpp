#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>

#include "CoreData/Coordinator/RemoteChangeNotification.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreDataStack/History/AppTarget.h"
#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"
#include "CoreDataStack/Stack/CoreDataNotificationName.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/History/EndOfWatch.h"
#include "Tools/habits/History/NewestTransaction.h"
#include "Tools/habits/History/ShownChange.h"
#include "Tools/habits/History/WatchDirectories.h"
#include "Tools/habits/Migration/StoreReading.h"

namespace habits {

using coredata::NSPersistentHistoryTransaction;
using coredata::StoreErrorCode;
using coredatastack::AppTarget;
using coredatastack::CoreDataNotificationName;
using foundation::Date;
using foundation::Error;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::Ref;
using foundation::URL;
using foundation::UserDefaults;
using Json = nlohmann::ordered_json;

namespace {

constexpr const char* kAuthor = "habits-watch";
/// Longer than restoring a backup of an old version takes.
constexpr std::chrono::minutes kRestoreLimit{5};

/// That the store's content was exchanged under the watch. Noted on any thread.
class Replacement {
 public:
  /// Whether the error says so. The main thread is woken.
  bool isNotedFrom(const Error& error) {
    if (error.domain() != foundation::kCocoaErrorDomain ||
        error.code() != static_cast<std::int64_t>(StoreErrorCode::replaced)) {
      return false;
    }
    isNoted_ = true;
    foundation::MainQueue::async([] {});
    return true;
  }
  [[nodiscard]] bool take() { return isNoted_.exchange(false); }

 private:
  std::atomic<bool> isNoted_ = false;
};

void rememberAsMerged(const std::optional<Date>& until) {
  coredatastack::updateLastHistoryTransactionTimestamp(*UserDefaults::standard(), AppTarget::app,
                                                       until);
}

class Watch {
 public:
  Watch(const WatchWish& wish, const AnswerStream& stream)
      : wish_(wish), directories_(wish.path), stream_(stream) {
    // Until it is known what the store holds already, nothing in it is news.
    rememberAsMerged(Date::distantFuture());
    session_.emplace(wish_.path, wish_.mayMigrate, role());
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  /// Passes over the history that are still under way find no store any more.
  ~Watch() { closeStores(session_->context()); }

  /// Returns when it is the end.
  void run() {
    end_.emplace();
    begin();
    while (isRead_ && end_->awaitWork(stream_.descriptor())) {
      foundation::drainMainQueue();
      if (failure_) std::rethrow_exception(failure_);
      if (replacement_->take()) openAnew();
    }
  }

 private:
  [[nodiscard]] Role role() const {
    return {kAuthor, foundation::make<Complaints>([noted = replacement_](const Error& error) {
              return noted->isNotedFrom(error);
            }),
            true};
  }
  void begin();
  void openAnew();
  /// One pass over what was committed while nobody would have told of it.
  void look() const {
    NSNotificationCenter::defaultCenter().post(coredata::NSPersistentStoreRemoteChangeNotification,
                                               session_->stack().persistentStoreCoordinator());
  }
  void show(const foundation::ValueList& transactions) noexcept;
  void say(const std::string& text, const char* key) {
    print(wish_.json ? Json{{key, wish_.path}}.dump(-1, ' ', false, Json::error_handler_t::replace)
                     : text);
  }
  void print(const std::string& line);

  const WatchWish wish_;
  const WatchDirectories directories_;
  const AnswerStream& stream_;
  const std::shared_ptr<Replacement> replacement_ = std::make_shared<Replacement>();
  std::optional<Session> session_;
  /// What was shown is not shown again, however often it is merged.
  Date shownUntil_ = Date::distantPast();
  std::optional<EndOfWatch> end_;
  bool isRead_ = true;
  std::exception_ptr failure_;
  Ref<foundation::Object> merged_;
};

void Watch::begin() {
  const auto& context = session_->contextHandle();
  merged_ = NSNotificationCenter::defaultCenter().addObserver(
      CoreDataNotificationName::NSPersistentHistoryDidMerge, nullptr,
      [this, context](const NSNotification& notification) {
        // A turn behind the merge itself, on the main thread, where this lives.
        context->performBlock([this, info = notification.userInfo()] {
          show(*info->find("transactions")->second.list());
        });
      });
  const auto newest =
      context->performBlockAndWait([&] { return newestTransaction(session_->context()); });
  if (newest) shownUntil_ = newest->timestamp();
  rememberAsMerged(newest ? std::optional(shownUntil_) : std::nullopt);
  say("Watching " + wish_.path + "; stop with Ctrl-C.", "watching");
  look();
}

void Watch::show(const foundation::ValueList& transactions) noexcept {
  try {
    for (const foundation::Value& value : transactions) {
      const auto transaction =
          foundation::as<NSPersistentHistoryTransaction>(Ref<foundation::Object>(value.object()));
      if (transaction->timestamp() <= shownUntil_) continue;
      shownUntil_ = transaction->timestamp();
      for (const ShownChange& change : shownChanges(*transaction, session_->context())) {
        print(wish_.json ? change.json() : change.text());
      }
    }
  } catch (...) {
    failure_ = std::current_exception();
  }
}

void Watch::print(const std::string& line) {
  // Ctrl-C also ends it while nobody reads.
  isRead_ = isRead_ && end_->awaitReader(stream_.descriptor());
  if (!isRead_) return;
  try {
    stream_.print(line);
  } catch (const std::system_error& error) {
    if (error.code() != std::errc::broken_pipe) throw;
    isRead_ = false;
  }
}

void Watch::openAnew() {
  {
    // Whoever replaces a store has it claimed until what took its place is brought forward.
    const coredata::StoreClaim restored(URL::fileURL(wish_.path), kRestoreLimit);
  }
  coredatastack::Failure failure;
  session_->stack().reload(configurationOf(wish_.path, kAuthor), [&](const auto& opened) {
    if (!opened) failure = opened.error();
  });
  if (failure) failure->raise();
  say("The store was replaced; watching the one in its place.", "replaced");
  look();
}

}  // namespace

void watch(const WatchWish& wish, const AnswerStream& stream) { Watch(wish, stream).run(); }

}  // namespace habits
