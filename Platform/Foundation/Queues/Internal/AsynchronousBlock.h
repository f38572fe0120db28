#pragma once

#include "Foundation/Queues/Block.h"

namespace foundation {

/// Runs a block that nobody waits for. There is nobody to give an exception to: one that leaves it
/// stops the process with its text.
void runAsynchronousBlock(Block& block) noexcept;

}  // namespace foundation
