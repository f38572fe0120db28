#pragma once

#include <string>

namespace habits {

/// Settings and a temporary directory of its own for one running watch: how far it has come is
/// nobody else's business, nor is its temporary directory another's to empty. They are made under
/// an identifier that names the store and the process, and removed when this goes; those of
/// processes that were killed are removed when the next watch begins.
///
/// Threading: one in a process, made before anything asks for the directories.
class WatchDirectories {
 public:
  explicit WatchDirectories(const std::string& storePath);
  WatchDirectories(const WatchDirectories&) = delete;
  WatchDirectories& operator=(const WatchDirectories&) = delete;
  ~WatchDirectories();
};

}  // namespace habits
