#include "Tools/habits/Migration/Interruption.h"

#include <signal.h>

#include <array>
#include <atomic>

#include "Tools/habits/Failures.h"

namespace habits {

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> wanted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes to it");

void remember(int /*signal*/) { wanted = true; }

/// What was in force before.
std::array<struct sigaction, kSignals.size()> former{};

}  // namespace

Interruption::Interruption() {
  wanted = false;
  struct sigaction action {};
  action.sa_handler = remember;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], &action, &former[i]);
    // Whoever started the program may have meant it to outlive its terminal.
    if (former[i].sa_handler == SIG_IGN) sigaction(kSignals[i], &former[i], nullptr);
  }
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &former[i], nullptr);
}

bool Interruption::isWanted() noexcept { return wanted; }

void Interruption::stopIfWanted() {
  if (isWanted()) throw Refusal("Stopped before the end; the store was left as it was.");
}

}  // namespace habits
