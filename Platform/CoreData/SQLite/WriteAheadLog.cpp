#include "CoreData/SQLite/WriteAheadLog.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/StoreSchema.h"
#include "Foundation/Internal/TestPoint.h"

namespace coredata {

namespace {
std::atomic<int> longLogPages{WriteAheadLog::kLongLogPages};

constexpr std::int64_t kMiB = std::int64_t{1} << 20;
constexpr std::int64_t kGrowth = kMiB;
/// A save that needs more than this extends the file by itself.
constexpr std::int64_t kRoomForASave = 128 * 1024;
constexpr std::int64_t kMaxSizeWhenClosed = 5 * kMiB;
constexpr int kHeaderSize = 32;
constexpr int kFrameHeaderSize = 24;

std::int64_t endOf(int pages) {
  return pages <= 0 ? 0 : kHeaderSize + std::int64_t{pages} * (kFrameHeaderSize + kStorePageSize);
}

/// SQLite's own handle of the log file; null when it has none open.
sqlite3_file* logFile(const Connection& connection) {
  sqlite3_file* file = nullptr;
  const int result = sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_JOURNAL_POINTER,
                                          static_cast<void*>(&file));
  return result == SQLITE_OK && file != nullptr && file->pMethods != nullptr ? file : nullptr;
}

std::int64_t sizeOf(sqlite3_file* file) {
  sqlite3_int64 size = 0;
  return file->pMethods->xFileSize(file, &size) == SQLITE_OK ? size : -1;
}

/// What a log begins with.
using Header = std::array<std::uint8_t, kHeaderSize>;

std::optional<Header> headerOf(sqlite3_file* file) {
  Header header{};
  if (file->pMethods->xRead(file, header.data(), kHeaderSize, 0) != SQLITE_OK) return std::nullopt;
  return header;
}

/// Makes a log whose pages are all copied one without pages: otherwise the next to open it would
/// read them all again. Under the write lock, after a restart that nobody has written behind. It
/// keeps its length, unless that is beyond what is worth keeping. Should the power fail before this
/// is on disk, the old pages are copied once more.
void empty(sqlite3_file* file) {
  static constexpr Header kNoHeader{};
  const int result = file->pMethods->xWrite(file, kNoHeader.data(), kHeaderSize, 0);
  if (result == SQLITE_OK && sizeOf(file) > kMaxSizeWhenClosed) {
    file->pMethods->xTruncate(file, kMaxSizeWhenClosed);
  }
}

/// Zeros end a log: no frame carries them for its salt. They are written rather than the file
/// merely lengthened, or each commit would still have to find blocks for what it overwrites.
void fillWithZeros(sqlite3_file* file, std::int64_t from, std::int64_t to) {
  static constexpr std::array<std::uint8_t, 64 * 1024> kZeros{};
  while (from < to) {
    const auto count = std::min<std::int64_t>(to - from, kZeros.size());
    // A full disk is the save's to find out: this is only to make it faster.
    if (file->pMethods->xWrite(file, kZeros.data(), static_cast<int>(count), from) != SQLITE_OK) {
      return;
    }
    from += count;
  }
}
}  // namespace

WriteAheadLog::LongLogOverride::LongLogOverride(int pages) noexcept
    : previous_(longLogPages.exchange(pages)) {}

WriteAheadLog::LongLogOverride::~LongLogOverride() { longLogPages.store(previous_); }

WriteAheadLog::WriteAheadLog(const std::string& storePath)
    : lock_(storePath + std::string(kLogLockSuffix)), longLogPages_(longLogPages.load()) {}

void WriteAheadLog::makeRoom(Connection& connection) {
  // The file is not asked for its size each time: a file whose times somebody has looked at gets
  // new ones with its next write, and the sync that follows writes them to the disk, too.
  if (!enabled_ || hasRoom()) return;
  sqlite3_file* file = logFile(connection);
  if (file == nullptr) return;
  seenSize_ = sizeOf(file);
  if (seenSize_ < 0 || hasRoom()) return;
  fillWithZeros(file, seenSize_, seenSize_ + kGrowth);
  seenSize_ = sizeOf(file);
}

bool WriteAheadLog::hasRoom() const noexcept { return seenSize_ - endOf(pages_) >= kRoomForASave; }

void WriteAheadLog::committed(Connection& connection) noexcept {
  if (!enabled_) return;
  pages_ = connection.logPages();
  if (pages_ < nextCheckpointAt_) return;
  const SideLock::Guard guard = lock_.tryLock();
  int pages = 0;
  if (guard && checkpoint(connection, SQLITE_CHECKPOINT_RESTART, pages)) {
    nextCheckpointAt_ = longLogPages_;
    foundation::reach(foundation::TestPoint::logRestart);
    return;
  }
  // Somebody reads an old state or writes a new one. Asking again at every commit would cost each
  // of them a sync.
  nextCheckpointAt_ = pages_ + longLogPages_ / 4;
}

bool WriteAheadLog::checkpoint(Connection& connection, int mode, int& pages) noexcept {
  int copied = 0;
  const int result = connection.withoutWaiting([&] {
    return sqlite3_wal_checkpoint_v2(connection.handle(), "main", mode, &pages, &copied);
  });
  if (result == SQLITE_OK) {
    lastFailure_.reset();
    return true;
  }
  if ((result & 0xff) != SQLITE_BUSY && (result & 0xff) != SQLITE_LOCKED) {
    connection.abandon();
    lastFailure_ = result;
  }
  return false;
}

void WriteAheadLog::fold(Connection& connection) noexcept {
  if (!enabled_ || !connection.isUsable() || !connection.isOurs()) return;
  try {
    foldUnderLock(connection);
  } catch (const std::exception&) {
    // Whoever opens the store next reads the log as it stands.
    connection.rollBack();
  }
}

void WriteAheadLog::foldUnderLock(Connection& connection) {
  const SideLock::Guard guard = lock_.tryLock();
  if (!guard) return;
  sqlite3_file* file = logFile(connection);
  const std::optional<Header> copied = file == nullptr ? std::nullopt : headerOf(file);
  int pages = 0;
  if (!copied || !checkpoint(connection, SQLITE_CHECKPOINT_RESTART, pages) || pages <= 0) return;
  connection.withoutWaiting([&] { connection.beginWriting(); });
  // Whoever writes after the restart begins a new log with a header of its own.
  if (headerOf(file) == copied) empty(file);
  connection.rollBack();
}

}  // namespace coredata
