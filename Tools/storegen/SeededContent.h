#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "CoreData/Model/NSEntityDescription.h"

namespace storegen {

/// What a seeded store is to hold. The same content, in the same version, is the same store but for
/// the stamps of its history.
struct SeededContent {
  std::uint64_t seed = 1;
  std::size_t activities = 10;
  /// Check-ins of each activity, one a day.
  std::size_t days = 30;
  std::size_t photos = 5;
  std::size_t photoBytes = 1000;
  /// How many of a hundred optional values and relationships are absent. The values of an entity's
  /// first object are all there, and so are file names: a photo without one cannot be brought
  /// forward.
  int absentPercent = 10;
  /// Where the files of photos go, in versions that keep photos in files; none are written when it
  /// is empty.
  std::string container;
};

/// How many objects of the entity the store holds.
[[nodiscard]] std::size_t objectCount(const coredata::NSEntityDescription& entity,
                                      const SeededContent& content);

/// The day to which the object at a position belongs, counted from the first one of all stores.
[[nodiscard]] std::size_t dayOf(std::string_view entity, std::size_t position,
                                const SeededContent& content);

}  // namespace storegen
