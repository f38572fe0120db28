#pragma once

#include <cstdint>

namespace coredata {

/// What a save does about an object that somebody else changed or deleted since it was read.
enum class NSMergePolicy : std::uint8_t {
  /// Nothing is written, and the save throws a conflict error.
  error,
  /// What was changed here wins, property by property; everything else is taken from the store. An
  /// object deleted
  /// there stays deleted, whatever was changed here.
  mergeByPropertyObjectTrump,
};
inline constexpr NSMergePolicy NSErrorMergePolicy = NSMergePolicy::error;
inline constexpr NSMergePolicy NSMergeByPropertyObjectTrumpMergePolicy =
    NSMergePolicy::mergeByPropertyObjectTrump;

}  // namespace coredata
