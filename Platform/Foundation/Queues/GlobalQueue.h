#pragma once

#include "Foundation/Queues/Block.h"

namespace foundation {

/// The process's concurrent queue: blocks run side by side, in no order, never on the main thread.
///
/// Threading: safe on any thread. Its threads block all signals and live to the end of the process.
/// A forked child has a queue of its own, without the blocks of its parent's.
class GlobalQueue {
 public:
  GlobalQueue(const GlobalQueue&) = delete;
  GlobalQueue& operator=(const GlobalQueue&) = delete;

  /// The queue for work that a person is waiting for.
  [[nodiscard]] static GlobalQueue& userInitiated();

  /// Runs the block later, on another thread, and returns at once.
  /// Throws `std::system_error` when the system gives no thread at all; the block is not kept then.
  void async(Block block);

 private:
  GlobalQueue() = default;
};

}  // namespace foundation
