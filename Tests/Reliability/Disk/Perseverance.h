#pragma once

#include "Tests/Reliability/Disk/Witness.h"
#include "Tests/Reliability/Workloads/WorkedStore.h"
#include "Tests/Support/FileFaults.h"

namespace reliability {

/// All the saves of a workload in a child, one of which may meet trouble. The disk works again once
/// that save has failed, which it does once; it is then made again, unless it is in the store.
class Perseverance {
 public:
  Perseverance(const WorkedStore& store, const support::Acknowledgements& parent)
      : store_(store), witness_(store.path(), parent) {}

  /// It is a problem if a save returns that met the trouble.
  void expectHitSavesToFail() noexcept { hitSavesFail_ = true; }
  /// Works with trouble at that point, if it is not 0.
  void work(const support::FileTrouble& trouble, std::size_t point,
            const support::FileOperationCount& count);

 private:
  void saved(int number, const support::FileFaults& faults);
  [[nodiscard]] WorkedStore::Sequel failed(int number, const foundation::Error& error);
  void expectWhole(int number) const;
  [[nodiscard]] int savesSeen();

  const WorkedStore& store_;
  Witness witness_;
  bool hitSavesFail_ = false;
  bool hasFailed_ = false;
  bool wasReached_ = false;
};

}  // namespace reliability
