#include "Foundation/Files/FileManager.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <map>
#include <mutex>
#include <utility>

#include "Foundation/Files/Directories.h"
#include "Foundation/Files/Internal/FileFailure.h"
#include "Foundation/Files/Internal/TreeRemoval.h"
#include "Foundation/Files/TemporaryDirectory.h"

namespace foundation {

struct FileManager::State {
  mutable std::mutex mutex;
  /// Without a directory of its own a group's container lies where the process's directories say.
  std::map<std::string, std::optional<URL>, std::less<>> groups;
  std::optional<Data> token;
};

namespace {

std::string pathOf(const URL& url, std::string_view what) {
  auto path = url.filePath();
  if (!path) throw fileFailure(EINVAL, url.absoluteString(), what);
  return *std::move(path);
}

FileDescriptor openedDirectory(const std::string& path, std::string_view what) {
  return required(FileDescriptor::open(AT_FDCWD, path.c_str(), O_RDONLY | O_DIRECTORY), path, what);
}

void requireNothingAt(const std::string& path) {
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW);
  const int number = status ? EEXIST : status.error();
  if (number != ENOENT) throw fileFailure(number, path, "moved to");
}

}  // namespace

FileManager::FileManager() : state_(std::make_unique<State>()) {}
FileManager::~FileManager() = default;

FileManager& FileManager::defaultManager() {
  // Never destroyed: files may be removed while the process ends.
  static auto& manager = *new FileManager;
  return manager;
}

URL FileManager::temporaryDirectory() const { return TemporaryDirectory::ofProcess().url(); }

std::optional<URL> FileManager::containerURL(
    std::string_view forSecurityApplicationGroupIdentifier) const {
  const std::scoped_lock guard(state_->mutex);
  const auto found = state_->groups.find(forSecurityApplicationGroupIdentifier);
  if (found == state_->groups.end()) return std::nullopt;
  if (found->second) return found->second;
  return URL::fileURL(Directories::current()->groupDirectory(found->first) + "/");
}

std::optional<Data> FileManager::ubiquityIdentityToken() const {
  const std::scoped_lock guard(state_->mutex);
  return state_->token;
}

void FileManager::registerApplicationGroup(std::string_view identifier) {
  // Refuses what names no directory now, not when a migration asks.
  static_cast<void>(Directories::current()->groupDirectory(identifier));
  const std::scoped_lock guard(state_->mutex);
  state_->groups.insert_or_assign(std::string(identifier), std::nullopt);
}

void FileManager::registerApplicationGroup(std::string_view identifier, const URL& directory) {
  const std::string path = pathOf(directory, "registered");
  const std::scoped_lock guard(state_->mutex);
  state_->groups.insert_or_assign(std::string(identifier), URL::fileURL(path + "/"));
}

void FileManager::setUbiquityIdentityToken(std::optional<Data> token) {
  const std::scoped_lock guard(state_->mutex);
  state_->token = std::move(token);
}

std::optional<FileManager::ItemKind> FileManager::itemKind(const URL& at) const {
  constexpr std::string_view kExamined = "examined";
  const std::string path = pathOf(at, kExamined);
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), 0);
  if (!status && (status.error() == ENOENT || status.error() == ENOTDIR)) return std::nullopt;
  const auto mode = required(status, path, kExamined).st_mode;
  if (S_ISDIR(mode)) return ItemKind::directory;
  return S_ISREG(mode) ? ItemKind::file : ItemKind::other;
}

bool FileManager::fileExists(std::string_view atPath) const {
  return FileSystem::current().status(AT_FDCWD, std::string(atPath).c_str(), 0).has_value();
}

bool FileManager::isDirectory(std::string_view atPath) const {
  const auto status = FileSystem::current().status(AT_FDCWD, std::string(atPath).c_str(), 0);
  return status && S_ISDIR(status->st_mode);
}

std::uint64_t FileManager::size(std::string_view atPath) const {
  const std::string path(atPath);
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW);
  if (!status) return 0;
  if (S_ISREG(status->st_mode)) return static_cast<std::uint64_t>(status->st_size);
  if (!S_ISDIR(status->st_mode)) return 0;
  std::uint64_t sum = 0;
  for (const URL& entry : contentsOfDirectory(URL::fileURL(path + "/"))) {
    if (const auto name = entry.filePath()) sum += size(*name);
  }
  return sum;
}

std::vector<URL> FileManager::contentsOfDirectory(const URL& at) const {
  constexpr std::string_view kRead = "read";
  const std::string path = pathOf(at, kRead);
  const FileDescriptor directory = openedDirectory(path, kRead);
  std::vector<URL> entries;
  for (const std::string& name :
       required(FileSystem::current().list(directory.get()), path, kRead)) {
    entries.push_back(at.appendingPathComponent(name));
  }
  return entries;
}

Data FileManager::contents(std::string_view atPath) const {
  constexpr auto kNoLimit = std::numeric_limits<std::size_t>::max();
  const std::string path(atPath);
  return Data(required(readFile(AT_FDCWD, path.c_str(), kNoLimit), path, "read"));
}

void FileManager::write(const Data& data, const URL& to) const {
  constexpr std::string_view kWritten = "written";
  const std::string path = pathOf(to, kWritten);
  const FileDescriptor file = required(
      FileDescriptor::open(AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, kPrivateFile),
      path, kWritten);
  required(writeAll(file.get(), data.bytes()), path, kWritten);
}

void FileManager::createDirectory(const URL& at, bool withIntermediateDirectories) const {
  constexpr std::string_view kMade = "made";
  const std::string path = pathOf(at, kMade);
  required(withIntermediateDirectories
               ? makeDirectories(path, kPrivateDirectory)
               : FileSystem::current().makeDirectory(AT_FDCWD, path.c_str(), kPrivateDirectory),
           path, kMade);
}

void FileManager::moveItem(const URL& at, const URL& to) const {
  constexpr std::string_view kMoved = "moved";
  const std::string from = pathOf(at, kMoved);
  const std::string target = pathOf(to, kMoved);
  requireNothingAt(target);
  required(FileSystem::current().rename(AT_FDCWD, from.c_str(), AT_FDCWD, target.c_str()), from,
           kMoved);
}

void FileManager::removeItem(const URL& at) const {
  constexpr std::string_view kRemoved = "removed";
  const std::string path = pathOf(at, kRemoved);
  const std::filesystem::path parts(path);
  const std::string name = parts.filename();
  if (name.empty() || name == "." || name == "..") throw fileFailure(EINVAL, path, kRemoved);
  const std::string parent = parts.parent_path();
  removeTree(openedDirectory(parent, kRemoved).get(), name, parent);
}

std::uint64_t FileManager::availableCapacity(const URL& forDirectory) const {
  constexpr std::string_view kExamined = "examined";
  const std::string path = pathOf(forDirectory, kExamined);
  return required(FileSystem::current().availableBytes(openedDirectory(path, kExamined).get()),
                  path, kExamined);
}

std::string NSTemporaryDirectory() { return TemporaryDirectory::ofProcess().path() + "/"; }

}  // namespace foundation
