#pragma once

#include <pthread.h>
#include <signal.h>

#include <initializer_list>

namespace foundation {

/// Blocks signals until the scope ends; a thread started in it keeps them blocked for its life,
/// because those that come from outside belong to the program's own threads. Those by which a
/// thread reports its own faults stay open, or no crash handler would see them.
class SignalBlock {
 public:
  SignalBlock() noexcept {
    sigset_t blocked;
    sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
      sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &before_);
  }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;
  ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

}  // namespace foundation
