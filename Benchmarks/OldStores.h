#pragma once

#include <filesystem>
#include <string>

#include "Benchmarks/Harness.h"
#include "Benchmarks/StepsByHand.h"
#include "Tests/Support/MigrationPlace.h"

namespace benchmarks {

/// Stores of older versions of both sides in a directory, from which copies are taken to be brought
/// forward again and again.
class OldStores {
 public:
  explicit OldStores(std::filesystem::path directory) : directory_(std::move(directory)) {}

  /// Version 1, with a check-in of each activity on each day.
  void fillWithCheckins(const Workload& workload) const;
  /// Version 6, with photos in files.
  void fillWithPhotos(const Workload& workload) const;

  [[nodiscard]] std::filesystem::path ours() const { return directory_ / "ours.sqlite"; }
  [[nodiscard]] std::filesystem::path byHand() const { return directory_ / "by-hand.sqlite"; }
  /// The container that has the photos' files.
  [[nodiscard]] std::filesystem::path container() const { return directory_ / "container"; }
  [[nodiscard]] std::filesystem::path photos() const;

 private:
  std::filesystem::path directory_;
};

/// What is done with them. Each operation works on a copy that is on disk before the clock starts,
/// and takes seconds. One at a time in a process.
class Migrations {
 public:
  explicit Migrations(OldStores stores);

  /// The six steps from version 1. The answer counts check-ins, and those with memos once more.
  [[nodiscard]] Run steps();
  [[nodiscard]] Run stepsByHand();
  /// The step from version 6, synced as if nothing came behind it, beside no more than copying the
  /// photos' bytes into a database. The answer counts the bytes.
  [[nodiscard]] Run photos();
  [[nodiscard]] Run photosByHand();

 private:
  void linkPhotos() const;

  support::MigrationPlace place_;
  OldStores stores_;
  StepsByHand steps_;
};

}  // namespace benchmarks
