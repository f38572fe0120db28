#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Foundation/Metadata/NSMetadataItem.h"
#include "Foundation/Metadata/NSMetadataQuery.h"
#include "Foundation/Notifications/NSNotificationCenter.h"

namespace foundation {

/// The names of a query's results, in their order.
inline std::string namesIn(NSMetadataQuery& query) {
  std::string names;
  query.enumerateResultsUsingBlock([&](const Ref<Object>& result, std::size_t, bool&) {
    const auto item = as<NSMetadataItem>(result);
    names += " " + *item->value(NSMetadataItemFSNameKey)->text();
  });
  return names;
}

/// Writes down each notification of a query with the names of its results: "gathered a b".
class QueryLog final : public Object {
 public:
  using Entries = std::vector<std::string>;

  static Ref<QueryLog> of(const Ref<NSMetadataQuery>& query) {
    auto log = make<QueryLog>();
    auto& center = NSNotificationCenter::defaultCenter();
    center.addObserver(log, Selector<QueryLog>{"didFinish:", &QueryLog::didFinish},
                       NSMetadataQueryDidFinishGatheringNotification, query);
    center.addObserver(log, Selector<QueryLog>{"didUpdate:", &QueryLog::didUpdate},
                       NSMetadataQueryDidUpdateNotification, query);
    return log;
  }

  /// All entries, once there are so many.
  [[nodiscard]] Entries await(std::size_t count) {
    std::unique_lock lock(mutex_);
    if (!added_.wait_for(lock, std::chrono::seconds(30), [&] { return entries_.size() >= count; }))
      throw std::runtime_error("the query has not posted in time");
    return entries_;
  }

  /// What else is done on the query's queue when a notification comes.
  std::function<void(const NSNotification&)> then;

 private:
  void didFinish(const NSNotification& notification) { add("gathered", notification); }
  void didUpdate(const NSNotification& notification) { add("updated", notification); }

  void add(const char* what, const NSNotification& notification) {
    const auto query = as<NSMetadataQuery>(notification.object());
    auto entry = what + namesIn(*query);
    if (then) then(notification);
    const std::scoped_lock guard(mutex_);
    entries_.push_back(std::move(entry));
    added_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable added_;
  Entries entries_;
};

}  // namespace foundation
