#pragma once

#include <cstdint>

namespace coredatastack {

/// What happens while a store is kept in step with other processes'.
enum class SyncEvent : std::uint8_t {
  start,   ///< declared for the application; nothing sends it
  finish,  ///< what others wrote was read and is merged on the view context's queue
};

}  // namespace coredatastack
