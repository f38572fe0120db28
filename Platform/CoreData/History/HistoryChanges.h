#pragma once

#include <cstddef>
#include <iterator>
#include <utility>

#include "CoreData/History/NSPersistentHistoryChange.h"

namespace coredata {

/// A list of changes in their order, each made when it is touched. Immutable; copying costs a
/// count.
class HistoryChanges {
 public:
  class Iterator {
   public:
    using value_type = NSPersistentHistoryChange;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;

    Iterator() = default;
    Iterator(const HistoryChanges& list, std::size_t index) noexcept
        : list_(&list), index_(index) {}
    NSPersistentHistoryChange operator*() const { return (*list_)[index_]; }
    Iterator& operator++() noexcept {
      ++index_;
      return *this;
    }
    Iterator operator++(int) noexcept {
      Iterator before = *this;
      ++index_;
      return before;
    }
    friend bool operator==(const Iterator&, const Iterator&) = default;

   private:
    const HistoryChanges* list_ = nullptr;
    std::size_t index_ = 0;
  };

  HistoryChanges() = default;
  HistoryChanges(foundation::Ref<const HistoryBlock> block, std::size_t first,
                 std::size_t count) noexcept
      : block_(std::move(block)), first_(first), count_(count) {}

  [[nodiscard]] std::size_t size() const noexcept { return count_; }
  [[nodiscard]] bool empty() const noexcept { return count_ == 0; }
  [[nodiscard]] NSPersistentHistoryChange operator[](std::size_t index) const noexcept {
    return {block_, first_ + index};
  }
  [[nodiscard]] Iterator begin() const noexcept { return {*this, 0}; }
  [[nodiscard]] Iterator end() const noexcept { return {*this, count_}; }

 private:
  foundation::Ref<const HistoryBlock> block_;
  std::size_t first_ = 0;
  std::size_t count_ = 0;
};

}  // namespace coredata
