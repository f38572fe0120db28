#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Foundation/Metadata/MetadataProvider.h"
#include "Foundation/Values/WeakRef.h"

namespace foundation {

/// A provider whose items, known by their names alone, a test sets.
class TestProvider final : public MetadataProvider {
 public:
  TestProvider(std::initializer_list<const char*> names) : items_(itemsNamed(names)) {}

  /// Replaces the items and tells the observers.
  void change(std::initializer_list<const char*> names) {
    std::vector<Ref<Observer>> told;
    {
      const std::scoped_lock guard(mutex_);
      items_ = itemsNamed(names);
      for (const auto& observer : observers_) {
        if (auto alive = observer.lock()) told.push_back(std::move(alive));
      }
    }
    for (const auto& observer : told) observer->changed();
  }

  /// Waits until `items` has been called so many times.
  void awaitLooks(int count) {
    std::unique_lock lock(mutex_);
    if (!looked_.wait_for(lock, std::chrono::seconds(30), [&] { return looks_ >= count; }))
      throw std::runtime_error("nobody has looked in time");
  }

  [[nodiscard]] bool isObserved() {
    const std::scoped_lock guard(mutex_);
    return std::ranges::any_of(observers_, [](const auto& one) { return !one.expired(); });
  }

  [[nodiscard]] Items items() override {
    const std::scoped_lock guard(mutex_);
    ++looks_;
    looked_.notify_all();
    return items_;
  }
  [[nodiscard]] Ref<Object> observe(std::function<void()> changed) override {
    auto observer = make<Observer>(std::move(changed));
    const std::scoped_lock guard(mutex_);
    observers_.emplace_back(observer);
    return observer;
  }

 private:
  struct Observer final : Object {
    explicit Observer(std::function<void()> call) : changed(std::move(call)) {}
    const std::function<void()> changed;
  };

  static Items itemsNamed(std::initializer_list<const char*> names) {
    Items items;
    for (const char* name : names) {
      items.push_back(
          make<NSMetadataItem>(ValueDictionary{{std::string(NSMetadataItemFSNameKey), name}}));
    }
    return items;
  }

  std::mutex mutex_;
  std::condition_variable looked_;
  int looks_ = 0;
  Items items_;
  std::vector<WeakRef<Observer>> observers_;
};

}  // namespace foundation
