#pragma once

#include <string>
#include <vector>

#include "Foundation/Values/URL.h"

namespace fuzz {

/// What an application sees that opens the store; throws when it is refused.
[[nodiscard]] std::string contentOf(const foundation::URL& store);

/// A store with a log that no process has folded into it, and what each of the log's commits made
/// of the store.
class CommittedLog {
 public:
  /// A small store of the newest version and some commits.
  CommittedLog();

  [[nodiscard]] const std::string& store() const noexcept { return store_; }
  [[nodiscard]] const std::string& log() const noexcept { return log_; }
  /// The store when all of the log has been folded into it.
  [[nodiscard]] const std::string& foldedStore() const noexcept { return foldedStore_; }
  /// What the store holds whose log begins with these bytes of this one and then goes on in another
  /// way: what the last commit made that is wholly there.
  [[nodiscard]] const std::string& contentBehind(std::size_t equalBytes) const;

 private:
  struct Commit {
    /// Where its last frame ends.
    std::size_t end;
    std::string content;
  };

  std::string store_;
  std::string log_;
  std::string foldedStore_;
  /// The first one is the store without a commit.
  std::vector<Commit> commits_;
};

}  // namespace fuzz
