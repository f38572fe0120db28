#pragma once

#include <initializer_list>
#include <memory>
#include <vector>

#include "Foundation/Predicate/NSSortDescriptor.h"

namespace foundation {

/// An order by several keys: the first that tells two objects apart decides. None leaves it open.
///
/// Copies share their content, so that a request made from an order that is kept allocates nothing
/// for it.
///
/// Threading: immutable; use it on any thread.
class SortDescriptors {
 public:
  using List = std::vector<NSSortDescriptor>;

  SortDescriptors() = default;
  SortDescriptors(std::initializer_list<NSSortDescriptor> list) : SortDescriptors(List(list)) {}
  // NOLINTNEXTLINE(google-explicit-constructor): a list of descriptors is an order
  SortDescriptors(List list)
      : list_(list.empty() ? nullptr : std::make_shared<const List>(std::move(list))) {}

  [[nodiscard]] bool empty() const noexcept { return list_ == nullptr; }
  [[nodiscard]] std::size_t size() const noexcept { return empty() ? 0 : list_->size(); }
  [[nodiscard]] const NSSortDescriptor* begin() const noexcept {
    return empty() ? nullptr : list_->data();
  }
  [[nodiscard]] const NSSortDescriptor* end() const noexcept {
    return empty() ? nullptr : list_->data() + list_->size();
  }

  friend bool operator==(const SortDescriptors& a, const SortDescriptors& b) noexcept {
    if (a.list_ == b.list_) return true;
    return a.list_ != nullptr && b.list_ != nullptr && *a.list_ == *b.list_;
  }

 private:
  /// Null for none.
  std::shared_ptr<const List> list_;
};

}  // namespace foundation
