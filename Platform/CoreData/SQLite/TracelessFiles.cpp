#include "CoreData/SQLite/TracelessFiles.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"

namespace coredata {

namespace {
std::atomic<int> nextNumber{1};

constexpr int kStoreFiles =
    SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_SUPER_JOURNAL;

/// The pages of an index that nobody else sees.
using IndexPages = std::vector<std::unique_ptr<std::byte[]>>;

/// Our file. The layer's below lies behind it in the same allocation; it has no methods when there
/// is no such file.
struct File {
  sqlite3_file base;
  IndexPages* pages;

  [[nodiscard]] sqlite3_file* below() noexcept { return reinterpret_cast<sqlite3_file*>(this + 1); }
  [[nodiscard]] const sqlite3_io_methods* methods() noexcept { return below()->pMethods; }
};

File& file(sqlite3_file* given) { return *reinterpret_cast<File*>(given); }
}  // namespace

/// The functions that SQLite calls.
struct TracelessCalls {
  static int close(sqlite3_file* f) {
    delete file(f).pages;  // NOLINT(cppcoreguidelines-owning-memory): SQLite made the file's memory
    return file(f).methods() == nullptr ? SQLITE_OK : file(f).methods()->xClose(file(f).below());
  }
  static int read(sqlite3_file* f, void* to, int size, sqlite3_int64 offset) {
    if (file(f).methods() != nullptr)
      return file(f).methods()->xRead(file(f).below(), to, size, offset);
    std::memset(to, 0, static_cast<std::size_t>(size));
    return SQLITE_IOERR_SHORT_READ;
  }
  static int fileSize(sqlite3_file* f, sqlite3_int64* size) {
    if (file(f).methods() != nullptr) return file(f).methods()->xFileSize(file(f).below(), size);
    *size = 0;
    return SQLITE_OK;
  }
  static int write(sqlite3_file*, const void*, int, sqlite3_int64) { return SQLITE_READONLY; }
  static int truncate(sqlite3_file*, sqlite3_int64) { return SQLITE_READONLY; }
  static int sync(sqlite3_file*, int) { return SQLITE_OK; }

  static int lock(sqlite3_file* f, int level) {
    // More is asked for only by who wants to write, or to clear away when the last one closes.
    if (level > SQLITE_LOCK_SHARED) return SQLITE_BUSY;
    return file(f).methods()->xLock(file(f).below(), level);
  }
  static int unlock(sqlite3_file* f, int level) {
    return file(f).methods()->xUnlock(file(f).below(), level);
  }
  static int checkReserved(sqlite3_file* f, int* result) {
    return file(f).methods()->xCheckReservedLock(file(f).below(), result);
  }
  static int control(sqlite3_file* f, int operation, void* argument) {
    if (file(f).methods() == nullptr) return SQLITE_NOTFOUND;
    return file(f).methods()->xFileControl(file(f).below(), operation, argument);
  }
  static int sectorSize(sqlite3_file* f) {
    constexpr int kUsual = 4096;
    return file(f).methods() == nullptr ? kUsual : file(f).methods()->xSectorSize(file(f).below());
  }
  static int characteristics(sqlite3_file* f) {
    return file(f).methods() == nullptr
               ? 0
               : file(f).methods()->xDeviceCharacteristics(file(f).below());
  }

  // The shared index, the file's own or one in memory.

  static int shmMap(sqlite3_file* f, int page, int size, int extend, void volatile** to) {
    if (file(f).pages == nullptr)
      return file(f).methods()->xShmMap(file(f).below(), page, size, extend, to);
    IndexPages& pages = *file(f).pages;
    const auto wanted = static_cast<std::size_t>(page);
    *to = nullptr;
    if (wanted >= pages.size() && extend == 0) return SQLITE_OK;
    try {
      while (pages.size() <= wanted)
        pages.push_back(std::make_unique<std::byte[]>(static_cast<std::size_t>(size)));
    } catch (const std::bad_alloc&) {
      return SQLITE_NOMEM;
    }
    *to = pages[wanted].get();
    return SQLITE_OK;
  }
  static int shmLock(sqlite3_file* f, int offset, int count, int flags) {
    // Nobody else sees an index of one's own.
    if (file(f).pages != nullptr) return SQLITE_OK;
    return file(f).methods()->xShmLock(file(f).below(), offset, count, flags);
  }
  static void shmBarrier(sqlite3_file* f) {
    if (file(f).pages == nullptr) file(f).methods()->xShmBarrier(file(f).below());
  }
  static int shmUnmap(sqlite3_file* f, int /*remove*/) {
    if (file(f).pages == nullptr) return file(f).methods()->xShmUnmap(file(f).below(), 0);
    file(f).pages->clear();
    return SQLITE_OK;
  }

