#pragma once

#include <string_view>

namespace foundation {

/// Stops the process over a fault of the build or a broken invariant of ours: writes
/// `<source>:<line>: Fatal error: <message>` to the standard error stream and ends by a signal,
/// without unwinding, exit handlers or cleaning up. `source` and `line` are fixed constants by
/// which crash reports are grouped, never the position in today's file.
[[noreturn]] void fatalError(std::string_view message, std::string_view source, int line) noexcept;

/// The same without a position, for faults that carry no laid-down one: writes `Fatal error:
/// <message>`.
[[noreturn]] void fatalError(std::string_view message) noexcept;

/// Writes `text` and a newline to standard output as one write. A closed pipe is ignored.
void print(std::string_view text) noexcept;

}  // namespace foundation
