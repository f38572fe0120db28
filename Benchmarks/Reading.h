#pragma once

#include "Benchmarks/EngineStore.h"

namespace benchmarks {

/// Fetches all check-ins in the order of their days and reads every attribute of each. Gives a
/// number that depends on all of them.
[[nodiscard]] std::int64_t readEverything(EngineStore& store);
[[nodiscard]] std::int64_t readEverything(HandWrittenStore& store);

}  // namespace benchmarks
