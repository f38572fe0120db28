#include "Tests/Reliability/Disk/WorkedStoreTest.h"

namespace reliability {

std::unique_ptr<WorkedStore> WorkedStoreTest::store_;
std::string WorkedStoreTest::name_;

void WorkedStoreTest::TearDownTestSuite() {
  store_.reset();
  name_.clear();
}

const WorkedStore& WorkedStoreTest::storeFor(const Workload& workload, const StoreMode& mode) {
  const std::string name = workload.name + mode.name;
  if (name != name_) {
    // First: the place of a store is in force as long as it lives.
    store_.reset();
    store_ = std::make_unique<WorkedStore>(workload, mode);
    name_ = name;
  }
  return *store_;
}

support::FileOperationCount WorkedStoreTest::countOperations(const WorkedStore& store,
                                                             const support::FileTrouble& trouble) {
  store.lay();
  return support::countOperations(trouble, [&] { store.work([](int) {}); });
}

}  // namespace reliability
