#pragma once

#include <functional>

namespace benchmarks {

/// What something cost, by two clocks, in seconds until scaled.
struct Cost {
  /// Time that passed: everything, the disk and the machine's other work too.
  double elapsed = 0;
  /// Time that processors spent on it, in all threads.
  double processor = 0;

  /// A cost that no clock measures.
  [[nodiscard]] static Cost of(double amount) noexcept { return {amount, amount}; }
  [[nodiscard]] Cost operator*(double factor) const noexcept {
    return {elapsed * factor, processor * factor};
  }
};

/// What the block takes.
[[nodiscard]] Cost costOf(const std::function<void()>& block);

}  // namespace benchmarks
