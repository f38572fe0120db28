#include "CoreData/SQLite/RowCache.h"

#include <gtest/gtest.h>

#include <vector>

#include "CoreData/Model/ModelBuilder.h"

namespace {
using coredata::CacheEpoch;
using coredata::kNoEpoch;
using coredata::ObjectKey;
using coredata::Row;
using coredata::RowCache;
using coredata::RowChange;
using coredata::RowChangeKind;
using foundation::Ref;

class RowCacheTest : public testing::Test {
 protected:
  Ref<Row> row(ObjectKey key, std::int64_t version = 1, std::size_t size = 0) {
    Ref<Row> result = Row::make(book(), size);
    result->setKey(key);
    result->setVersion(version);
    return result;
  }
  const coredata::NSEntityDescription& book() { return *model_->entity("Book"); }
  Ref<Row> find(ObjectKey key, CacheEpoch epoch) { return cache_.find(book(), key, epoch); }
  Ref<Row> find(ObjectKey key) { return find(key, cache_.epoch()); }
  RowChange update(Ref<Row> row) {
    return {&book(), row->key(), RowChangeKind::update, 1, std::move(row)};
  }
  RowChange removal(ObjectKey key) { return {&book(), key, RowChangeKind::remove, 0, nullptr}; }

  Ref<coredata::NSManagedObjectModel> model_ =
      coredata::modelFromSource(R"({"entities": {"Book": {"attributes": {"title": "text"}}}})");
  RowCache cache_;
};
}  // namespace

TEST_F(RowCacheTest, GivesWhatWasAdded) {
  const Ref<Row> added = row(1);
  cache_.add(added, cache_.epoch());

  EXPECT_EQ(find(1), added);
  EXPECT_FALSE(find(2));
  EXPECT_FALSE(find(1, kNoEpoch));
}

TEST_F(RowCacheTest, GivesACommittedRowToLaterReadersOnly) {
  const CacheEpoch before = cache_.epoch();
  const Ref<Row> written = row(1, 2);
  const RowChange changes[] = {update(written)};
  cache_.willCommit(changes);
  cache_.didCommit(changes);

  EXPECT_EQ(find(1), written);
  EXPECT_FALSE(find(1, before));
}

TEST_F(RowCacheTest, TakesNothingFromAReaderOfAnEarlierState) {
  const CacheEpoch before = cache_.epoch();
  cache_.willCommit({});
  cache_.didCommit({});

  cache_.add(row(1), before);

  EXPECT_FALSE(find(1));
}

TEST_F(RowCacheTest, WithholdsTheRowsOfACommitThatIsUnderWay) {
  cache_.add(row(1), cache_.epoch());
  cache_.add(row(2), cache_.epoch());
  const RowChange changes[] = {update(row(1, 2))};

  cache_.willCommit(changes);

  EXPECT_FALSE(find(1));
  EXPECT_TRUE(find(2));
}

TEST_F(RowCacheTest, TakesNothingWhileACommitIsUnderWay) {
  const CacheEpoch epoch = cache_.epoch();
  cache_.willCommit({});

  cache_.add(row(1), epoch);

  EXPECT_FALSE(find(1));
}

TEST_F(RowCacheTest, ForgetsRemovedRows) {
  cache_.add(row(1), cache_.epoch());
  const RowChange changes[] = {removal(1)};
  cache_.willCommit(changes);
  cache_.didCommit(changes);

  EXPECT_FALSE(find(1));
}

TEST_F(RowCacheTest, KeepsTheLastOfTwoChangesToARow) {
  const Ref<Row> last = row(1, 3);
  const RowChange changes[] = {update(row(1, 2)), update(last)};
  cache_.willCommit(changes);
  cache_.didCommit(changes);

  EXPECT_EQ(find(1), last);
  EXPECT_EQ(cache_.byteCount(), last->byteSize());
}

