#pragma once

#include <string>
#include <vector>

#include "Benchmarks/Harness.h"

namespace benchmarks {

/// Runs a program to its end and gives what it printed on its standard output. Throws
/// `std::runtime_error` when it cannot be started or fails.
std::string outputOf(const std::vector<std::string>& command);

/// What a program found, and what that cost in some unit, which are what it prints.
[[nodiscard]] Run runPrintedBy(const std::vector<std::string>& command);

/// The path of a program of this build, which lies beside the one that runs.
[[nodiscard]] std::string programBeside(const std::string& name);

}  // namespace benchmarks
