#include "Foundation/Queues/GlobalQueue.h"

#include <memory>
#include <utility>

#include "Foundation/Queues/Internal/AsynchronousBlock.h"
#include "Foundation/Queues/Internal/WorkerPool.h"

namespace foundation {

namespace {

class BlockJob final : public Job {
 public:
  explicit BlockJob(Block block) : block_(std::move(block)) {}

  void run() noexcept override {
    const std::unique_ptr<BlockJob> self(this);
    runAsynchronousBlock(block_);
  }

 private:
  Block block_;
};

}  // namespace

GlobalQueue& GlobalQueue::userInitiated() {
  static GlobalQueue queue;
  return queue;
}

void GlobalQueue::async(Block block) {
  auto job = std::make_unique<BlockJob>(std::move(block));
  WorkerPool::shared().prepare();
  WorkerPool::shared().submit(*job.release());
}

}  // namespace foundation
