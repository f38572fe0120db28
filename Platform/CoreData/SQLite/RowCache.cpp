#include "CoreData/SQLite/RowCache.h"

#include <new>

namespace coredata {

using foundation::Ref;

Ref<Row> RowCache::find(const NSEntityDescription& entity, ObjectKey key, CacheEpoch readerEpoch) {
  if (readerEpoch == kNoEpoch) return nullptr;
  const std::scoped_lock lock(mutex_);
  return findHeld({entity.index(), key}, readerEpoch);
}

void RowCache::find(const NSEntityDescription& entity, std::span<const ObjectKey> keys,
                    CacheEpoch readerEpoch, std::vector<Ref<Row>>& out) {
  if (readerEpoch == kNoEpoch) return out.resize(out.size() + keys.size());
  out.reserve(out.size() + keys.size());
  const std::scoped_lock lock(mutex_);
  for (const ObjectKey key : keys) out.push_back(findHeld({entity.index(), key}, readerEpoch));
}

Ref<Row> RowCache::findHeld(const Place& place, CacheEpoch readerEpoch) {
  if (const auto young = young_.rows.find(place); young != young_.rows.end()) {
    return young->second.since <= readerEpoch ? young->second.row : nullptr;
  }
  const auto old = old_.rows.find(place);
  if (old == old_.rows.end() || old->second.since > readerEpoch) return nullptr;
  Entry entry = std::move(old->second);
  old_.bytes -= entry.row->byteSize();
  old_.rows.erase(old);
  Ref<Row> row = entry.row;
  put(place, std::move(entry));
  return row;
}

bool RowCache::takesFrom(CacheEpoch readerEpoch) const noexcept {
  // While a commit is under way a snapshot may hold its rows or not; nobody can tell from outside.
  return readerEpoch == epoch_.load(std::memory_order_relaxed) && commitsUnderWay_ == 0;
}

void RowCache::add(const Ref<Row>& row, CacheEpoch readerEpoch) {
  const std::scoped_lock lock(mutex_);
  if (!takesFrom(readerEpoch)) return;
  const Place place{row->entity().index(), row->key()};
  if (!young_.rows.contains(place)) put(place, {row, readerEpoch});
}

void RowCache::addAll(const NSEntityDescription& entity, std::span<const Ref<Row>> rows,
                      CacheEpoch readerEpoch) {
  if (rows.size() > limits_.listedRows) return;
  std::size_t bytes = 0;
  for (const Ref<Row>& row : rows) bytes += row->byteSize();
  if (bytes > std::min(limits_.listedBytes, limits_.bytes / 8)) return;
  const std::scoped_lock lock(mutex_);
  if (!takesFrom(readerEpoch)) return;
  for (const Ref<Row>& row : rows) {
    const Place place{entity.index(), row->key()};
    if (!young_.rows.contains(place)) put(place, {row, readerEpoch});
  }
  wholeEntities_.fetch_or(bitOf(entity), std::memory_order_relaxed);
}

CacheEpoch RowCache::outdate(CacheEpoch readerEpoch) {
  const std::scoped_lock lock(mutex_);
  forgetAll();
  const CacheEpoch before = epoch_.load(std::memory_order_relaxed);
  epoch_.store(before + 1, std::memory_order_release);
  // If the epoch moved on since the reader took its snapshot, others may hold a newer one than it
  // does, and the rows that they add would be too new for it.
  return readerEpoch == before ? before + 1 : kNoEpoch;
}

void RowCache::willCommit(std::span<const RowChange> changes) noexcept {
  const std::scoped_lock lock(mutex_);
  ++commitsUnderWay_;
  for (const RowChange& change : changes) {
    if (change.kind != RowChangeKind::insert) withhold({change.entity->index(), change.key});
  }
}

void RowCache::didCommit(std::span<const RowChange> changes) noexcept {
  const std::scoped_lock lock(mutex_);
  const CacheEpoch now = epoch_.load(std::memory_order_relaxed) + 1;
  try {
    take(changes, now);
  } catch (const std::bad_alloc&) {
    // The commit stands; that a cache knows nothing is never wrong.
    forgetAll();
  }
  epoch_.store(now, std::memory_order_release);
  --commitsUnderWay_;
}

void RowCache::take(std::span<const RowChange> changes, CacheEpoch now) {
  const bool isTooMuch = changes.size() > limits_.rows / 2;
  if (isTooMuch) wholeEntities_.store(0, std::memory_order_relaxed);
  for (const RowChange& change : changes) {
    const Place place{change.entity->index(), change.key};
    if (change.row && !isTooMuch) {
      replace(place, {change.row, now});
    } else if (change.kind != RowChangeKind::insert) {
      drop(place);
    }
  }
}

void RowCache::commitFailed() noexcept {
  const std::scoped_lock lock(mutex_);
  forgetAll();
  epoch_.fetch_add(1, std::memory_order_release);
  --commitsUnderWay_;
}

std::size_t RowCache::rowCount() const {
  const std::scoped_lock lock(mutex_);
  return young_.rows.size() + old_.rows.size();
}

std::size_t RowCache::byteCount() const {
  const std::scoped_lock lock(mutex_);
  return young_.bytes + old_.bytes;
}

void RowCache::put(const Place& place, Entry entry) {
  const std::size_t size = entry.row->byteSize();
  if (isTooLarge(size)) return;
  if (young_.rows.size() >= limits_.rows / 2 || young_.bytes + size > limits_.bytes / 2) {
    old_ = std::move(young_);
    young_ = {};
    wholeEntities_.store(0, std::memory_order_relaxed);
  }
  young_.rows.insert_or_assign(place, std::move(entry));
  young_.bytes += size;
}

void RowCache::replace(const Place& place, Entry entry) {
  const auto young = young_.rows.find(place);
  if (young != young_.rows.end()) {
    const std::size_t size = entry.row->byteSize();
    const std::size_t bytes = young_.bytes - young->second.row->byteSize() + size;
    if (!isTooLarge(size) && bytes <= limits_.bytes / 2) {
      young->second = std::move(entry);
      young_.bytes = bytes;
      return;
    }
  }
  // A row may be changed twice in one transaction, and the generations may have turned in between.
  drop(place);
  put(place, std::move(entry));
}

void RowCache::withhold(const Place& place) {
  const auto young = young_.rows.find(place);
  if (young == young_.rows.end()) {
    erase(old_, place);
  } else {
    // Left in its place: that is where the new row goes.
    young->second.since = kAfterAll;
  }
}

void RowCache::drop(const Place& place) {
  erase(young_, place);
  erase(old_, place);
}

void RowCache::erase(Generation& generation, const Place& place) {
  const auto found = generation.rows.find(place);
  if (found == generation.rows.end()) return;
  generation.bytes -= found->second.row->byteSize();
  generation.rows.erase(found);
}

void RowCache::forgetAll() noexcept {
  wholeEntities_.store(0, std::memory_order_relaxed);
  young_ = {};
  old_ = {};
}

}  // namespace coredata
