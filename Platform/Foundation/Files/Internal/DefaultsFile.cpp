#include "Foundation/Files/Internal/DefaultsFile.h"

#include <fcntl.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "Foundation/Files/Internal/DefaultsText.h"
#include "Foundation/Files/Internal/FileFailure.h"

namespace foundation {

namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
/// Others hold the lock for one small file.
constexpr std::chrono::seconds kPatience{5};

bool isMissing(int number) noexcept { return number == ENOENT || number == ENOTDIR; }

bool areOfOneFile(const struct stat& a, const struct stat& b) noexcept {
  // The last two tell a file that somebody edits by hand, in place.
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

ValueDictionary changed(ValueDictionary settings, const DefaultsFile::Changes& changes) {
  for (const auto& [key, value] : changes) {
    if (value) {
      settings.insert_or_assign(key, *value);
    } else {
      settings.erase(key);
    }
  }
  return settings;
}

/// A file under another name until it is whole; removed unless it was put into its place.
class NewFile {
 public:
  explicit NewFile(std::string path) : path_(std::move(path)) {
    // One that a killed process left is written over.
    constexpr int kFlags = O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW;
    file_ = required(FileDescriptor::open(AT_FDCWD, path_.c_str(), kFlags, kPrivateFile), path_,
                     "made");
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    // What cannot be removed is written over by the next change.
    if (file_) std::ignore = FileSystem::current().unlink(AT_FDCWD, path_.c_str(), 0);
  }

  void write(const Data& content) const {
    required(writeAll(file_.get(), content.bytes()), path_, "written");
    // Before it takes the old one's place: after a loss of power there is one of the two. That it
    // is the new one matters to nobody, so the directory's entry may reach the disk when it likes.
    required(FileSystem::current().sync(file_.get()), path_, "written");
  }
  [[nodiscard]] FileDescriptor putIntoPlace(const std::string& place) {
    required(FileSystem::current().rename(AT_FDCWD, path_.c_str(), AT_FDCWD, place.c_str()), place,
             "replaced");
    return std::move(file_);
  }

 private:
  std::string path_;
  FileDescriptor file_;
};

}  // namespace

DefaultsFile::DefaultsFile(std::string directory)
    : directory_(std::move(directory)), path_(directory_ + "/defaults") {}

std::optional<struct stat> DefaultsFile::status() const {
  auto found = FileSystem::current().status(AT_FDCWD, path_.c_str(), 0);
  if (!found && isMissing(found.error())) return std::nullopt;
  return required(std::move(found), path_, "examined");
}

bool DefaultsFile::stillHas(const DefaultsContent& content) const {
  const auto now = status();
  if (!now || !content.status) return now.has_value() == content.status.has_value();
  return areOfOneFile(*now, *content.status);
}

std::optional<DefaultsContent> DefaultsFile::readIfWhole() const {
  auto file = FileDescriptor::open(AT_FDCWD, path_.c_str(), O_RDONLY);
  if (!file && isMissing(file.error())) return DefaultsContent();
  DefaultsContent content{{}, required(std::move(file), path_, "opened"), {}};
  content.status = statusOf(content.file, path_);
  auto bytes = required(readAll(content.file.get(), kLargestFile), path_, "read");
  auto settings = defaultsInText(Data(std::move(bytes)));
  if (!settings) return std::nullopt;
  content.settings = *std::move(settings);
  return content;
}

DefaultsContent DefaultsFile::read() const {
  if (auto content = readIfWhole()) return *std::move(content);
  const FileLock held = lock();
  // Somebody else may have dealt with it meanwhile.
  return readOrSetAside();
}

DefaultsContent DefaultsFile::readOrSetAside() const {
  if (auto content = readIfWhole()) return *std::move(content);
  setAside();
  return {};
}

void DefaultsFile::setAside() const {
  FileSystem& files = FileSystem::current();
  std::string place;
  for (int number = 1;; ++number) {
    place = path_ + ".damaged-" + std::to_string(number);
    const auto found = files.status(AT_FDCWD, place.c_str(), AT_SYMLINK_NOFOLLOW);
    if (!found && found.error() == ENOENT) break;
    if (!found) throw fileFailure(found.error(), place, "examined");
  }
  required(files.rename(AT_FDCWD, path_.c_str(), AT_FDCWD, place.c_str()), path_,
           "set aside, damaged as it is");
  std::fprintf(stderr, "%s was damaged and is now %s; its settings are forgotten\n", path_.c_str(),
               place.c_str());
}

DefaultsContent DefaultsFile::apply(const Changes& changes) const {
  const FileLock held = lock();
  DefaultsContent before = readOrSetAside();
  ValueDictionary settings = changed(before.settings, changes);
  const Data text = defaultsText(settings);
  if (text == defaultsText(before.settings)) return before;
  return write(std::move(settings), text);
}

DefaultsContent DefaultsFile::write(ValueDictionary settings, const Data& text) const {
  // A larger one would not be read again.
  if (text.size() > kLargestFile) throw fileFailure(EFBIG, path_, "written");
  NewFile file(path_ + ".new");
  file.write(text);
  DefaultsContent content{std::move(settings), file.putIntoPlace(path_), {}};
  content.status = statusOf(content.file, path_);
  return content;
}

FileDescriptor DefaultsFile::openedLock() const {
  const std::string path = path_ + ".lock";
  constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW;
  auto file = FileDescriptor::open(AT_FDCWD, path.c_str(), kFlags, kPrivateFile);
  if (!file && file.error() == ENOENT) {
    required(makeDirectories(directory_, kPrivateDirectory), directory_, "made");
    file = FileDescriptor::open(AT_FDCWD, path.c_str(), kFlags, kPrivateFile);
  }
  return required(std::move(file), path, "opened");
}

FileLock DefaultsFile::lock() const {
  return required(FileLock::take(openedLock(), kPatience), path_, "locked");
}

}  // namespace foundation