TEST_F(RowCacheTest, KeepsNothingOfACommitThatWouldPushOutTheRest) {
  RowCache small({.rows = 10, .bytes = 100'000});
  for (ObjectKey key = 1; key <= 3; ++key) small.add(row(key), small.epoch());
  std::vector<RowChange> changes{update(row(1, 2))};
  for (ObjectKey key = 101; key <= 110; ++key) {
    changes.push_back({&book(), key, RowChangeKind::insert, 0, row(key)});
  }

  small.willCommit(changes);
  small.didCommit(changes);

  EXPECT_FALSE(small.find(book(), 1, small.epoch()));
  EXPECT_TRUE(small.find(book(), 2, small.epoch()));
  EXPECT_FALSE(small.find(book(), 110, small.epoch()));
}

TEST_F(RowCacheTest, KeepsCountOfItsBytesWhenARowGrows) {
  cache_.add(row(1), cache_.epoch());
  const Ref<Row> larger = row(1, 2, 1000);
  const RowChange changes[] = {update(larger)};
  cache_.willCommit(changes);
  cache_.didCommit(changes);

  EXPECT_EQ(cache_.rowCount(), 1U);
  EXPECT_EQ(cache_.byteCount(), larger->byteSize());
}

TEST_F(RowCacheTest, ForgetsEverythingWhenACommitFails) {
  cache_.add(row(1), cache_.epoch());
  const CacheEpoch before = cache_.epoch();
  cache_.willCommit({});

  cache_.commitFailed();

  EXPECT_EQ(cache_.rowCount(), 0U);
  cache_.add(row(1), before);
  EXPECT_FALSE(find(1));
}

TEST_F(RowCacheTest, ForgetsEverythingWhenOthersCommitted) {
  cache_.add(row(1), cache_.epoch());

  const CacheEpoch epoch = cache_.outdate(cache_.epoch());

  EXPECT_EQ(epoch, cache_.epoch());
  EXPECT_FALSE(find(1));
}

TEST_F(RowCacheTest, ServesAReaderNoMoreThatFoundOutTooLate) {
  const CacheEpoch early = cache_.epoch();
  const CacheEpoch late = cache_.outdate(early);
  cache_.add(row(1), late);

  EXPECT_EQ(cache_.outdate(early), kNoEpoch);
}

TEST_F(RowCacheTest, StaysWithinItsBounds) {
  RowCache small({.rows = 10, .bytes = 100'000});
  for (ObjectKey key = 1; key <= 100; ++key) small.add(row(key), small.epoch());
  EXPECT_LE(small.rowCount(), 10U);
  EXPECT_TRUE(small.find(book(), 100, small.epoch()));
  EXPECT_FALSE(small.find(book(), 1, small.epoch()));

  for (ObjectKey key = 1; key <= 100; ++key) small.add(row(1000 + key, 1, 9'000), small.epoch());
  EXPECT_LE(small.byteCount(), 100'000U);
}

TEST_F(RowCacheTest, KeepsWhatIsUsed) {
  RowCache small({.rows = 10, .bytes = 100'000});
  small.add(row(1), small.epoch());
  for (ObjectKey key = 2; key <= 100; ++key) {
    small.add(row(key), small.epoch());
    EXPECT_TRUE(small.find(book(), 1, small.epoch())) << key;
  }
}

TEST_F(RowCacheTest, TakesNoRowThatWouldPushOutAllOthers) {
  RowCache small({.rows = 10, .bytes = 8'000});
  small.add(row(1), small.epoch());

  small.add(row(2, 1, 5'000), small.epoch());

  EXPECT_TRUE(small.find(book(), 1, small.epoch()));
  EXPECT_FALSE(small.find(book(), 2, small.epoch()));
}

TEST_F(RowCacheTest, TakesNoRowThatIsAsLargeAsManyOthers) {
  const std::size_t largest = RowCache::Limits().largestRow;
  const std::size_t around = row(1)->byteSize();

  cache_.add(row(1, 1, largest - around), cache_.epoch());
  cache_.add(row(2, 1, largest - around + 1), cache_.epoch());

  EXPECT_TRUE(find(1));
  EXPECT_FALSE(find(2));
}

TEST_F(RowCacheTest, StaysWithinItsBoundsWhenRowsGrow) {
  RowCache small({.rows = 100, .bytes = 100'000});
  for (ObjectKey key = 1; key <= 40; ++key) small.add(row(key), small.epoch());
  std::vector<RowChange> changes;
  for (ObjectKey key = 1; key <= 40; ++key) changes.push_back(update(row(key, 2, 9'000)));

  small.willCommit(changes);
  small.didCommit(changes);

  EXPECT_LE(small.byteCount(), 100'000U);
  EXPECT_TRUE(small.find(book(), 40, small.epoch()));
  EXPECT_FALSE(small.find(book(), 1, small.epoch()));
}

TEST_F(RowCacheTest, DropsARowThatGrowsTooLarge) {
  RowCache small({.rows = 10, .bytes = 8'000});
  small.add(row(1), small.epoch());
  small.add(row(2), small.epoch());
  const RowChange changes[] = {update(row(2, 2, 5'000))};

  small.willCommit(changes);
  small.didCommit(changes);

  EXPECT_TRUE(small.find(book(), 1, small.epoch()));
  EXPECT_FALSE(small.find(book(), 2, small.epoch()));
}

TEST_F(RowCacheTest, KnowsWhenItHoldsAllThatAnEntityHas) {
  EXPECT_FALSE(cache_.holdsMostOf(book()));
  const std::vector<Ref<Row>> rows{row(1), row(3)};

  cache_.addAll(book(), rows, cache_.epoch());

  EXPECT_TRUE(cache_.holdsMostOf(book()));
  std::vector<Ref<Row>> found;
  cache_.find(book(), std::vector<ObjectKey>{3, 2, 1}, cache_.epoch(), found);
  EXPECT_EQ(found, (std::vector<Ref<Row>>{rows[1], nullptr, rows[0]}));
  cache_.find(book(), std::vector<ObjectKey>{3}, kNoEpoch, found);
  EXPECT_EQ(found.size(), 4U);
  EXPECT_FALSE(found.back());
}

TEST_F(RowCacheTest, AddsAllOfAnEntityOnlyIfTheyAreFewAndSmall) {
  RowCache::Limits limits;
  limits.listedRows = 2;
  limits.listedBytes = 4096;
  RowCache cache(limits);

  cache.addAll(book(), std::vector<Ref<Row>>{row(1), row(2), row(3)}, cache.epoch());
  cache.addAll(book(), std::vector<Ref<Row>>{row(1, 1, 4096)}, cache.epoch());
  cache.addAll(book(), std::vector<Ref<Row>>{row(1)}, cache.epoch() - 1);

  EXPECT_FALSE(cache.holdsMostOf(book()));
  EXPECT_EQ(cache.rowCount(), 0U);
}

TEST_F(RowCacheTest, HoldsMostNoMoreOnceRowsWereForgotten) {
  const auto addAll = [&](RowCache& cache) {
    cache.addAll(book(), std::vector<Ref<Row>>{row(1)}, cache.epoch());
    return cache.holdsMostOf(book());
  };
  EXPECT_TRUE(addAll(cache_));
  static_cast<void>(cache_.outdate(cache_.epoch()));
  EXPECT_FALSE(cache_.holdsMostOf(book()));

  EXPECT_TRUE(addAll(cache_));
  cache_.willCommit({});
  cache_.commitFailed();
  EXPECT_FALSE(cache_.holdsMostOf(book()));

  RowCache::Limits few;
  few.rows = 4;
  RowCache small(few);
  EXPECT_TRUE(addAll(small));
  for (ObjectKey key = 2; key <= 3; ++key) small.add(row(key), small.epoch());
  EXPECT_FALSE(small.holdsMostOf(book()));

  EXPECT_TRUE(addAll(small));
  const RowChange changes[] = {update(row(5)), update(row(6)), update(row(7))};
  small.willCommit(changes);
  small.didCommit(changes);
  EXPECT_FALSE(small.holdsMostOf(book()));
}
