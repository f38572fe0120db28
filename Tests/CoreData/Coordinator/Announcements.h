#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "Foundation/Notifications/NSNotificationCenter.h"

namespace garden {

/// The remote changes of a coordinator, as somebody hears of them who listens.
///
/// Threading: use it on any thread.
class Announcements {
 public:
  struct Announcement {
    std::optional<std::int64_t> transaction;
    std::thread::id thread;
  };

  /// Keeps what a watcher announces by itself.
  Announcements() = default;
  explicit Announcements(
      const foundation::Ref<coredata::NSPersistentStoreCoordinator>& coordinator) {
    token_ = foundation::NSNotificationCenter::defaultCenter().addObserver(
        coredata::NSPersistentStoreRemoteChangeNotification, coordinator,
        [heard = heard_](const foundation::NSNotification& notification) {
          const auto* token = notification.userInfoValue(coredata::NSPersistentHistoryTokenKey);
          heard->add(token == nullptr ? std::nullopt
                                      : std::optional(token->number()->int64Value()));
        });
  }

  void add(std::optional<std::int64_t> transaction) { heard_->add(transaction); }

  /// False when the transaction is not announced in any time that is bearable.
  [[nodiscard]] bool await(std::int64_t transaction) const {
    return heard_->awaitUntil([&](const auto& all) {
      return !all.empty() && all.back().transaction.value_or(-1) >= transaction;
    });
  }
  [[nodiscard]] bool awaitCount(std::size_t count) const {
    return heard_->awaitUntil([&](const auto& all) { return all.size() >= count; });
  }
  [[nodiscard]] std::vector<Announcement> all() const {
    const std::scoped_lock lock(heard_->mutex);
    return heard_->all;
  }
  [[nodiscard]] std::size_t count() const { return all().size(); }

 private:
  /// Shared with a call that may be under way when this ends.
  struct Heard {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Announcement> all;

    void add(std::optional<std::int64_t> transaction) {
      const std::scoped_lock lock(mutex);
      all.push_back({transaction, std::this_thread::get_id()});
      changed.notify_all();
    }
    template <typename Condition>
    [[nodiscard]] bool awaitUntil(Condition condition) {
      std::unique_lock lock(mutex);
      return changed.wait_for(lock, std::chrono::seconds(30), [&] { return condition(all); });
    }
  };

  std::shared_ptr<Heard> heard_ = std::make_shared<Heard>();
  foundation::Ref<foundation::Object> token_;
};

}  // namespace garden
