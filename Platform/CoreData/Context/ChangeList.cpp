#include "CoreData/Context/ChangeList.h"

#include <utility>

#include "CoreData/Object/NSManagedObject.h"
#include "Foundation/Values/RoomForOneMore.h"

namespace coredata {

using foundation::Ref;

ChangeList::ChangeList() = default;
ChangeList::~ChangeList() = default;

void ChangeList::add(NSManagedObject& object) {
  objects_.emplace_back(&object);
  object.changePosition_ = static_cast<std::uint32_t>(objects_.size() - 1);
  ++live_;
}

void ChangeList::makeRoom() { foundation::makeRoomForOneMore(objects_); }

void ChangeList::remove(NSManagedObject& object) noexcept {
  const Ref<NSManagedObject> keptAlive = std::move(objects_[object.changePosition_]);
  objects_[object.changePosition_] = nullptr;
  --live_;
  if (objects_.size() > 32 && live_ < objects_.size() / 2) closeHoles();
}

void ChangeList::closeHoles() noexcept {
  std::erase(objects_, nullptr);
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    objects_[i]->changePosition_ = static_cast<std::uint32_t>(i);
  }
}

std::vector<Ref<NSManagedObject>> ChangeList::take() noexcept {
  if (live_ != objects_.size()) closeHoles();
  live_ = 0;
  return std::exchange(objects_, {});
}

void ChangeList::putBack(std::vector<Ref<NSManagedObject>> taken) noexcept {
  objects_ = std::move(taken);
  live_ = objects_.size();
}

std::vector<Ref<NSManagedObject>> ChangeList::objects() const {
  std::vector<Ref<NSManagedObject>> result;
  result.reserve(live_);
  forEach([&](NSManagedObject& object) { result.emplace_back(&object); });
  return result;
}

}  // namespace coredata
