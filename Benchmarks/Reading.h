#pragma once

#include "Benchmarks/EngineStore.h"

namespace benchmarks {

/// Fetches all check-ins in the order of their days and reads every attribute of each. Gives a
/// number that depends on all of them.
[[nodiscard]] std::int64_t readEverything(EngineStore& store);
[[nodiscard]] std::int64_t readEverything(HandWrittenStore& store);

/// The sum of the counts of all check-ins.
[[nodiscard]] std::int64_t sumOfCounts(EngineStore& store);

/// A number that depends on every attribute of the check-in.
[[nodiscard]] std::int64_t readingOf(const coredatastack::CDCheckin& checkin);
[[nodiscard]] std::int64_t readingOf(const CheckinRecord& checkin);

}  // namespace benchmarks
