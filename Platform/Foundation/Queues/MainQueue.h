#pragma once

#include <cstddef>

#include "Foundation/Queues/Block.h"
#include "Foundation/Values/FunctionRef.h"

namespace foundation {

/// The serial queue whose blocks run on the program's main thread: the one that declared itself, or
/// the process's first thread.
///
/// Blocks run when the main thread lets them: in `runMainQueue`, in `drainMainQueue`, or in the
/// program's own loop, which drains whenever `eventDescriptor` is readable. A program that does
/// none of it gets one line on the standard error stream after work has waited for some seconds.
///
/// Threading: everything here is safe on any thread, unless it says otherwise.
class MainQueue {
 public:
  MainQueue() = delete;

  /// Makes the calling thread the main thread. A program calls it before it uses anything that
  /// stands on the main queue, and only if its main thread is not its first.
  static void declareMainThread() noexcept;
  [[nodiscard]] static bool isMainThread() noexcept;

  /// Enqueues the block and returns at once, on the main thread, too.
  static void async(Block block);
  /// Runs the block on the main thread and returns after it: at once when called there, else in its
  /// turn. An exception that leaves the block leaves this call, too.
  static void sync(FunctionRef<void()> block);

  /// A descriptor to be polled for reading; it is readable while blocks wait. Nobody else reads,
  /// writes or closes it. Throws `std::system_error` when the system gives none.
  [[nodiscard]] static int eventDescriptor();
};

/// Runs the main queue's blocks, and waits for more, until `stopMainQueue`. Main thread only, and
/// not inside a block of the main queue: blocks run one at a time. Anything else stops the process.
void runMainQueue();
/// Lets `runMainQueue` return after the block that it is running, or the next one return at once.
/// What still waits stays. Safe on any thread.
void stopMainQueue();
/// Runs blocks until none waits, those that come meanwhile included, and returns how many it ran.
/// Called where `runMainQueue` may be.
std::size_t drainMainQueue();

}  // namespace foundation
