#pragma once

#include <cstddef>
#include <cstdint>
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
  void remove(NSManagedObject& object);
  /// Empties the list and gives what was in it. The objects keep their places, so that the list can
  /// be put back.
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> take();
  /// Undoes `take`; the list must not have been added to since.
  void putBack(std::vector<foundation::Ref<NSManagedObject>> taken) noexcept;
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> objects() const;

  template <typename F>
  void forEach(F&& visit) const {
    for (const foundation::Ref<NSManagedObject>& object : objects_) {
      if (object) visit(*object);
    }
  }

 private:
  /// Holes are places of removed objects; they are closed when they are the majority.
  void closeHoles();

  std::vector<foundation::Ref<NSManagedObject>> objects_;
  std::size_t live_ = 0;
};

}  // namespace coredata
