#include "Foundation/Metadata/NSMetadataQuery.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <utility>

#include "Foundation/Metadata/MetadataProvider.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/SerialLane.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/WeakRef.h"

namespace foundation {

namespace {

using Providers = std::vector<Ref<MetadataProvider>>;

/// What a query searches, as it was set when it started.
struct Search {
  std::optional<NSPredicate> predicate;
  Providers providers;
  Ref<OperationQueue> queue;
};

Providers providersOf(const std::vector<std::string>& scopes) {
  Providers providers;
  for (const std::string& scope : scopes) {
    if (auto provider = MetadataProvider::ofScope(scope)) providers.push_back(std::move(provider));
  }
  return providers;
}

bool areEqual(const std::vector<Ref<Object>>& a, const std::vector<Ref<Object>>& b) {
  return std::ranges::equal(
      a, b, [](const Ref<Object>& one, const Ref<Object>& other) { return one->isEqual(*other); });
}

/// Disables a query's updates until the scope ends.
class UpdatePause {
 public:
  explicit UpdatePause(NSMetadataQuery& query) : query_(query) { query_.disableUpdates(); }
  UpdatePause(const UpdatePause&) = delete;
  UpdatePause& operator=(const UpdatePause&) = delete;
  ~UpdatePause() { query_.enableUpdates(); }

 private:
  NSMetadataQuery& query_;
};

}  // namespace

/// The work of a query from one start to the stop. Looks at the providers one time after another,
/// again after each change that they tell of, and hands what it found to the query's queue.
class NSMetadataQuery::Gathering final : public Object {
 public:
  Gathering(Search search, WeakRef<NSMetadataQuery> query)
      : search_(std::move(search)), query_(std::move(query)) {}

  void begin() {
    for (const auto& provider : search_.providers) {
      keep(provider->observe([weak = WeakRef<Gathering>(this)] {
        if (const auto gathering = weak.lock()) gathering->look();
      }));
    }
    look();
  }

  /// Lets the providers go at once, whoever still holds the gathering. Waits for those that may be
  /// calling, so nothing may be locked.
  void end() {
    std::vector<Ref<Object>> ended;
    const std::scoped_lock guard(mutex_);
    isEnded_ = true;
    ended.swap(observations_);
  }

  /// Looks soon; once for all who ask before it does.
  void look() {
    if (isLookWaiting_.exchange(true)) return;
    lane_.perform([self = Ref<Gathering>(this)] {
      self->isLookWaiting_ = false;
      self->deliver(std::make_shared<const Results>(self->found()));
    });
  }

 private:
  void keep(Ref<Object> observation) {
    const std::scoped_lock guard(mutex_);
    if (!isEnded_) observations_.push_back(std::move(observation));
  }

  [[nodiscard]] Results found() {
    Results results;
    try {
      for (const auto& provider : search_.providers) {
        for (const auto& item : provider->items()) {
          if (!search_.predicate || search_.predicate->evaluate(*item)) results.push_back(item);
        }
      }
    } catch (const Error& error) {
      report(error);
      results.clear();
    }
    return results;
  }

  void report(const Error& error) {
    if (std::exchange(isReported_, true)) return;
    std::fprintf(stderr, "A metadata query finds nothing: %s\n", error.message().c_str());
  }

  void deliver(std::shared_ptr<const Results> results) {
    search_.queue->addOperation([self = Ref<Gathering>(this), results = std::move(results)] {
      if (const auto query = self->query_.lock()) query->receive(*self, results);
    });
  }

  const Search search_;
  const WeakRef<NSMetadataQuery> query_;
  std::mutex mutex_;
  // Guarded by mutex_.
  std::vector<Ref<Object>> observations_;
  bool isEnded_ = false;

  std::atomic<bool> isLookWaiting_{false};
  /// Used in the lane only.
  bool isReported_ = false;
  SerialLane lane_;
};

struct NSMetadataQuery::State {
  std::mutex mutex;
  // Guarded by mutex.
  Ref<OperationQueue> queue = OperationQueue::main();
  std::optional<NSPredicate> predicate;
  std::vector<std::string> scopes;

