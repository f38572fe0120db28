#include "Foundation/Files/Internal/TreeRemoval.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "Foundation/Files/Internal/FileFailure.h"

namespace foundation {

namespace {

constexpr std::string_view kRemoved = "removed";

/// A directory that is being emptied. Kept in a list rather than in calls within calls: how deep a
/// tree is must not decide whether the process lives.
struct Level {
  FileDescriptor directory;
  std::string name;
  std::vector<std::string> left;
};

class TreeRemoval {
 public:
  TreeRemoval(int parent, std::string parentPath)
      : parent_(parent),
        parentPath_(std::move(parentPath)),
        mount_(required(files_.mount(parent), parentPath_, "examined")) {}

  void remove(const std::string& name) {
    visit(name);
    while (!levels_.empty()) {
      std::vector<std::string>& left = levels_.back().left;
      if (left.empty()) {
        leave();
        continue;
      }
      const std::string next = std::move(left.back());
      left.pop_back();
      visit(next);
    }
  }

 private:
  [[nodiscard]] int here() const noexcept {
    return levels_.empty() ? parent_ : levels_.back().directory.get();
  }

  [[nodiscard]] std::string pathOf(const std::string& name) const {
    std::string path = parentPath_;
    for (const Level& level : levels_) path.append("/").append(level.name);
    return path.append("/").append(name);
  }

  template <typename T>
  T orThrow(FileResult<T> result, const std::string& name) const {
    if (!result) throw fileFailure(result.error(), pathOf(name), kRemoved);
    if constexpr (!std::is_void_v<T>) return *std::move(result);
  }

  void visit(const std::string& name) {
    const auto status = orThrow(files_.status(here(), name.c_str(), AT_SYMLINK_NOFOLLOW), name);
    if (S_ISDIR(status.st_mode)) {
      enter(name);
    } else {
      orThrow(files_.unlink(here(), name.c_str(), 0), name);
    }
  }

  void enter(const std::string& name) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
    auto directory = orThrow(FileDescriptor::open(here(), name.c_str(), kFlags), name);
    if (orThrow(files_.mount(directory.get()), name) != mount_)
      throw fileFailure(EXDEV, pathOf(name), kRemoved);
    auto names = orThrow(files_.list(directory.get()), name);
    levels_.push_back({std::move(directory), name, std::move(names)});
  }

  void leave() {
    const Level emptied = std::move(levels_.back());
    levels_.pop_back();
    orThrow(files_.unlink(here(), emptied.name.c_str(), AT_REMOVEDIR), emptied.name);
  }

  FileSystem& files_ = FileSystem::current();
  int parent_;
  std::string parentPath_;
  std::uint64_t mount_;
  std::vector<Level> levels_;
};

}  // namespace

void removeTree(int parent, const std::string& name, std::string parentPath) {
  TreeRemoval(parent, std::move(parentPath)).remove(name);
}

}  // namespace foundation
