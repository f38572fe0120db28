#pragma once

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Rows/ObjectKey.h"
#include "Foundation/Values/Ref.h"

namespace coredata {

class NSManagedObject;
class ObjectRegistry;

/// The members of a to-many relationship at one moment, or a set of objects put together by hand.
/// Members that the store has are kept as keys, and their handles made while they are read; a set
/// is never filled by looking at it. No order is promised (today: stored members by key, then
/// unsaved ones as they were added).
///
/// Threading: belongs to the queue of the context that its members belong to.
class ObjectSet {
 public:
  ObjectSet() noexcept;
  explicit ObjectSet(std::vector<foundation::Ref<NSManagedObject>> objects);
  ObjectSet(foundation::Ref<ObjectRegistry> registry, const NSEntityDescription& entity,
            std::shared_ptr<const std::vector<ObjectKey>> stored,
            std::vector<foundation::Ref<NSManagedObject>> unsaved);
  ObjectSet(const ObjectSet&);
  ObjectSet(ObjectSet&&) noexcept;
  ObjectSet& operator=(const ObjectSet&);
  ObjectSet& operator=(ObjectSet&&) noexcept;
  ~ObjectSet();

  [[nodiscard]] std::size_t count() const noexcept;
  [[nodiscard]] bool empty() const noexcept { return count() == 0; }
  /// The member at a position below `count()`; null when its context is gone.
  [[nodiscard]] foundation::Ref<NSManagedObject> at(std::size_t index) const;
  [[nodiscard]] bool contains(const NSManagedObject& object) const noexcept;

 private:
  foundation::Ref<ObjectRegistry> registry_;
  const NSEntityDescription* entity_ = nullptr;
  std::shared_ptr<const std::vector<ObjectKey>> stored_;
  /// Members without a key that stays: unsaved ones, or all of them in a set made by hand.
  std::vector<foundation::Ref<NSManagedObject>> objects_;
};

/// The same, with members of a known class.
template <typename T>
class NSSet {
 public:
  class Iterator {
   public:
    using value_type = foundation::Ref<T>;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;

    Iterator() = default;
    Iterator(const NSSet* set, std::size_t index) : set_(set), index_(index) {}
    foundation::Ref<T> operator*() const { return set_->at(index_); }
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
    const NSSet* set_ = nullptr;
    std::size_t index_ = 0;
  };

  NSSet() = default;
  NSSet(std::initializer_list<foundation::Ref<T>> objects)
      : objects_(std::vector<foundation::Ref<NSManagedObject>>(objects.begin(), objects.end())) {}
  explicit NSSet(ObjectSet objects) : objects_(std::move(objects)) {}

  [[nodiscard]] std::size_t count() const noexcept { return objects_.count(); }
  [[nodiscard]] bool empty() const noexcept { return objects_.empty(); }
  [[nodiscard]] foundation::Ref<T> at(std::size_t index) const {
    return foundation::Ref<T>::adopt(static_cast<T*>(objects_.at(index).leak()));
  }
  [[nodiscard]] bool contains(const foundation::Ref<T>& object) const noexcept {
    return object && objects_.contains(*object);
  }
  [[nodiscard]] Iterator begin() const { return Iterator(this, 0); }
  [[nodiscard]] Iterator end() const { return Iterator(this, count()); }
  [[nodiscard]] const ObjectSet& objects() const noexcept { return objects_; }

 private:
  ObjectSet objects_;
};

}  // namespace coredata
