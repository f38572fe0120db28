#include "CoreData/Coordinator/RemoteChangeWatcher.h"

#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "CoreData/Coordinator/CommitEvents.h"
#include "CoreData/SQLite/CommitProbe.h"
#include "CoreData/SQLite/ForkGeneration.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Internal/SignalBlock.h"
#include "Foundation/Internal/TestPoint.h"
#include "Foundation/Values/Error.h"

namespace coredata {

using foundation::Error;
using foundation::Ref;

namespace {
void report(const std::string& path, const char* what) noexcept {
  std::fprintf(stderr, "CoreData: changes to the store %s are not announced: %s\n", path.c_str(),
               what);
}

bool hasCode(const Error& error, StoreErrorCode code) {
  return error.domain() == foundation::kCocoaErrorDomain &&
         error.code() == static_cast<std::int64_t>(code);
}
}  // namespace

/// The thread's work, and all that it works with.
class RemoteChangeWatcher::Watch {
 public:
  Watch(const Ref<SQLiteStore>& store, std::int64_t since, Announce announce,
        const WatchTimings& timings)
      : timings_(timings),
        announce_(std::move(announce)),
        events_(store->path(), !store->options().readOnly),
        probe_(store, since),
        path_(store->path()) {}

  void run() noexcept {
    pthread_setname_np(pthread_self(), "remote changes");
    while (awaitOccasion()) {
      events_.listen();
      if (!look()) break;
    }
    probe_.disconnect();
  }

  void stop() const noexcept { events_.stop(); }
  /// On the thread itself.
  void disconnect() noexcept { probe_.disconnect(); }

 private:
  using Wake = CommitEvents::Wake;
  using Duration = CommitEvents::Duration;

  /// A commit takes as long as the disk does.
  static constexpr int kLooksAfterWriting = 4;

  /// False when the watch is to end, as with everything below.
  [[nodiscard]] bool awaitOccasion() noexcept {
    if (backoff_ > Duration::zero()) return events_.sleep(backoff_);
    const bool looksSoon = looksDue_ > 0 || !events_.hears();
    Wake wake =
        events_.wait(looksSoon ? std::min(timings_.quickPoll, timings_.poll) : timings_.poll);
    if (looksDue_ > 0) --looksDue_;
    if (wake == Wake::log) {
      looksDue_ = kLooksAfterWriting;
      // Whoever writes to the log is about to commit, and rings then.
      wake = events_.wait(timings_.logPatience);
    }
    return wake != Wake::stop;
  }

  [[nodiscard]] bool look() noexcept {
    try {
      const bool hasNews = probe_.hasNews();
      backoff_ = Duration::zero();
      isReported_ = false;
      return !hasNews || announce();
    } catch (const Error& error) {
      return endure(error);
    } catch (const std::exception& error) {
      return tryLater(error.what());
    }
  }

  [[nodiscard]] bool endure(const Error& error) noexcept {
    if (hasCode(error, StoreErrorCode::removed)) return false;
    if (hasCode(error, StoreErrorCode::replaced)) {
      report(path_, error.what());
      // Whoever reads the store because of it learns that there is another one now.
      static_cast<void>(announce());
      return false;
    }
    return tryLater(hasCode(error, StoreErrorCode::busy) ? nullptr : error.what());
  }

  /// Reports the first failure of a series, unless there is nothing to be reported.
  [[nodiscard]] bool tryLater(const char* what) noexcept {
    if (what != nullptr && !isReported_) report(path_, what);
    isReported_ = isReported_ || what != nullptr;
    backoff_ = std::min(std::max(2 * backoff_, timings_.quickPoll), timings_.longestBackoff);
    return true;
  }

  [[nodiscard]] bool announce() noexcept {
    looksDue_ = 0;
    const auto next = std::chrono::steady_clock::now() + timings_.rest;
    foundation::reach(foundation::TestPoint::beforePost);
    try {
      announce_(probe_.newestTransaction());
    } catch (const std::exception& error) {
      reportThrown(error.what());
    } catch (...) {
      reportThrown("an exception of an unknown kind");
    }
    return events_.sleep(next - std::chrono::steady_clock::now());
  }

  void reportThrown(const char* what) const noexcept {
    std::fprintf(stderr, "CoreData: a receiver of changes to the store %s threw: %s\n",
                 path_.c_str(), what);
  }

  const WatchTimings timings_;
  const Announce announce_;
  CommitEvents events_;
  CommitProbe probe_;
  const std::string path_;
  /// So many looks are to follow soon: the log was written to, and no commit has been found since;
  /// or nobody has looked yet at what was committed before the events were listened to.
  int looksDue_ = 1;
  /// How long to leave a store alone that could not be read.
  Duration backoff_ = Duration::zero();
  bool isReported_ = false;
};

RemoteChangeWatcher::RemoteChangeWatcher(const Ref<SQLiteStore>& store, std::int64_t since,
                                         Announce announce, WatchTimings timings)
    : forkGeneration_(forkGeneration()),
      watch_(std::make_shared<Watch>(store, since, std::move(announce), timings)) {
  const foundation::SignalBlock inherited;
  thread_ = std::make_unique<std::thread>([watch = watch_] { watch->run(); });
}

RemoteChangeWatcher::~RemoteChangeWatcher() {
  if (forkGeneration_ != forkGeneration()) {
    // Neither the thread nor whatever it held at the fork can be let go of here.
    [[maybe_unused]] const auto* left = thread_.release();
    return;
  }
  watch_->stop();
  if (thread_->get_id() == std::this_thread::get_id()) {
    // The store is about to be closed, and perhaps removed.
    watch_->disconnect();
    thread_->detach();
  } else {
    thread_->join();
  }
}

}  // namespace coredata
