#include "Foundation/Metadata/Internal/DirectoryTree.h"

#include <fcntl.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "Foundation/Internal/FileSystem.h"

namespace foundation {

namespace {

/// Adds what lies in one directory; false when it cannot be listed.
bool addEntries(const std::string& directory, int flags, DirectoryTree& tree) {
  FileSystem& files = FileSystem::current();
  const auto opened =
      FileDescriptor::open(AT_FDCWD, directory.c_str(), O_RDONLY | O_DIRECTORY | flags);
  if (!opened) return false;
  const auto names = files.list(opened->get());
  if (!names) return false;
  for (const std::string& name : *names) {
    const auto status = files.status(opened->get(), name.c_str(), AT_SYMLINK_NOFOLLOW);
    if (!status) continue;
    std::string path = directory;
    path.append("/").append(name);
    if (S_ISDIR(status->st_mode)) {
      tree.directories.push_back(std::move(path));
    } else if (S_ISREG(status->st_mode)) {
      tree.files.push_back(std::move(path));
    }
  }
  return true;
}

}  // namespace

DirectoryTree treeIn(const std::string& directory) {
  DirectoryTree tree;
  tree.directories.push_back(directory);
  if (!addEntries(directory, 0, tree)) return {};
  // One descriptor at a time, however deep the tree is. The list grows as it is walked.
  for (std::size_t next = 1; next < tree.directories.size(); ++next) {
    const std::string child = tree.directories[next];
    addEntries(child, O_NOFOLLOW, tree);
  }
  std::ranges::sort(tree.files);
  return tree;
}

}  // namespace foundation
