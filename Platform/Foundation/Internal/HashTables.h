#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "absl/container/flat_hash_map.h"
#include "absl/container/flat_hash_set.h"

namespace foundation {

/// What the two tables below have in common: Abseil's tables, made to outlive a lack of memory.
///
/// Abseil's notes how large a table is to become before it has the memory for it, and counts an
/// element before it is made; when either throws, the table cannot even be destroyed. So here it
/// never grows by itself: another one is made beforehand, as large as is needed, the elements are
/// moved, and only then does it take the place of the first. And elements come ready made.
///
/// What throws `std::bad_alloc` leaves the table as it was. Looking, erasing and moving elements
/// take no memory. References and iterators are good until the next element comes.
template <typename Table>
class GrowingTable {
 public:
  using iterator = typename Table::iterator;
  using const_iterator = typename Table::const_iterator;
  static_assert(std::is_nothrow_move_constructible_v<typename Table::value_type>);

  GrowingTable() = default;
  GrowingTable(GrowingTable&& other) noexcept
      : table_(std::exchange(other.table_, Table())),
        used_(std::exchange(other.used_, 0)),
        room_(std::exchange(other.room_, 0)) {}
  GrowingTable& operator=(GrowingTable&& other) noexcept {
    table_ = std::exchange(other.table_, Table());
    used_ = std::exchange(other.used_, 0);
    room_ = std::exchange(other.room_, 0);
    return *this;
  }
  GrowingTable(const GrowingTable&) = delete;
  GrowingTable& operator=(const GrowingTable&) = delete;
  ~GrowingTable() = default;

  [[nodiscard]] std::size_t size() const noexcept { return table_.size(); }
  [[nodiscard]] bool empty() const noexcept { return table_.empty(); }
  [[nodiscard]] iterator begin() { return table_.begin(); }
  [[nodiscard]] iterator end() { return table_.end(); }
  [[nodiscard]] const_iterator begin() const { return table_.begin(); }
  [[nodiscard]] const_iterator end() const { return table_.end(); }
  template <typename Key>
  [[nodiscard]] iterator find(const Key& key) {
    return table_.find(key);
  }
  template <typename Key>
  [[nodiscard]] const_iterator find(const Key& key) const {
    return table_.find(key);
  }
  template <typename Key>
  [[nodiscard]] bool contains(const Key& key) const {
    return table_.contains(key);
  }

  void erase(iterator place) { table_.erase(place); }
  template <typename Key>
  std::size_t erase(const Key& key) {
    return table_.erase(key);
  }
  template <typename Predicate>
  void eraseIf(Predicate&& predicate) {
    absl::erase_if(table_, std::forward<Predicate>(predicate));
  }
  void clear() {
    table_.clear();
    used_ = 0;
    // A large one has given its memory back.
    if (table_.capacity() == 0) room_ = 0;
  }

  /// The next `more` elements take no memory.
  void makeRoomFor(std::size_t more) {
    if (more <= room_ - used_) return;
    // Where all are gone, their places are free.
    if (empty()) clear();
    if (more > room_ - used_) grow(more);
  }

 protected:
  /// Calls `insert` with a table that has the room for what it inserts, one element at most.
  template <typename Insert>
  auto inserting(Insert&& insert) {
    makeRoomFor(1);
    const std::size_t before = table_.size();
    auto result = insert(table_);
    used_ += table_.size() - before;
    return result;
  }

 private:
  void grow(std::size_t more) {
    constexpr std::size_t kSmallest = 6;
    const std::size_t room = std::max({kSmallest, size() + more, 2 * size()});
    // Not destroyed where it finds no memory: it cannot be, and it has none.
    union Unborn {
      Unborn() {}
      ~Unborn() {}
      Table table;
    } larger;
    ::new (static_cast<void*>(&larger.table)) Table();
    larger.table.reserve(room);
    for (auto place = table_.begin(); place != table_.end();) {
      const auto next = std::next(place);
      larger.table.insert(table_.extract(place));
      place = next;
    }
    table_ = std::move(larger.table);
    larger.table.~Table();
    used_ = table_.size();
    room_ = room;
  }

  Table table_;
  /// Elements since the table was made, those included that are gone: their places may not be free.
  std::size_t used_ = 0;
  /// How many it may have before it has to be made anew.
  std::size_t room_ = 0;
};

template <typename Key, typename Value>
class HashMap : public GrowingTable<absl::flat_hash_map<Key, Value>> {
 public:
  Value& operator[](const Key& key) {
    return this->inserting([&](auto& table) { return table.try_emplace(key); }).first->second;
  }
  /// Leaves an element alone that is there. Its place, and whether it is new.
  auto emplace(Key key, Value value) {
    return this->inserting(
        [&](auto& table) { return table.try_emplace(std::move(key), std::move(value)); });
  }
  void insert_or_assign(Key key, Value value) {
    this->inserting(
        [&](auto& table) { return table.insert_or_assign(std::move(key), std::move(value)); });
  }
};

template <typename Key>
class HashSet : public GrowingTable<absl::flat_hash_set<Key>> {
 public:
  auto insert(Key key) {
    return this->inserting([&](auto& table) { return table.insert(std::move(key)); });
  }
};

}  // namespace foundation
