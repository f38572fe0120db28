#include "CoreData/Coordinator/CommitEvents.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <system_error>

namespace coredata {

using foundation::FileDescriptor;
using foundation::FileSystem;

namespace {
using Clock = std::chrono::steady_clock;

/// Of the bell also that it was removed or moved: another one takes its place.
constexpr std::uint32_t kBellEvents = IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
/// A save writes to the log many times, so it is heard once.
constexpr std::uint32_t kLogEvents = IN_MODIFY | IN_ONESHOT;

FileDescriptor madeStop() {
  const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  return FileDescriptor(descriptor);
}

timespec left(Clock::time_point end) {
  const auto time = std::max(end - Clock::now(), Clock::duration::zero());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  return {.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(time - seconds).count()};
}

/// Waits until one of the descriptors, of which negative ones do not count, can be read.
void await(std::span<pollfd> descriptors, Clock::time_point end) noexcept {
  for (pollfd& each : descriptors) each.revents = 0;
  const timespec time = left(end);
  // Interrupted, it has waited for less; whoever calls looks at the clock.
  static_cast<void>(::ppoll(descriptors.data(), descriptors.size(), &time, nullptr));
}
}  // namespace

CommitEvents::CommitEvents(const std::string& storePath, bool mayMakeBell)
    : bell_(storePath), log_(storePath + "-wal"), mayMakeBell_(mayMakeBell), stop_(madeStop()) {
  listen();
}

int CommitEvents::watch(const std::string& path, std::uint32_t events) const noexcept {
  const auto watched = FileSystem::current().watch(watcher_.get(), path.c_str(), events);
  return watched.value_or(-1);
}

void CommitEvents::listen() noexcept {
  if (!watcher_) {
    const auto opened = FileSystem::current().openWatcher();
    if (!opened) return;
    watcher_ = FileDescriptor(*opened);
  }
  bellWatch_ = watch(bell_.path(), kBellEvents);
  if (bellWatch_ < 0 && mayMakeBell_) {
    bell_.make();
    bellWatch_ = watch(bell_.path(), kBellEvents);
  }
  // There is none where a journal takes its place.
  logWatch_ = watch(log_, kLogEvents);
}

CommitEvents::Wake CommitEvents::wait(Duration limit) noexcept {
  const Clock::time_point end = Clock::now() + limit;
  for (;;) {
    std::array<pollfd, 2> descriptors{{{stop_.get(), POLLIN, 0}, {watcher_.get(), POLLIN, 0}}};
    await(descriptors, end);
    if (descriptors[0].revents != 0) return Wake::stop;
    if (descriptors[1].revents != 0) {
      if (const Wake wake = drain(); wake != Wake::time) return wake;
    }
    if (Clock::now() >= end) return Wake::time;
  }
}

bool CommitEvents::sleep(Duration time) noexcept {
  const Clock::time_point end = Clock::now() + time;
  do {
    std::array<pollfd, 1> descriptors{{{stop_.get(), POLLIN, 0}}};
    await(descriptors, end);
    if (descriptors[0].revents != 0) return false;
  } while (Clock::now() < end);
  return true;
}

void CommitEvents::stop() const noexcept {
  // Fails only when the counter is full of earlier calls.
  ::eventfd_write(stop_.get(), 1);
}

CommitEvents::Wake CommitEvents::drain() const noexcept {
  Wake wake = Wake::time;
  alignas(inotify_event) std::array<std::uint8_t, 4096> buffer;
  for (;;) {
    const auto count = FileSystem::current().read(watcher_.get(), buffer);
    if (!count || *count == 0) return wake;
    for (std::size_t at = 0; at + sizeof(inotify_event) <= *count;) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + at, sizeof(event));
      at += sizeof(event) + event.len;
      if (event.wd == bellWatch_ || (event.mask & IN_Q_OVERFLOW) != 0) {
        wake = Wake::bell;
      } else if (wake != Wake::bell && (event.mask & IN_IGNORED) == 0) {
        wake = Wake::log;
      }
    }
  }
}

}  // namespace coredata
