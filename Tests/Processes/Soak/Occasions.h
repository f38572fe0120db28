#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string_view>

#include "Foundation/Internal/TestPoint.h"

namespace soak {

/// How often all members together came to each point. In memory that they share.
struct Occasions {
  std::array<std::atomic<std::uint64_t>, foundation::kTestPointNames.size()> reached{};
  /// How often SQLite waited for somebody's lock, to try again.
  std::atomic<std::uint64_t> busyRetries{};
};

/// Calls `show` with each of what seldom happens, and how often it did.
template <typename Show>
void forEachRarity(const Occasions& occasions, Show&& show) {
  using foundation::TestPoint;
  show(std::string_view("busy retry"), occasions.busyRetries.load());
  for (const TestPoint point :
       {TestPoint::emptyPass, TestPoint::cancelledCleaning, TestPoint::logRestart,
        TestPoint::selfReplacement, TestPoint::fallbackReplacement}) {
    show(nameOf(point), occasions.reached.at(static_cast<std::size_t>(point)).load());
  }
}

/// Counts for one member, while it lives, and has its process die at a point.
class OccasionCounter final : private foundation::TestPointObserver {
 public:
  explicit OccasionCounter(Occasions& occasions);
  ~OccasionCounter() override;
  OccasionCounter(const OccasionCounter&) = delete;
  OccasionCounter& operator=(const OccasionCounter&) = delete;

  /// SIGKILL, whoever comes to that point next.
  void dieAt(foundation::TestPoint point) noexcept { deadly_ = static_cast<int>(point); }
  /// Whether a pass over the history goes on in this process.
  [[nodiscard]] bool isPassing() const noexcept { return passing_ != 0; }

 private:
  void reached(foundation::TestPoint point) noexcept override;

  Occasions& occasions_;
  std::atomic<int> deadly_{-1};
  std::atomic<int> passing_{0};
  foundation::TestPointObserver* previous_;
};

}  // namespace soak
