#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <mutex>
#include <span>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/CacheEpoch.h"
#include "CoreData/SQLite/RowChange.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

/// Rows that were read or written lately, shared by all contexts of a store.
///
/// A reader asks under the epoch that was current before its snapshot was taken. It gets a row only
/// if that row is not newer than its epoch, and may add one only while its epoch is still the
/// current one and no commit is under way: so a reader never sees a row newer than its snapshot,
/// and an old snapshot never puts back an outdated row.
///
/// Rows are kept in two generations. When the young one has taken half of the room, the old one is
/// dropped and the young one becomes the old; a hit in the old one moves the row to the young. That
/// forgets what was not used lately without keeping a list in order.
///
/// Threading: use it on any thread.
class RowCache {
 public:
  struct Limits {
    std::size_t rows = 32'768;
    std::size_t bytes = std::size_t{16} << 20;
    /// Reading a larger row once more costs less than reading those that it would push out.
    std::size_t largestRow = std::size_t{64} << 10;
    /// The most rows that an entity has which are added because they were listed, and their bytes.
    std::size_t listedRows = 512;
    std::size_t listedBytes = std::size_t{256} << 10;
  };

  RowCache() : RowCache(Limits{}) {}
  explicit RowCache(Limits limits) : limits_(limits) {}

  [[nodiscard]] CacheEpoch epoch() const noexcept { return epoch_.load(std::memory_order_acquire); }
  [[nodiscard]] foundation::Ref<Row> find(const NSEntityDescription& entity, ObjectKey key,
                                          CacheEpoch readerEpoch);
  /// The same for several rows, appended to `out` in the order of the keys, null for what is not
  /// there.
  void find(const NSEntityDescription& entity, std::span<const ObjectKey> keys,
            CacheEpoch readerEpoch, std::vector<foundation::Ref<Row>>& out);
  void add(const foundation::Ref<Row>& row, CacheEpoch readerEpoch);

  /// Adds all rows that an entity has, where they are few and small.
  void addAll(const NSEntityDescription& entity, std::span<const foundation::Ref<Row>> rows,
              CacheEpoch readerEpoch);
  /// Whether all rows of the entity were added, and hardly any was lost since: a hint, by which to
  /// look for keys alone.
  [[nodiscard]] bool holdsMostOf(const NSEntityDescription& entity) const noexcept {
    return (wholeEntities_.load(std::memory_order_relaxed) & bitOf(entity)) != 0;
  }

  /// Somebody else has committed: forgets everything. Gives the epoch under which the reader that
  /// found it out goes on, `kNoEpoch` if the cache has meanwhile moved past its snapshot.
  [[nodiscard]] CacheEpoch outdate(CacheEpoch readerEpoch);

  /// Brackets a commit: the rows that it changes are withheld from before the store has it until it
  /// is known. The rows of a commit that alone would push out everything else are not kept.
  /// Nor are any where memory does not suffice: a commit is not to fail over that.
  void willCommit(std::span<const RowChange> changes) noexcept;
  void didCommit(std::span<const RowChange> changes) noexcept;
  /// Nobody knows what the store holds now.
  void commitFailed() noexcept;

  [[nodiscard]] std::size_t rowCount() const;
  [[nodiscard]] std::size_t byteCount() const;

 private:
  struct Place {
    EntityIndex entity;
    ObjectKey key;

    friend bool operator==(const Place&, const Place&) = default;
    template <typename H>
    friend H AbslHashValue(H state, const Place& place) {
      return H::combine(std::move(state), place.entity, place.key);
    }
  };
  struct Entry {
    foundation::Ref<Row> row;
    CacheEpoch since;
  };
  struct Generation {
    foundation::HashMap<Place, Entry> rows;
    std::size_t bytes = 0;
  };

  /// No reader's epoch is as late.
  static constexpr CacheEpoch kAfterAll = std::numeric_limits<CacheEpoch>::max();

  [[nodiscard]] bool isTooLarge(std::size_t size) const noexcept {
    return size > std::min(limits_.largestRow, limits_.bytes / 8);
  }
  /// None for an entity whose number is too high for one; of these nothing is hinted.
  [[nodiscard]] static std::uint64_t bitOf(const NSEntityDescription& entity) noexcept {
    constexpr EntityIndex kBits = 64;
    return entity.index() < kBits ? std::uint64_t{1} << entity.index() : 0;
  }
  /// With the lock held.
  [[nodiscard]] foundation::Ref<Row> findHeld(const Place& place, CacheEpoch readerEpoch);
  [[nodiscard]] bool takesFrom(CacheEpoch readerEpoch) const noexcept;
  void take(std::span<const RowChange> changes, CacheEpoch now);
  void put(const Place& place, Entry entry);
  void replace(const Place& place, Entry entry);
  void withhold(const Place& place);
  void drop(const Place& place);
  static void erase(Generation& generation, const Place& place);
  void forgetAll() noexcept;

  const Limits limits_;
  std::atomic<CacheEpoch> epoch_{1};
  mutable std::mutex mutex_;
  Generation young_;
  Generation old_;
  int commitsUnderWay_ = 0;
  /// The entities of which most rows are there, a bit each.
  std::atomic<std::uint64_t> wholeEntities_{0};
};

}  // namespace coredata
