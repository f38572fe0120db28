#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Rows/Row.h"
#include "Foundation/Values/Ref.h"

namespace coredata {

class NSManagedObject;
class ObjectRegistry;
struct FetchedContent;

/// The result of a fetch: which objects, in which order, fixed when it was made. It holds their
/// rows, or with a batch size their keys, and makes an object when an element is looked at. An
/// element whose row is gone since gives a fault.
///
/// Copies share their content.
///
/// Threading: belongs to the queue of the context that fetched.
class FetchedObjects {
 public:
  FetchedObjects();
  FetchedObjects(const FetchedObjects&);
  FetchedObjects(FetchedObjects&&) noexcept;
  FetchedObjects& operator=(const FetchedObjects&);
  FetchedObjects& operator=(FetchedObjects&&) noexcept;
  ~FetchedObjects();

  [[nodiscard]] std::size_t size() const noexcept;
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }
  /// The object at a position below `size()`; null when the context is gone.
  [[nodiscard]] foundation::Ref<NSManagedObject> at(std::size_t index) const;
  /// The keys that the objects had when the list was made, where it holds these and no rows.
  [[nodiscard]] std::span<const ObjectKey> keys() const noexcept;

 private:
  friend class NSManagedObjectContext;

  explicit FetchedObjects(std::shared_ptr<FetchedContent> content);

  std::shared_ptr<FetchedContent> content_;
};

/// A fetched list of objects of a known class.
template <typename T>
class NSArray {
 public:
  class Iterator {
   public:
    using value_type = foundation::Ref<T>;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;

    Iterator() = default;
    Iterator(const NSArray* array, std::size_t index) : array_(array), index_(index) {}
    foundation::Ref<T> operator*() const { return (*array_)[index_]; }
    Iterator& operator++() {
      ++index_;
      return *this;
    }
    Iterator operator++(int) {
      Iterator before = *this;
      ++index_;
      return before;
    }
    friend bool operator==(const Iterator&, const Iterator&) = default;

   private:
    const NSArray* array_ = nullptr;
    std::size_t index_ = 0;
  };

  NSArray() = default;
  explicit NSArray(FetchedObjects objects) : objects_(std::move(objects)) {}

  [[nodiscard]] std::size_t size() const noexcept { return objects_.size(); }
  [[nodiscard]] bool empty() const noexcept { return objects_.empty(); }
  [[nodiscard]] foundation::Ref<T> operator[](std::size_t index) const {
    return foundation::Ref<T>::adopt(static_cast<T*>(objects_.at(index).leak()));
  }
  /// The first element, or null.
  [[nodiscard]] foundation::Ref<T> first() const {
    return empty() ? foundation::Ref<T>() : (*this)[0];
  }
  [[nodiscard]] Iterator begin() const { return Iterator(this, 0); }
  [[nodiscard]] Iterator end() const { return Iterator(this, size()); }
  [[nodiscard]] const FetchedObjects& objects() const noexcept { return objects_; }

 private:
  FetchedObjects objects_;
};

}  // namespace coredata
