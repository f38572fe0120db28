#pragma once

#include <memory>

#include "Foundation/Queues/Block.h"
#include "Foundation/Values/FunctionRef.h"

namespace foundation {

/// Lets one block in at a time, in the order in which they came: a private queue without a thread
/// of its own. Blocks that nobody waits for run on the process's pool; whoever waits runs his block
/// himself, on his own thread, when its turn comes.
///
/// - A block sees everything that the blocks before it did.
/// - A waiting block inside a block of the same lane runs at once, in place.
/// - Destroying the lane lets the blocks that it holds finish, also when one of them destroys it. A
///   waiting block must not.
///
/// Threading: safe on any thread. A free lane is entered and left by one atomic exchange each.
class SerialLane {
 public:
  SerialLane();
  SerialLane(const SerialLane&) = delete;
  SerialLane& operator=(const SerialLane&) = delete;
  ~SerialLane();

  /// Enqueues the block and returns at once, also from inside the lane.
  /// Throws `std::system_error` when the system gives no thread at all; the block is not kept then.
  void perform(Block block);

  /// Runs the block in its turn, on the calling thread, and returns after it. An exception that
  /// leaves the block leaves this call, too, and the lane is free for the next.
  void performAndWait(FunctionRef<void()> block);

  /// Whether the calling thread is inside a block of the lane.
  [[nodiscard]] bool isCurrent() const noexcept;

 private:
  struct State;

  std::shared_ptr<State> state_;
};

}  // namespace foundation
