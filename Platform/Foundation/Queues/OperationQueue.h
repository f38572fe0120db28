#pragma once

#include <memory>

#include "Foundation/Queues/Block.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"

namespace foundation {

/// Runs operations on other threads, at most so many at a time. With a maximum of one it is serial:
/// the operations run in the order in which they were added, each after the one before has ended
/// and its captures are gone.
///
/// Adding never blocks and never runs an operation inline. Destroying a queue lets the operations
/// that it holds finish; the last handle may be dropped by one of them.
///
/// Threading: safe on any thread.
class OperationQueue : public Object {
 public:
  /// As many at a time as suit the machine.
  static constexpr int kDefaultMaxConcurrentOperationCount = -1;

  OperationQueue();
  ~OperationQueue() override;

  /// The queue whose operations run on the main thread, one at a time, in one order with the blocks
  /// of `MainQueue`.
  [[nodiscard]] static const Ref<OperationQueue>& main();

  /// How many operations may run at a time: at least one, or the default. Those that run already
  /// are not stopped. The main queue stays at one.
  virtual void setMaxConcurrentOperationCount(int count);
  [[nodiscard]] virtual int maxConcurrentOperationCount() const;

  /// Throws `std::system_error` when the system gives no thread at all; the operation is not kept
  /// then.
  virtual void addOperation(Block operation);

  /// Returns when no operation runs or waits. An operation of the queue itself must not call it;
  /// that stops the process, for it would wait for ever.
  virtual void waitUntilAllOperationsAreFinished();

 private:
  struct State;
  class Runner;

  std::shared_ptr<State> state_;
};

}  // namespace foundation
