#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "CoreData/Rows/ObjectKey.h"
#include "Foundation/Values/RoomForOneMore.h"

namespace coredata {

/// Keys in ascending order, shared and immutable.
using KeyList = std::shared_ptr<const std::vector<ObjectKey>>;

/// What an object knows of one of its to-many relationships: the members that the store has, once
/// somebody asked, and what was added and taken away since. Changing a member never loads the
/// others.
struct ToMany {
  /// The store's members; null until they are read.
  KeyList stored;
  /// The reading that `stored` belongs to: it is out of date as soon as the context's count of the
  /// member entity's outside changes has moved on.
  std::uint64_t epoch = 0;
  /// Members since, in the order in which they were added.
  std::vector<ObjectKey> added;
  /// Former members since, ascending.
  std::vector<ObjectKey> removed;

  [[nodiscard]] bool hasChanges() const noexcept { return !added.empty() || !removed.empty(); }
  /// The next `add`, or `remove`, takes no memory, and so does not fail.
  void makeRoomToAdd() { foundation::makeRoomForOneMore(added); }
  void makeRoomToRemove() { foundation::makeRoomForOneMore(removed); }
  void add(ObjectKey member);
  void remove(ObjectKey member);
  /// Drops what was noted of the member: it is here if the store says so.
  void forget(ObjectKey member) noexcept;
};

}  // namespace coredata
