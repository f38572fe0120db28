#include "Tests/Support/FaultVFS.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>
#include <thread>
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
  bool goesWhenClosed;
};

File& file(sqlite3_file* given) { return *reinterpret_cast<File*>(given); }

std::string suffixOf(const char* path) {
  const std::string_view whole = path == nullptr ? std::string_view() : path;
  for (const std::string_view suffix : {"-wal", "-shm", "-journal"}) {
    if (whole.ends_with(suffix)) return std::string(suffix);
  }
  return {};
}

std::int64_t sizeAt(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

std::int64_t sizeOf(File& f) {
  sqlite3_int64 size = 0;
  return f.system->pMethods->xFileSize(f.system, &size) == SQLITE_OK ? size : 0;
}

[[noreturn]] void die() {
  kill(getpid(), SIGKILL);
  for (;;) pause();
}
}  // namespace

int codeOf(FileOperation operation) noexcept {
  switch (operation) {
    case FileOperation::open:
    case FileOperation::create:
      return SQLITE_CANTOPEN;
    case FileOperation::read:
      return SQLITE_IOERR_READ;
    case FileOperation::write:
      return SQLITE_IOERR_WRITE;
    case FileOperation::sync:
      return SQLITE_IOERR_FSYNC;
    case FileOperation::truncate:
      return SQLITE_IOERR_TRUNCATE;
    case FileOperation::remove:
      return SQLITE_IOERR_DELETE;
    case FileOperation::lock:
      return SQLITE_IOERR_LOCK;
    case FileOperation::mapShared:
      return SQLITE_IOERR_SHMMAP;
    case FileOperation::lockShared:
      return SQLITE_IOERR_SHMLOCK;
    case FileOperation::access:
      return SQLITE_IOERR_ACCESS;
    case FileOperation::rename:
    case FileOperation::makeDirectory:
    case FileOperation::touch:
      break;
  }
  return SQLITE_IOERR;
}

/// The functions that SQLite calls.
struct FaultVFSCalls {
  static int note(File& f, FileOperation operation, std::int64_t offset = 0,
                  std::int64_t size = 0) {
    return f.vfs->judge(operation, f.path, offset, size).code;
  }
  static DiskSpace* spaceOf(File& f) { return f.vfs->space_; }

  static int close(sqlite3_file* f) {
    if (DiskSpace* space = spaceOf(file(f)); space != nullptr && file(f).goesWhenClosed) {
      space->giveBack(sizeOf(file(f)));
    }
    FaultVFS& self = *file(f).vfs;
    const int result = file(f).system->pMethods->xClose(file(f).system);
    --self.openFiles_;
    return result;
  }
  static int read(sqlite3_file* f, void* to, int size, sqlite3_int64 offset) {
    if (const int code = note(file(f), FileOperation::read, offset, size)) return code;
    return file(f).system->pMethods->xRead(file(f).system, to, size, offset);
  }
  static int write(sqlite3_file* f, const void* from, int size, sqlite3_int64 offset) {
    const auto verdict = file(f).vfs->judge(FileOperation::write, file(f).path, offset, size);
    if (verdict.code == SQLITE_OK) return writeWhatFits(file(f), from, size, offset);
    if (const int part = std::min(verdict.writtenBytes, size); part > 0) {
      file(f).system->pMethods->xWrite(file(f).system, from, part, offset);
    }
    if (verdict.isLast) die();
    return verdict.code;
  }
  static int writeWhatFits(File& f, const void* from, int size, sqlite3_int64 offset) {
    int part = size;
    if (DiskSpace* space = spaceOf(f)) {
      const std::int64_t growth = std::max<std::int64_t>(offset + size - sizeOf(f), 0);
      part -= static_cast<int>(growth - space->take(growth));
    }
    const int result =
        part > 0 ? f.system->pMethods->xWrite(f.system, from, part, offset) : SQLITE_OK;
    return result == SQLITE_OK && part < size ? SQLITE_FULL : result;
  }
  static int truncate(sqlite3_file* f, sqlite3_int64 size) {
    if (const int code = note(file(f), FileOperation::truncate, size)) return code;
    if (DiskSpace* space = spaceOf(file(f))) {
      space->giveBack(std::max<std::int64_t>(sizeOf(file(f)) - size, 0));
    }
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
    if (DiskSpace* space = spaceOf(file(f)); space != nullptr && extend != 0) {
      // A new one is three bytes long already, which nobody asked for.
      const std::int64_t now = sharedSize(file(f)) / size * size;
      const std::int64_t growth = std::max<std::int64_t>(std::int64_t{page + 1} * size - now, 0);
      if (space->take(growth) < growth) return SQLITE_IOERR_SHMSIZE;
    }
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
    const std::int64_t before = sharedSize(file(f));
    const int result = file(f).system->pMethods->xShmUnmap(file(f).system, remove);
    if (DiskSpace* space = spaceOf(file(f))) space->giveBack(before - sharedSize(file(f)));
    return result;
  }
  static std::int64_t sharedSize(const File& f) { return sizeAt(std::string(f.path) + "-shm"); }

  static constexpr sqlite3_io_methods kMethods = {
      2,        close,         read,    write,      truncate,        sync,   fileSize, lock,
      unlock,   checkReserved, control, sectorSize, characteristics, shmMap, shmLock,  shmBarrier,
      shmUnmap, nullptr,       nullptr};

  static FaultVFS& owner(sqlite3_vfs* vfs) { return *static_cast<FaultVFS*>(vfs->pAppData); }

