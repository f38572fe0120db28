#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>

#include "Foundation/Values/Error.h"
#include "Tests/Processes/Companion.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FileFaults.h"

namespace reliability {

/// Sees in a child what trouble leaves behind, and tells its parent.
class Witness {
 public:
  /// To be made before the child has the store open.
  Witness(const std::filesystem::path& store, const support::Acknowledgements& parent);

  /// What happened, as the parent is to count it.
  void note(const std::string& what) const;
  /// Something that must not be.
  void problem(const std::string& what) const;

  /// That an error tells of the trouble: by itself, or by the one that underlies it.
  void expectCause(const foundation::Error& error, const support::FileTrouble& trouble) const;

  /// What another process that opens the store for it finds: the first column of the last row, or
  /// SQLite's words for what went wrong. It waits for nobody.
  [[nodiscard]] std::string ask(const std::string& sql);
  /// That another process could write: whoever has nothing under way is to hold no lock.
  void expectUnlocked();
  /// That there are no more open descriptors than when this was made.
  void expectClosed() const;

 private:
  const support::Acknowledgements& parent_;
  support::Companion neighbour_;
  std::size_t descriptors_;
};

/// How often what was noted.
using Notes = std::map<std::string, int>;

/// In the parent: fails for each problem that a child told of, and unless it ended by itself.
void take(const support::ChildOutcome& outcome, std::size_t point, Notes& notes);
/// Prints what was noted at so many points of all.
void print(const Notes& notes, std::size_t points, std::size_t of);

}  // namespace reliability
