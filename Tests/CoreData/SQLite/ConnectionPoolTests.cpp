#include "CoreData/SQLite/ConnectionPool.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreCore.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {

using coredata::ConnectionLease;
using coredata::ConnectionPool;
using foundation::Ref;

class ConnectionPoolTest : public testing::Test {
 protected:
  shelf::StoreFile file_;
  Ref<coredata::SQLiteStore> store_ = file_.open();
  ConnectionPool& pool_ = store_->core().pool();
};

TEST_F(ConnectionPoolTest, LendsTheOneThatWasGivenBackLast) {
  ConnectionLease first = pool_.lease();
  ConnectionLease second = pool_.lease();
  const std::uint64_t last = first->serial();
  second.end();
  first.end();

  EXPECT_EQ(pool_.lease()->serial(), last);
  EXPECT_EQ(pool_.size(), 2U);
}

TEST_F(ConnectionPoolTest, KeepsOnlySoManyIdleOnes) {
  std::vector<ConnectionLease> leases;
  for (int i = 0; i < 12; ++i) leases.push_back(pool_.lease());
  EXPECT_EQ(pool_.size(), 12U);

  leases.clear();

  EXPECT_EQ(pool_.size(), 6U);
}

TEST_F(ConnectionPoolTest, EndsAnUnusableOneWhenItComesBack) {
  pool_.lease()->abandon();

  EXPECT_EQ(pool_.size(), 0U);
}

TEST_F(ConnectionPoolTest, LendsNothingOnceItIsClosed) {
  pool_.close();

  EXPECT_EQ(pool_.size(), 0U);
  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(pool_.lease()); }),
            static_cast<std::int64_t>(coredata::StoreErrorCode::removed));
}

TEST_F(ConnectionPoolTest, EndsALentOneWhenItComesBackAfterTheClose) {
  ConnectionLease lease = pool_.lease();
  pool_.close();
  EXPECT_EQ(pool_.size(), 1U);

  lease.end();

  EXPECT_EQ(pool_.size(), 0U);
}

TEST_F(ConnectionPoolTest, LeavesNoneBehindHoweverReturnsAndTheCloseMeet) {
  constexpr int kThreads = 4;
  for (int round = 0; round < 20; ++round) {
    const Ref<coredata::SQLiteStore> store = file_.open();
    ConnectionPool& pool = store->core().pool();
    std::barrier start(kThreads + 1);
    std::vector<std::jthread> borrowers;
    for (int thread = 0; thread < kThreads; ++thread) {
      borrowers.emplace_back([&] {
        start.arrive_and_wait();
        try {
          while (true) static_cast<void>(pool.lease()->serial());
        } catch (const foundation::Error&) {
          // Closed.
        }
      });
    }
    start.arrive_and_wait();
    for (int turn = 0; turn < round * 10; ++turn) static_cast<void>(pool.lease()->serial());
    pool.close();
    borrowers.clear();

    EXPECT_EQ(pool.size(), 0U);
  }
}

}  // namespace