  static int open(sqlite3_vfs* vfs, const char* path, sqlite3_file* given, int flags,
                  int* outFlags) {
    FaultVFS& self = owner(vfs);
    const bool goesWhenClosed = path == nullptr || (flags & SQLITE_OPEN_DELETEONCLOSE) != 0;
    File& f = *new (given) File{{nullptr}, &self, path, nullptr, goesWhenClosed};
    f.system = reinterpret_cast<sqlite3_file*>(&f + 1);
    const bool creates =
        path != nullptr && (flags & SQLITE_OPEN_CREATE) != 0 && ::access(path, F_OK) != 0;
    const auto operation = creates ? FileOperation::create : FileOperation::open;
    if (const int code = self.judge(operation, path).code) return code;
    const int result = self.system_->xOpen(self.system_, path, f.system, flags, outFlags);
    if (f.system->pMethods != nullptr) {
      f.base.pMethods = &kMethods;
      ++self.openFiles_;
    }
    return result;
  }
  static int sleep(sqlite3_vfs* vfs, int microseconds) {
    FaultVFS& self = owner(vfs);
    if (self.beforeWaits_) self.beforeWaits_();
    return self.skipsWaits_ ? microseconds : self.system_->xSleep(self.system_, microseconds);
  }
  static int remove(sqlite3_vfs* vfs, const char* path, int syncDirectory) {
    FaultVFS& self = owner(vfs);
    if (const int code = self.judge(FileOperation::remove, path).code) return code;
    const int syncs = self.skipsSyncs_ ? 0 : syncDirectory;
    const std::int64_t size = sizeAt(path);
    const int result = self.system_->xDelete(self.system_, path, syncs);
    if (DiskSpace* space = self.space_; space != nullptr && result == SQLITE_OK) {
      space->giveBack(size);
    }
    return result;
  }
  static int access(sqlite3_vfs* vfs, const char* path, int flags, int* answer) {
    FaultVFS& self = owner(vfs);
    if (const int code = self.judge(FileOperation::access, path).code) return code;
    return self.system_->xAccess(self.system_, path, flags, answer);
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
  vfs_.xAccess = FaultVFSCalls::access;
  vfs_.xFullPathname = [](sqlite3_vfs* vfs, const char* path, int size, char* result) {
    sqlite3_vfs* system = FaultVFSCalls::owner(vfs).system_;
    return system->xFullPathname(system, path, size, result);
  };
  sqlite3_vfs_register(&vfs_, 0);
}

FaultVFS::~FaultVFS() {
  constexpr int kPatience = 10'000;
  for (int waited = 0; openFiles_ != 0; ++waited) {
    if (waited == kPatience) {
      std::fputs("A FaultVFS ends before the stores that were opened through it.\n", stderr);
      std::abort();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  sqlite3_vfs_unregister(&vfs_);
}

void FaultVFS::reset() {
  const std::scoped_lock lock(mutex_);
  records_.clear();
  fault_ = Fault::none;
}

void FaultVFS::watch(FileOperations operations) {
  const std::scoped_lock lock(mutex_);
  watched_ = operations;
}

void FaultVFS::setFault(Fault fault, std::size_t at, int code) {
  const std::scoped_lock lock(mutex_);
  fault_ = fault;
  faultAt_ = at;
  code_ = code;
}

void FaultVFS::failAt(std::size_t n, int code, bool persistent) {
  setFault(persistent ? Fault::failFromThenOn : Fault::fail, n, code);
}

void FaultVFS::tearAt(std::size_t n, int bytes, int code) {
  tornBytes_ = bytes / kSectorBytes * kSectorBytes;
  setFault(Fault::tear, n, code);
}

void FaultVFS::tearAndKillAt(std::size_t n, int bytes) {
  tornBytes_ = bytes / kSectorBytes * kSectorBytes;
  setFault(Fault::tearAndKill, n);
}

void FaultVFS::killAt(std::size_t n) { setFault(Fault::kill, n); }

void FaultVFS::callAt(std::size_t n, std::function<void()> action) {
  action_ = std::move(action);
  setFault(Fault::call, n);
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

bool FaultVFS::hits(std::size_t number) const noexcept {
  return fault_ == Fault::failFromThenOn ? number >= faultAt_ : number == faultAt_;
}

FaultVFS::Verdict FaultVFS::judge(FileOperation operation, const char* path, std::int64_t offset,
                                  std::int64_t size) {
  std::unique_lock lock(mutex_);
  if ((watched_ & bit(operation)) == 0) return {};
  if (const auto time = delay_.load(); time.count() > 0) std::this_thread::sleep_for(time);
  records_.push_back({operation, suffixOf(path), offset, size});
  if (fault_ == Fault::none || !hits(records_.size())) return {};
  switch (fault_) {
    case Fault::kill:
      die();
    case Fault::call:
      fault_ = Fault::none;
      lock.unlock();
      action_();
      return {};
    case Fault::tear:
    case Fault::tearAndKill:
      if (fault_ == Fault::tearAndKill && operation != FileOperation::write) die();
      return {code_ == kCodeOfOperation ? codeOf(operation) : code_, tornBytes_,
              fault_ == Fault::tearAndKill};
    case Fault::fail:
    case Fault::failFromThenOn:
      return {code_ == kCodeOfOperation ? codeOf(operation) : code_};
    case Fault::none:
      break;
  }
  return {};
}

}  // namespace support
