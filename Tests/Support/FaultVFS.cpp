#include "Tests/Support/FaultVFS.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <new>
#include <string_view>
#include <utility>

namespace support {

namespace {
std::atomic<int> nextNumber{1};

/// Our file; SQLite's own lies behind it in the same allocation.
struct File {
  sqlite3_file base;
  FaultVFS* vfs;
  const char* path;
  sqlite3_file* system;
};

File& file(sqlite3_file* given) { return *reinterpret_cast<File*>(given); }

std::string suffixOf(const char* path) {
  const std::string_view whole = path == nullptr ? std::string_view() : path;
  for (const std::string_view suffix : {"-wal", "-shm", "-journal"}) {
    if (whole.ends_with(suffix)) return std::string(suffix);
  }
  return {};
}
}  // namespace

/// The functions that SQLite calls.
struct FaultVFSCalls {
  static int note(File& f, FileOperation operation, std::int64_t offset = 0,
                  std::int64_t size = 0) {
    return f.vfs->note(operation, f.path, offset, size);
  }

  static int close(sqlite3_file* f) { return file(f).system->pMethods->xClose(file(f).system); }
  static int read(sqlite3_file* f, void* to, int size, sqlite3_int64 offset) {
    if (const int code = note(file(f), FileOperation::read, offset, size)) return code;
    return file(f).system->pMethods->xRead(file(f).system, to, size, offset);
  }
  static int write(sqlite3_file* f, const void* from, int size, sqlite3_int64 offset) {
    if (const int code = note(file(f), FileOperation::write, offset, size)) return code;
    return file(f).system->pMethods->xWrite(file(f).system, from, size, offset);
  }
  static int truncate(sqlite3_file* f, sqlite3_int64 size) {
    if (const int code = note(file(f), FileOperation::truncate, size)) return code;
    return file(f).system->pMethods->xTruncate(file(f).system, size);
  }
  static int sync(sqlite3_file* f, int flags) {
    if (const int code = note(file(f), FileOperation::sync)) return code;
    if (file(f).vfs->skipsSyncs_) return SQLITE_OK;
    return file(f).system->pMethods->xSync(file(f).system, flags);
  }
  static int fileSize(sqlite3_file* f, sqlite3_int64* size) {
    return file(f).system->pMethods->xFileSize(file(f).system, size);
  }
  static int lock(sqlite3_file* f, int level) {
    if (const int code = note(file(f), FileOperation::lock, level)) return code;
    return file(f).system->pMethods->xLock(file(f).system, level);
  }
  static int unlock(sqlite3_file* f, int level) {
    return file(f).system->pMethods->xUnlock(file(f).system, level);
  }
  static int checkReserved(sqlite3_file* f, int* result) {
    return file(f).system->pMethods->xCheckReservedLock(file(f).system, result);
  }
  static int control(sqlite3_file* f, int operation, void* argument) {
    return file(f).system->pMethods->xFileControl(file(f).system, operation, argument);
  }
  static int sectorSize(sqlite3_file* f) {
    return file(f).system->pMethods->xSectorSize(file(f).system);
  }
  static int characteristics(sqlite3_file* f) {
    return file(f).system->pMethods->xDeviceCharacteristics(file(f).system);
  }
  static int shmMap(sqlite3_file* f, int page, int size, int extend, void volatile** to) {
    if (const int code = note(file(f), FileOperation::mapShared, page, size)) return code;
    return file(f).system->pMethods->xShmMap(file(f).system, page, size, extend, to);
  }
  static int shmLock(sqlite3_file* f, int offset, int count, int flags) {
    const bool takes = (flags & SQLITE_SHM_LOCK) != 0;
    if (takes) {
      if (const int code = note(file(f), FileOperation::lockShared, offset, count)) return code;
    }
    return file(f).system->pMethods->xShmLock(file(f).system, offset, count, flags);
  }
  static void shmBarrier(sqlite3_file* f) { file(f).system->pMethods->xShmBarrier(file(f).system); }
  static int shmUnmap(sqlite3_file* f, int remove) {
    return file(f).system->pMethods->xShmUnmap(file(f).system, remove);
  }

  static constexpr sqlite3_io_methods kMethods = {
      2,        close,         read,    write,      truncate,        sync,   fileSize, lock,
      unlock,   checkReserved, control, sectorSize, characteristics, shmMap, shmLock,  shmBarrier,
      shmUnmap, nullptr,       nullptr};

  static FaultVFS& owner(sqlite3_vfs* vfs) { return *static_cast<FaultVFS*>(vfs->pAppData); }

