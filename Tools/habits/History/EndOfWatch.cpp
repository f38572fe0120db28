#include "Tools/habits/History/EndOfWatch.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>
#include <system_error>

#include "Foundation/Queues/MainQueue.h"

namespace habits {

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/// Those that end a program, except the ones that whoever started it meant to be ignored.
sigset_t endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) sigaddset(&signals, number);
  }
  return signals;
}

/// Returns when something happened to one of them.
void await(std::span<pollfd> descriptors) {
  constexpr int kNoLimit = -1;
  while (poll(descriptors.data(), descriptors.size(), kNoLimit) < 0) {
    if (errno != EINTR) fail("waiting");
  }
}

}  // namespace

EndOfWatch::EndOfWatch() {
  const sigset_t signals = endingSignals();
  signals_ = signalfd(-1, &signals, SFD_CLOEXEC);
  if (signals_ < 0) fail("signals");
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  // A line that nobody reads any more fails to be written.
  ::signal(SIGPIPE, SIG_IGN);
}

EndOfWatch::~EndOfWatch() { close(signals_); }

bool EndOfWatch::awaitWork(int output) const {
  std::array descriptors{pollfd{signals_, POLLIN, 0}, pollfd{output, 0, 0},
                         pollfd{foundation::MainQueue::eventDescriptor(), POLLIN, 0}};
  await(descriptors);
  return descriptors[0].revents == 0 && descriptors[1].revents == 0;
}

bool EndOfWatch::awaitReader(int output) const {
  std::array descriptors{pollfd{signals_, POLLIN, 0}, pollfd{output, POLLOUT, 0}};
  await(descriptors);
  return descriptors[0].revents == 0;
}

}  // namespace habits