  /// None while the query is not started.
  Ref<Gathering> gathering;
  bool hasGathered = false;
  int timesDisabled = 0;
  /// Whether something came while updates were disabled.
  bool isBehind = false;
  std::shared_ptr<const Results> results = std::make_shared<const Results>();
};

NSMetadataQuery::NSMetadataQuery() : state_(std::make_unique<State>()) {}

NSMetadataQuery::~NSMetadataQuery() { stopQuery(); }

void NSMetadataQuery::setOperationQueue(Ref<OperationQueue> queue) {
  if (!queue) queue = OperationQueue::main();
  const std::scoped_lock guard(state_->mutex);
  state_->queue.swap(queue);
}

void NSMetadataQuery::setPredicate(NSPredicate predicate) {
  const std::scoped_lock guard(state_->mutex);
  state_->predicate = std::move(predicate);
}

void NSMetadataQuery::setSearchScopes(std::vector<std::string> scopes) {
  const std::scoped_lock guard(state_->mutex);
  state_->scopes = std::move(scopes);
}

void NSMetadataQuery::disableUpdates() {
  const std::scoped_lock guard(state_->mutex);
  ++state_->timesDisabled;
}

void NSMetadataQuery::enableUpdates() {
  Ref<Gathering> behind;
  {
    const std::scoped_lock guard(state_->mutex);
    if (state_->timesDisabled > 0) --state_->timesDisabled;
    if (state_->timesDisabled > 0) return;
    if (std::exchange(state_->isBehind, false)) behind = state_->gathering;
  }
  if (behind) behind->look();
}

bool NSMetadataQuery::startQuery() {
  Ref<Gathering> begun;
  {
    const std::scoped_lock guard(state_->mutex);
    if (state_->gathering) return false;
    begun = make<Gathering>(Search{state_->predicate, providersOf(state_->scopes), state_->queue},
                            WeakRef<NSMetadataQuery>(this));
    state_->gathering = begun;
    state_->hasGathered = false;
    state_->isBehind = false;
    state_->results = std::make_shared<const Results>();
  }
  try {
    begun->begin();
  } catch (...) {
    stopQuery();
    throw;
  }
  return true;
}

void NSMetadataQuery::stopQuery() {
  Ref<Gathering> stopped;
  {
    const std::scoped_lock guard(state_->mutex);
    stopped = std::exchange(state_->gathering, nullptr);
  }
  if (stopped) stopped->end();
}

bool NSMetadataQuery::isStarted() const {
  const std::scoped_lock guard(state_->mutex);
  return state_->gathering != nullptr;
}

bool NSMetadataQuery::isGathering() const {
  const std::scoped_lock guard(state_->mutex);
  return state_->gathering != nullptr && !state_->hasGathered;
}

void NSMetadataQuery::receive(const Gathering& from, std::shared_ptr<const Results> found) {
  NSNotificationName name = NSMetadataQueryDidFinishGatheringNotification;
  {
    const std::scoped_lock guard(state_->mutex);
    if (state_->gathering.get() != &from) return;
    if (std::exchange(state_->hasGathered, true)) {
      if (areEqual(*state_->results, *found)) return;
      if (state_->timesDisabled > 0) {
        state_->isBehind = true;
        return;
      }
      name = NSMetadataQueryDidUpdateNotification;
    }
    state_->results.swap(found);
  }
  NSNotificationCenter::defaultCenter().post(name, Ref<Object>(this));
}

std::size_t NSMetadataQuery::resultCount() const {
  const std::scoped_lock guard(state_->mutex);
  return state_->results->size();
}

void NSMetadataQuery::enumerateResultsUsingBlock(
    FunctionRef<void(const Ref<Object>& result, std::size_t index, bool& stop)> block) {
  // The block may drop the last handle to the query.
  const Ref<NSMetadataQuery> self(this);
  const UpdatePause pause(*this);
  std::shared_ptr<const Results> results;
  {
    const std::scoped_lock guard(state_->mutex);
    results = state_->results;
  }
  bool stop = false;
  for (std::size_t index = 0; index < results->size() && !stop; ++index) {
    block((*results)[index], index, stop);
  }
}

}  // namespace foundation
