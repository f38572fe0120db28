#pragma once

#include <functional>

namespace foundation {

/// Work that is handed to a queue. What it captured is destroyed after it ran, on the thread that
/// ran it and before the queue's next block begins. An exception that leaves it stops the process,
/// unless somebody waits for the block and receives the exception instead.
using Block = std::move_only_function<void()>;

}  // namespace foundation
