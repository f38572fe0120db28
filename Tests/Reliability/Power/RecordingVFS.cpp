#include "Tests/Reliability/Power/RecordingVFS.h"

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <new>

namespace power {

using Kind = DiskOperation::Kind;

namespace {

constexpr int kJournals = SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_SUPER_JOURNAL;

/// What we keep of a file, behind the system's own in the same allocation.
struct Behind {
  RecordingVFS* vfs;
  const char* path;
  const sqlite3_io_methods* system;
  /// The system's functions but for those that change the file.
  sqlite3_io_methods methods;
  bool syncsDirectory;
};

std::string directoryOf(const char* path) {
  return std::filesystem::path(path).parent_path().string();
}

}  // namespace

/// The functions that SQLite calls.
struct RecordingCalls {
  static RecordingVFS& owner(sqlite3_vfs* vfs) {
    return *static_cast<RecordingVFS*>(vfs->pAppData);
  }

  static Behind& behind(sqlite3_file* file, const sqlite3_vfs& system) {
    return *reinterpret_cast<Behind*>(reinterpret_cast<std::byte*>(file) + roomFor(system));
  }
  /// The system's file layer is the default one for as long as the process lives.
  static Behind& behind(sqlite3_file* file) { return behind(file, *sqlite3_vfs_find(nullptr)); }
  static std::size_t roomFor(const sqlite3_vfs& system) {
    constexpr std::size_t kAlignment = alignof(Behind);
    const auto size = static_cast<std::size_t>(system.szOsFile);
    return (size + kAlignment - 1) / kAlignment * kAlignment;
  }

  static int write(sqlite3_file* file, const void* from, int size, sqlite3_int64 offset) {
    const Behind& f = behind(file);
    const int result = f.system->xWrite(file, from, size, offset);
    if (result != SQLITE_OK) return result;
    const std::string bytes(static_cast<const char*>(from), static_cast<std::size_t>(size));
    f.vfs->recorder_.add({Kind::write, f.path, offset, bytes});
    return result;
  }
  static int truncate(sqlite3_file* file, sqlite3_int64 size) {
    const Behind& f = behind(file);
    const int result = f.system->xTruncate(file, size);
    if (result == SQLITE_OK) f.vfs->recorder_.add({Kind::truncate, f.path, size});
    return result;
  }
  static int sync(sqlite3_file* file, int /*flags*/) {
    Behind& f = behind(file);
    f.vfs->recorder_.add({Kind::sync, f.path});
    if (f.syncsDirectory) f.vfs->recorder_.add({Kind::syncDirectory, directoryOf(f.path)});
    f.syncsDirectory = false;
    return SQLITE_OK;
  }

  static int open(sqlite3_vfs* vfs, const char* path, sqlite3_file* file, int flags,
                  int* outFlags) {
    RecordingVFS& self = owner(vfs);
    const bool creates =
        path != nullptr && (flags & SQLITE_OPEN_CREATE) != 0 && access(path, F_OK) != 0;
    const int result = self.system_->xOpen(self.system_, path, file, flags, outFlags);
    // SQLite's scratch files have no name and are nobody's loss.
    if (result != SQLITE_OK || path == nullptr) return result;
    const bool isNewJournal = (flags & SQLITE_OPEN_CREATE) != 0 && (flags & kJournals) != 0;
    Behind& f =
        *new (&behind(file)) Behind{&self, path, file->pMethods, *file->pMethods, isNewJournal};
    // Without memory mapping: what is written there would not be seen.
    f.methods.iVersion = 2;
    f.methods.xWrite = write;
    f.methods.xTruncate = truncate;
    f.methods.xSync = sync;
    file->pMethods = &f.methods;
    if (creates) self.recorder_.add({Kind::create, path});
    return result;
  }
  static int remove(sqlite3_vfs* vfs, const char* path, int syncsDirectory) {
    RecordingVFS& self = owner(vfs);
    const int result = self.system_->xDelete(self.system_, path, 0);
    if (result != SQLITE_OK) return result;
    self.recorder_.add({Kind::unlink, path});
    if (syncsDirectory != 0) self.recorder_.add({Kind::syncDirectory, directoryOf(path)});
    return result;
  }
};

RecordingVFS::RecordingVFS(DiskRecorder& recorder)
    : recorder_(recorder), system_(sqlite3_vfs_find(nullptr)), name_("recording"), vfs_(*system_) {
  vfs_.pNext = nullptr;
  vfs_.zName = name_.c_str();
  vfs_.pAppData = this;
  vfs_.szOsFile = static_cast<int>(RecordingCalls::roomFor(*system_) + sizeof(Behind));
  vfs_.xOpen = RecordingCalls::open;
  vfs_.xDelete = RecordingCalls::remove;
  sqlite3_vfs_register(&vfs_, 0);
}

RecordingVFS::~RecordingVFS() { sqlite3_vfs_unregister(&vfs_); }

}  // namespace power
