#include "Foundation/Queues/Internal/WorkerPool.h"

#include <gtest/gtest.h>

#include <array>
#include <latch>

#include "Tests/Support/AllocationFaults.h"

namespace foundation {
namespace {

/// Holds a worker until the gate opens.
class Waiting final : public Job {
 public:
  Waiting() = default;
  void wait(std::latch& gate, std::latch& finished) {
    gate_ = &gate;
    finished_ = &finished;
    WorkerPool::shared().submit(*this);
  }
  void run() noexcept override {
    gate_->wait();
    finished_->count_down();
  }

 private:
  std::latch* gate_ = nullptr;
  std::latch* finished_ = nullptr;
};

TEST(WorkerPool, RunsJobsForWhichThereIsNoMemoryForAnotherWorker) {
  // More than there are workers, whatever ran before.
  static std::array<Waiting, 70> jobs;
  // Shared and kept: the last ones may still be leaving when the test has ended.
  static std::latch gate(1);
  static std::latch finished(jobs.size());
  WorkerPool::shared().prepare();
  {
    const support::AllocationFaults faults(support::Allocator::operatorNew, 1,
                                           support::Shortage::fromThenOn);
    for (Waiting& job : jobs) job.wait(gate, finished);
    EXPECT_TRUE(faults.wasReached());
  }

  gate.count_down();
  finished.wait();
}

}  // namespace
}  // namespace foundation
