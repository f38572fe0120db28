#include "Foundation/Metadata/Internal/DirectoryWatch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <thread>
#include <utility>

#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Internal/SignalBlock.h"
#include "Foundation/Metadata/Internal/DirectoryTree.h"

namespace foundation {

namespace {

/// Many files that are copied together are one change.
constexpr std::chrono::milliseconds kSettlingTime{20};

FileDescriptor newEvent() {
  const int event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (event < 0) throw std::system_error(errno, std::generic_category(), "no event descriptor");
  return FileDescriptor(event);
}

}  // namespace

/// Shared with the thread, which may outlive the watch by a call that dropped it.
struct DirectoryWatch::State {
  State(std::string directoryPath, std::chrono::milliseconds longest, std::function<void()> call)
      : directory(std::move(directoryPath)), interval(longest), changed(std::move(call)) {}

  void run() const {
    while (waitForChange()) {
      // First the new directories: what comes into them before they are watched is found by
      // whoever looks when he is called.
      watchTree();
      changed();
    }
  }

  /// False when the watch has ended.
  [[nodiscard]] bool waitForChange() const {
    if (isStoppedWithin(interval, notices.get())) return false;
    if (!drainNotices()) return true;
    if (isStoppedWithin(kSettlingTime, -1)) return false;
    drainNotices();
    return true;
  }

  /// Waits for the end, for something to read from `other`, or for the time to pass.
  [[nodiscard]] bool isStoppedWithin(std::chrono::milliseconds time, int other) const {
    std::array<pollfd, 2> waiting{{{stopped.get(), POLLIN, 0}, {other, POLLIN, 0}}};
    // Cut short by a signal it only looks once too often.
    ::poll(waiting.data(), waiting.size(), static_cast<int>(time.count()));
    return waiting[0].revents != 0;
  }

  /// What happened where does not matter; whether something did.
  bool drainNotices() const {
    std::array<char, 4096> notice;
    bool isAny = false;
    while (::read(notices.get(), notice.data(), notice.size()) > 0) isAny = true;
    return isAny;
  }

  /// A directory that is watched already stays so. Where there is no room for another watch, the
  /// interval has to do.
  void watchTree() const {
    constexpr std::uint32_t kEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                      IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
    for (const std::string& path : treeIn(directory).directories) {
      if (::inotify_add_watch(notices.get(), path.c_str(), kEvents) < 0) continue;
    }
  }

  const std::string directory;
  const std::chrono::milliseconds interval;
  const std::function<void()> changed;
  const FileDescriptor stopped = newEvent();
  /// None when the system has none to give: then there is only the interval.
  const FileDescriptor notices{::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)};
  std::thread thread;
};

DirectoryWatch::DirectoryWatch(std::string directory, std::chrono::milliseconds interval,
                               std::function<void()> changed)
    : state_(std::make_shared<State>(std::move(directory), interval, std::move(changed))) {
  state_->watchTree();
  const SignalBlock inherited;
  state_->thread = std::thread([state = state_] { state->run(); });
}

DirectoryWatch::~DirectoryWatch() {
  constexpr std::uint64_t kOne = 1;
  [[maybe_unused]] const auto written = ::write(state_->stopped.get(), &kOne, sizeof kOne);
  if (state_->thread.get_id() == std::this_thread::get_id()) {
    state_->thread.detach();
  } else {
    state_->thread.join();
  }
}

}  // namespace foundation
