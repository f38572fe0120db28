#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "CoreData/SQLite/StoreBell.h"
#include "Foundation/Internal/FileSystem.h"

namespace coredata {

/// What the system tells about a store's files to whoever waits for commits: the bell, which rings
/// behind each commit, and the log, which is written to before it, and by writers that are killed
/// before they ring as well.
///
/// Threading: one thread; `stop` on any.
class CommitEvents {
 public:
  using Duration = std::chrono::steady_clock::duration;

  enum class Wake : std::uint8_t {
    bell,
    log,   ///< somebody writes; not told again before the next `listen`
    time,  ///< nothing happened
    stop,
  };

  /// Hears what happens from now on. Throws `std::system_error` when the process has no descriptor
  /// left to be stopped by.
  CommitEvents(const std::string& storePath, bool mayMakeBell);

  /// Listens to the files that bear the names now. To be called before each look at the store:
  /// whatever happens after the look is heard then.
  void listen() noexcept;
  /// Whether commits are heard of. Not where the system refuses to watch, or there is no bell.
  [[nodiscard]] bool hears() const noexcept { return bellWatch_ >= 0; }

  /// Whether the log is listened to.
  [[nodiscard]] bool hearsLog() const noexcept { return logWatch_ >= 0; }

  [[nodiscard]] Wake wait(Duration limit) noexcept;
  /// Hears nothing for some time, which is kept for later. False when it is to stop.
  [[nodiscard]] bool sleep(Duration time) noexcept;
  /// Ends the present wait and every later one.
  void stop() const noexcept;

 private:
  [[nodiscard]] int watch(const std::string& path, std::uint32_t events) const noexcept;
  /// What the events that have come amount to; `time` for none that counts.
  [[nodiscard]] Wake drain() const noexcept;

  const StoreBell bell_;
  const std::string log_;
  const bool mayMakeBell_;
  const foundation::FileDescriptor stop_;
  foundation::FileDescriptor watcher_;
  /// By which the system calls the files; -1 for one that is not watched.
  int bellWatch_ = -1;
  int logWatch_ = -1;
};

}  // namespace coredata