  static constexpr sqlite3_io_methods kMethods = {
      2,        close,         read,    write,      truncate,        sync,   fileSize, lock,
      unlock,   checkReserved, control, sectorSize, characteristics, shmMap, shmLock,  shmBarrier,
      shmUnmap, nullptr,       nullptr};

  static TracelessFiles& owner(sqlite3_vfs* vfs) {
    return *static_cast<TracelessFiles*>(vfs->pAppData);
  }

  static bool isThere(sqlite3_vfs* below, const char* path) {
    int result = 0;
    // What cannot be found out is found out by opening it.
    return below->xAccess(below, path, SQLITE_ACCESS_EXISTS, &result) != SQLITE_OK || result != 0;
  }

  static int open(sqlite3_vfs* vfs, const char* path, sqlite3_file* given, int flags,
                  int* outFlags) {
    const TracelessFiles& self = owner(vfs);
    if ((flags & kStoreFiles) == 0) {
      // SQLite's own scratch files have no name that anybody knows.
      return self.below_->xOpen(self.below_, path, given, flags, outFlags);
    }
    File& f = *new (given) File{{nullptr}, nullptr};
    f.below()->pMethods = nullptr;
    const int reading =
        (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_DELETEONCLOSE)) |
        SQLITE_OPEN_READONLY;
    if (outFlags != nullptr) *outFlags = reading;
    if ((flags & SQLITE_OPEN_WAL) == 0 || isThere(self.below_, path)) {
      const int result = self.below_->xOpen(self.below_, path, f.below(), reading, outFlags);
      if (result != SQLITE_OK) return closed(f, result);
    }
    if ((flags & SQLITE_OPEN_MAIN_DB) != 0 && self.index_ == TracelessFiles::LogIndex::own) {
      f.pages = new (std::nothrow) IndexPages;
      if (f.pages == nullptr) return closed(f, SQLITE_NOMEM);
    }
    f.base.pMethods = &kMethods;
    return SQLITE_OK;
  }
  /// SQLite closes a file that failed to open only if that has methods.
  static int closed(File& f, int result) {
    if (f.methods() != nullptr) f.methods()->xClose(f.below());
    return result;
  }

  static int remove(sqlite3_vfs*, const char*, int) { return SQLITE_READONLY; }
  static int access(sqlite3_vfs* vfs, const char* path, int flags, int* result) {
    sqlite3_vfs* below = owner(vfs).below_;
    return below->xAccess(below, path, flags, result);
  }
  static int fullPathname(sqlite3_vfs* vfs, const char* path, int size, char* result) {
    sqlite3_vfs* below = owner(vfs).below_;
    return below->xFullPathname(below, path, size, result);
  }
  static int sleep(sqlite3_vfs* vfs, int microseconds) {
    return owner(vfs).below_->xSleep(owner(vfs).below_, microseconds);
  }
};

TracelessFiles::TracelessFiles(LogIndex index)
    : index_(index),
      below_(sqlite3_vfs_find(storeVFS())),
      name_("traceless-" + std::to_string(nextNumber.fetch_add(1))),
      vfs_(*below_) {
  vfs_.pNext = nullptr;
  vfs_.zName = name_.c_str();
  vfs_.pAppData = this;
  vfs_.szOsFile = static_cast<int>(sizeof(File)) + below_->szOsFile;
  vfs_.xOpen = TracelessCalls::open;
  vfs_.xDelete = TracelessCalls::remove;
  vfs_.xAccess = TracelessCalls::access;
  vfs_.xFullPathname = TracelessCalls::fullPathname;
  vfs_.xSleep = TracelessCalls::sleep;
  if (const int result = sqlite3_vfs_register(&vfs_, 0); result != SQLITE_OK) {
    throw foundation::Error(std::string(foundation::kSQLiteErrorDomain), result,
                            "no file layer to read a store through");
  }
}

TracelessFiles::~TracelessFiles() { sqlite3_vfs_unregister(&vfs_); }

}  // namespace coredata
