#pragma once

#include <ostream>
#include <span>
#include <string>

#include "CoreData/Context/NSManagedObjectContext.h"

namespace reliability {

/// How many saves each workload makes.
inline constexpr int kSaves = 5;

/// One kind of work on a store of the newest version, cut into saves of which the store is to hold
/// each whole or not at all. Two runs over the same files, with the same clock and random numbers,
/// write the same bytes into the same rows.
struct Workload {
  /// Fit to be part of a test's name.
  std::string name;
  /// Puts into a new store what the work starts from. The caller saves.
  void (*prepare)(const foundation::Ref<coredata::NSManagedObjectContext>& context);
  /// The save of that number, counted from 1. Called on the context's queue, in order.
  void (*save)(const foundation::Ref<coredata::NSManagedObjectContext>& context, int number);

  friend std::ostream& operator<<(std::ostream& stream, const Workload& workload) {
    return stream << workload.name;
  }
};

/// A check-in added, one counted up, one deleted; a photo of 200 KB; a widget group of 20 items; an
/// erasure of 1,000 check-ins. The first two are what a person does all day.
[[nodiscard]] std::span<const Workload> workloads();

/// A photo of 2 MB, none of the six: for what depends on how much is written.
[[nodiscard]] const Workload& largePhotos();

}  // namespace reliability
