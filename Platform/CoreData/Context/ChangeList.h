#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Foundation/Values/Ref.h"

namespace coredata {

class NSManagedObject;

/// Objects with changes of one kind, in the order in which they got them. Adding and removing cost
/// a step each; an object remembers its place and is in one list at most.
class ChangeList {
 public:
  ChangeList();
  ~ChangeList();
  ChangeList(const ChangeList&) = delete;
  ChangeList& operator=(const ChangeList&) = delete;

  [[nodiscard]] std::size_t size() const noexcept { return live_; }
  [[nodiscard]] bool empty() const noexcept { return live_ == 0; }
  void add(NSManagedObject& object);
  /// The next `add` takes no memory, and so does not fail.
  void makeRoom();
  void remove(NSManagedObject& object) noexcept;
  /// Empties the list and gives what was in it. The objects keep their places, so that the list can
  /// be put back.
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> take() noexcept;
  /// Undoes `take`; the list must not have been added to since.
  void putBack(std::vector<foundation::Ref<NSManagedObject>> taken) noexcept;
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> objects() const;

  /// Calls `visit` with each object, which takes it out of the list by what it does.
  template <typename F>
  void drain(F&& visit) {
    while (live_ != 0) {
      if (const foundation::Ref<NSManagedObject> object = objects_.back()) {
        visit(*object);
      } else {
        objects_.pop_back();
      }
    }
    std::exchange(objects_, {});
  }
  template <typename F>
  void forEach(F&& visit) const {
    for (const foundation::Ref<NSManagedObject>& object : objects_) {
      if (object) visit(*object);
    }
  }

 private:
  /// Holes are places of removed objects; they are closed when they are the majority.
  void closeHoles() noexcept;

  std::vector<foundation::Ref<NSManagedObject>> objects_;
  std::size_t live_ = 0;
};

}  // namespace coredata
