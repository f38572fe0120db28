#pragma once

#include <string>
#include <vector>

#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreFiles.h"

namespace damage {

/// Sizes in bytes of what stores and their logs are made of.
inline constexpr std::size_t kPage = 4096;
inline constexpr std::size_t kLogHeader = 32;
inline constexpr std::size_t kFrameHeader = 24;

/// What a store holds, as two ways of reading it tell.
struct State {
  /// `storecheck`'s hash of the content.
  std::string content;
  /// What an application sees, as a number that stands for all of it.
  std::string seen;
  friend bool operator==(const State&, const State&) = default;
};

/// The hash of what a context sees.
[[nodiscard]] std::string seenBy(coredata::NSManagedObjectContext& context);

/// A small store of the newest version with every entity, in files that are laid out anew for each
/// damage.
class StoreSample {
 public:
  /// How the process with the store ends: in order, or dead with what it committed in the log.
  enum class End { closed, killed };

  /// Made with the seed's content; then `commits` saves follow.
  StoreSample(std::uint64_t seed, std::size_t commits, End end);

  [[nodiscard]] const support::MigrationPlace& place() const noexcept { return place_; }
  [[nodiscard]] std::filesystem::path path() const;
  /// What lies in the place, by name.
  [[nodiscard]] const support::Files& files() const noexcept { return files_; }
  /// The bytes of the store, or of what lies beside it under that suffix.
  [[nodiscard]] const std::string& bytes(const std::string& suffix = {}) const;
  /// The states before and after each commit.
  [[nodiscard]] const std::vector<State>& states() const noexcept { return states_; }
  /// The files as they were after each commit, if the end is `killed`.
  [[nodiscard]] const std::vector<support::Files>& filesAfter() const noexcept {
    return filesAfter_;
  }

  /// Lays the files out with others in place of some.
  void layWith(const support::Files& changed) const;

 private:
  void commitInChild(std::size_t commits, End end);

  support::MigrationPlace place_;
  support::Files files_;
  std::vector<State> states_;
  std::vector<support::Files> filesAfter_;
};

inline const std::string kStore = "Model.sqlite";
inline const std::string kLog = kStore + "-wal";
inline const std::string kIndex = kStore + "-shm";
inline const std::string kJournal = kStore + "-journal";

}  // namespace damage
