#pragma once

#include <vector>

#include "Tests/Reliability/Memory/Sweep.h"

namespace shortage {

/// What needs no store that is open, or opens one.
[[nodiscard]] std::vector<Operation> plainOperations();
/// What reads through a context, or changes nothing but the context.
[[nodiscard]] std::vector<Operation> contextOperations();
/// What writes.
[[nodiscard]] std::vector<Operation> savingOperations();
/// One step from version to version each.
[[nodiscard]] std::vector<Operation> migrationOperations();

}  // namespace shortage
