#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Tests/Reliability/Workloads/WorkedStore.h"
#include "Tests/Support/FileFaults.h"

namespace reliability {

/// Tests of one store each, which those that follow one another share: to learn what it holds after
/// each save takes longer than many a test.
class WorkedStoreTest : public testing::Test {
 protected:
  static void TearDownTestSuite();
  [[nodiscard]] static const WorkedStore& storeFor(const Workload& workload, const StoreMode& mode);
  /// How many operations that the trouble can hit the whole work makes.
  [[nodiscard]] static support::FileOperationCount countOperations(
      const WorkedStore& store, const support::FileTrouble& trouble);

 private:
  static std::unique_ptr<WorkedStore> store_;
  static std::string name_;
};

}  // namespace reliability
