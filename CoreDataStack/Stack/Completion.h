#pragma once

#include <expected>
#include <functional>
#include <memory>

#include "Foundation/Values/Error.h"

namespace coredatastack {

/// An error as it was thrown, its own class included.
using Failure = std::shared_ptr<const foundation::Error>;

/// Receives the outcome of an operation, once. An empty one drops it. One that throws stops the
/// process.
template <typename Value>
using Completion = std::function<void(const std::expected<Value, Failure>& outcome)>;

}  // namespace coredatastack