  static int open(sqlite3_vfs* vfs, const char* path, sqlite3_file* given, int flags,
                  int* outFlags) {
    FaultVFS& self = owner(vfs);
    File& f = *new (given) File{{nullptr}, &self, path, nullptr};
    f.system = reinterpret_cast<sqlite3_file*>(&f + 1);
    const bool creates =
        path != nullptr && (flags & SQLITE_OPEN_CREATE) != 0 && access(path, F_OK) != 0;
    const auto operation = creates ? FileOperation::create : FileOperation::open;
    if (const int code = self.note(operation, path)) return code;
    const int result = self.system_->xOpen(self.system_, path, f.system, flags, outFlags);
    if (f.system->pMethods != nullptr) f.base.pMethods = &kMethods;
    return result;
  }
  static int sleep(sqlite3_vfs* vfs, int microseconds) {
    FaultVFS& self = owner(vfs);
    if (self.beforeWaits_) self.beforeWaits_();
    return self.skipsWaits_ ? microseconds : self.system_->xSleep(self.system_, microseconds);
  }
  static int remove(sqlite3_vfs* vfs, const char* path, int syncDirectory) {
    if (const int code = owner(vfs).note(FileOperation::remove, path)) return code;
    const int syncs = owner(vfs).skipsSyncs_ ? 0 : syncDirectory;
    return owner(vfs).system_->xDelete(owner(vfs).system_, path, syncs);
  }
};

FaultVFS::FaultVFS()
    : system_(sqlite3_vfs_find(nullptr)),
      name_("fault-" + std::to_string(nextNumber.fetch_add(1))) {
  vfs_ = *system_;
  vfs_.pNext = nullptr;
  vfs_.zName = name_.c_str();
  vfs_.pAppData = this;
  vfs_.szOsFile = static_cast<int>(sizeof(File)) + system_->szOsFile;
  vfs_.xOpen = FaultVFSCalls::open;
  vfs_.xDelete = FaultVFSCalls::remove;
  vfs_.xSleep = FaultVFSCalls::sleep;
  vfs_.xAccess = [](sqlite3_vfs* vfs, const char* path, int flags, int* result) {
    sqlite3_vfs* system = FaultVFSCalls::owner(vfs).system_;
    return system->xAccess(system, path, flags, result);
  };
  vfs_.xFullPathname = [](sqlite3_vfs* vfs, const char* path, int size, char* result) {
    sqlite3_vfs* system = FaultVFSCalls::owner(vfs).system_;
    return system->xFullPathname(system, path, size, result);
  };
  sqlite3_vfs_register(&vfs_, 0);
}

FaultVFS::~FaultVFS() { sqlite3_vfs_unregister(&vfs_); }

void FaultVFS::reset() {
  const std::scoped_lock lock(mutex_);
  records_.clear();
  fault_ = Fault::none;
}

void FaultVFS::watch(FileOperations operations) {
  const std::scoped_lock lock(mutex_);
  watched_ = operations;
}

void FaultVFS::failAt(std::size_t n, int code, bool persistent) {
  const std::scoped_lock lock(mutex_);
  fault_ = persistent ? Fault::failFromThenOn : Fault::fail;
  faultAt_ = n;
  code_ = code;
}

void FaultVFS::killAt(std::size_t n) {
  const std::scoped_lock lock(mutex_);
  fault_ = Fault::kill;
  faultAt_ = n;
}

void FaultVFS::callAt(std::size_t n, std::function<void()> action) {
  const std::scoped_lock lock(mutex_);
  fault_ = Fault::call;
  faultAt_ = n;
  action_ = std::move(action);
}

std::size_t FaultVFS::count() const {
  const std::scoped_lock lock(mutex_);
  return records_.size();
}

bool FaultVFS::faultWasReached() const {
  const std::scoped_lock lock(mutex_);
  return fault_ != Fault::none && records_.size() >= faultAt_;
}

std::vector<FaultVFS::Record> FaultVFS::records() const {
  const std::scoped_lock lock(mutex_);
  return records_;
}

int FaultVFS::note(FileOperation operation, const char* path, std::int64_t offset,
                   std::int64_t size) {
  std::unique_lock lock(mutex_);
  if ((watched_ & bit(operation)) == 0) return SQLITE_OK;
  records_.push_back({operation, suffixOf(path), offset, size});
  const std::size_t number = records_.size();
  if (fault_ == Fault::kill && number == faultAt_) {
    kill(getpid(), SIGKILL);
    pause();
  }
  if (fault_ == Fault::call && number == faultAt_) {
    fault_ = Fault::none;
    lock.unlock();
    action_();
    return SQLITE_OK;
  }
  if (fault_ == Fault::fail && number == faultAt_) return code_;
  if (fault_ == Fault::failFromThenOn && number >= faultAt_) return code_;
  return SQLITE_OK;
}

}  // namespace support
