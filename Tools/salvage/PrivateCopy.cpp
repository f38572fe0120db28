#include "Tools/salvage/PrivateCopy.h"

#include <fcntl.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

#include "CoreData/SQLite/PageCopy.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreFile.h"
#include "Foundation/Values/UUID.h"
#include "Tools/salvage/FileHeader.h"

namespace salvage {

using coredata::StoreErrorCode;
using foundation::Error;
using foundation::FileDescriptor;
using foundation::FileSystem;

namespace {

/// What a store is put together from: the file, its log, and the journal of a transaction that was
/// not finished.
constexpr std::array<std::string_view, 3> kParts = {"", "-wal", "-journal"};

[[noreturn]] void refuse(const std::string& what, int number) {
  throw Error(std::string(foundation::kPosixErrorDomain), number,
              what + ": " + std::strerror(number) + ".");
}

/// A file as it can be told without opening it.
struct FileState {
  coredata::FileIdentity identity;
  std::int64_t size = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;

  friend bool operator==(const FileState&, const FileState&) = default;
};
using StoreState = std::array<std::optional<FileState>, kParts.size()>;

StoreState stateOf(const std::string& store) {
  StoreState state;
  for (std::size_t i = 0; i < kParts.size(); ++i) {
    const auto status = coredata::statusOf(store + std::string(kParts[i]));
    if (!status) continue;
    state[i] = FileState{{status->st_dev, status->st_ino},
                         status->st_size,
                         status->st_mtim.tv_sec,
                         status->st_mtim.tv_nsec};
  }
  return state;
}

FileDescriptor opened(const std::string& path, int flags) {
  constexpr mode_t kForOwner = 0600;
  auto file = FileDescriptor::open(AT_FDCWD, path.c_str(), flags, kForOwner);
  if (!file) refuse(path + " cannot be opened", file.error());
  return std::move(*file);
}

/// Something else than a file, such as a pipe, would be waited for.
void requireRegular(const FileDescriptor& file, const std::string& path) {
  const auto status = FileSystem::current().status(file.get(), "", AT_EMPTY_PATH);
  if (!status) refuse(path + " cannot be looked at", status.error());
  if (!S_ISREG(status->st_mode)) refuse(path + " is no file", EINVAL);
}

void write(const FileDescriptor& to, std::span<const std::uint8_t> bytes, const std::string& path) {
  const auto written = foundation::writeAll(to.get(), bytes);
  if (!written) refuse(path + " cannot be written", written.error());
}

void copyFile(const std::string& from, const std::string& to) {
  constexpr std::size_t kChunk = 1 << 20;
  const FileDescriptor source = opened(from, O_RDONLY | O_NONBLOCK);
  requireRegular(source, from);
  const FileDescriptor copy = opened(to, O_WRONLY | O_CREAT | O_TRUNC);
  std::vector<std::uint8_t> chunk(kChunk);
  for (;;) {
    const auto size = FileSystem::current().read(source.get(), chunk);
    if (!size) refuse(from + " cannot be read", size.error());
    if (*size == 0) return;
    write(copy, std::span(chunk).first(*size), to);
  }
}

/// Copies what the store is put together from; false when somebody wrote to it meanwhile.
bool copyUndisturbed(const std::string& store, const std::string& to) {
  const StoreState before = stateOf(store);
  for (std::size_t i = 0; i < kParts.size(); ++i) {
    const std::string part(kParts[i]);
    if (before[i]) copyFile(store + part, to + part);
  }
  return stateOf(store) == before;
}

/// Mends the copy's header and fills its last page up. Whether the header was sound.
bool mendFile(const std::string& path, std::size_t& pageSize) {
  const FileDescriptor file = opened(path, O_RDWR);
  std::array<std::uint8_t, kFileHeaderSize> header{};
  const auto read = FileSystem::current().read(file.get(), header);
  if (!read) refuse(path + " cannot be read", read.error());
  const bool wasSound = isSound(header);
  mend(header);
  pageSize = pageSizeOf(header);
  const FileDescriptor begin = opened(path, O_WRONLY);
  write(begin, header, path);
  const auto status = FileSystem::current().status(file.get(), "", AT_EMPTY_PATH);
  if (!status) refuse(path + " cannot be looked at", status.error());
  const auto size = static_cast<off_t>(pageSize);
  const off_t whole = (status->st_size + size - 1) / size * size;
  const auto filled = FileSystem::current().truncate(file.get(), whole);
  if (!filled) refuse(path + " cannot be written", filled.error());
  return wasSound;
}

}  // namespace

WorkDirectory::WorkDirectory(const std::string& beside)
    : path_(beside + "-in-progress-" + foundation::UUID().uuidString()) {
  constexpr mode_t kForOwner = 0700;
  const auto made = FileSystem::current().makeDirectory(AT_FDCWD, path_.c_str(), kForOwner);
  if (!made) refuse(path_ + " cannot be made", made.error());
}

WorkDirectory::~WorkDirectory() {
  FileSystem& files = FileSystem::current();
  const auto remove = [&](int at, const char* name, int flags) {
    // What stays is this user's, and the directory's name says what it is.
    [[maybe_unused]] const auto removed = files.unlink(at, name, flags);
  };
  if (const auto directory =
          FileDescriptor::open(AT_FDCWD, path_.c_str(), O_RDONLY | O_DIRECTORY)) {
    for (const std::string& name :
         files.list(directory->get()).value_or(std::vector<std::string>()))
      remove(directory->get(), name.c_str(), 0);
  }
  remove(AT_FDCWD, path_.c_str(), AT_REMOVEDIR);
}

std::string WorkDirectory::at(std::string_view name) const {
  return path_ + "/" + std::string(name);
}

PrivateCopy copyStore(const foundation::URL& store, const WorkDirectory& into) {
  const std::string path = coredata::pathOf(store);
  coredata::requireFile(path, false);
  PrivateCopy copy;
  copy.path = into.at("pages");
  const std::string parts = into.at("damaged");
  constexpr int kMostTries = 5;
  for (int tries = 1; !copyUndisturbed(path, parts); ++tries) {
    if (tries < kMostTries) continue;
    throw coredata::storeError(StoreErrorCode::busy,
                               "The store " + path + " was written to each time it was copied.");
  }
  copy.hadSoundHeader = mendFile(parts, copy.pageSize);
  try {
    coredata::copyPages(parts, copy.path);
  } catch (const Error& error) {
    copy.problem = error.message();
    copy.path = parts;
  }
  return copy;
}

}  // namespace salvage
