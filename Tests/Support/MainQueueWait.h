#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>

#include "Foundation/Queues/MainQueue.h"

namespace support {

/// Runs the main queue until the condition holds, or for as long as any machine should need. To be
/// called on the main thread; whoever makes the condition true from elsewhere tells the main queue.
template <typename Condition>
[[nodiscard]] bool runMainQueueUntil(Condition&& holds,
                                     std::chrono::milliseconds limit = std::chrono::seconds(30)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    foundation::drainMainQueue();
    if (holds()) return true;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd waiting{foundation::MainQueue::eventDescriptor(), POLLIN, 0};
    poll(&waiting, 1, static_cast<int>(std::min(left, std::chrono::milliseconds(100)).count()));
  }
}

}  // namespace support
