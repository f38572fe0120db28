#pragma once

namespace foundation {

/// Tells the calling thread from every other thread that lives at the same time. Asks nobody: an
/// address of the thread's own storage does, at the cost of loading it.
[[nodiscard]] inline const void* currentThread() noexcept {
  thread_local const char marker = 0;
  return &marker;
}

}  // namespace foundation
