#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Reliability/Power/DiskOperation.h"
#include "Tests/Reliability/Power/LosingFile.h"
#include "Tests/Support/StoreFiles.h"

namespace power {

/// A disk in memory that loses what was not synced when the power fails.
///
/// Files lose content as `LosingFile` says. Of the names in directories, those that a sync of their
/// directory came after are there, or gone; every later creation, renaming and removal may be lost.
/// A file system with a journal for its directories keeps them up to some moment, in the order in
/// which they were made, and one without keeps any of them; chance decides which of the two this
/// was. That a file was synced says nothing of its name. A renamed file has the old name or the new
/// one, and never none.
///
/// The model is put together from how SQLite simulates losses in its own tests (`test6.c`: sectors
/// that are dropped, written late, or garbage), from LazyFS (writes torn and reordered between
/// syncs), and for directories from what ALICE found file systems to do (Pillai and others, "All
/// File Systems Are Not Created Equal").
class LosingDisk {
 public:
  /// Everything in `before` is on the disk for certain.
  explicit LosingDisk(const support::Files& before);

  void apply(const DiskOperation& operation);
  /// Whether a loss of power would change nothing.
  [[nodiscard]] bool isSynced() const;
  /// The files on the disk after a loss of power.
  [[nodiscard]] support::Files afterLoss(std::uint64_t seed) const;

 private:
  using NodeNumber = std::size_t;
  /// The names in a directory.
  using Entries = std::map<std::string, NodeNumber>;
  /// A file or a directory, whatever its names are.
  struct Node {
    bool isDirectory = false;
    LosingFile content;
    Entries entries;
  };
  struct Place {
    NodeNumber directory = 0;
    std::string name;
  };
  /// A change of names that no sync has come after.
  struct EntryChange {
    /// Where a name is made, if one is.
    std::optional<Place> to;
    /// Where one is removed, if one is.
    std::optional<Place> from;
    NodeNumber node = 0;
  };
  /// Each directory's names as they are on the disk.
  using Names = std::map<NodeNumber, Entries>;

  [[nodiscard]] Place placeOf(const std::string& path) const;
  [[nodiscard]] std::optional<NodeNumber> find(const std::string& path) const;
  /// Throws when there is nothing.
  [[nodiscard]] NodeNumber nodeOf(const std::string& path) const;
  NodeNumber makeNode(bool isDirectory);
  NodeNumber makeDirectoriesOf(const std::string& path);
  static void change(LosingFile& file, const DiskOperation& operation);
  void change(EntryChange change);
  void syncDirectory(NodeNumber directory);
  [[nodiscard]] Names namesAfterLoss(Chance& chance) const;
  static void make(const EntryChange& change, Names& names);
  static void remove(const EntryChange& change, Names& names);
  [[nodiscard]] static bool isReachable(NodeNumber directory, const Names& names);

  /// The first is the directory that all paths are below. Entries are as they were last changed.
  std::vector<Node> nodes_;
  Names synced_;
  std::vector<EntryChange> changes_;
};

}  // namespace power
